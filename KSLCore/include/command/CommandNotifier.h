// Tells of command processing, from below those who are told.
#pragma once

#include "platform/ORVExport.h"

namespace orv {

class ObserverSubject;

// What parses, applies and takes back says here what it does; the core API, which observers attach to, makes itself the
// subject that passes it on.
class ORV_API CommandNotifier {
 public:
  enum Notification {
    parseBegin = 0,
    parseEnd = 1,
    updateBegin = 4,
    updateEnd = 5,
    recoveryBegin = 12,
    recoveryEnd = 13,
    redoRecoveryBegin = 14,
    redoRecoveryEnd = 15,
    outermostProcessed = 16
  };

  // Not owned; null for nobody.
  static void setSubject(ObserverSubject* subject) noexcept;
  // Passes on what an observer throws.
  static void notify(Notification type);
};

}  // namespace orv
