// Whether there is work that no state file holds.
#pragma once

#include "platform/ORVUtilities.h"

namespace orv {

// Attached by the host to what tells of changes to the database: every notification, of whatever type, says that
// the database differs from the last saved state. A complete save clears the flag.
class ORV_API StateChangeObserver : public Observer {
 public:
  ~StateChangeObserver() override;
  void update(ObserverSubject* subject, int type) override;
  bool isDBStateDirty() const { return m_dirty; }
  void setDBStateDirty(bool dirty) { m_dirty = dirty; }

 private:
  bool m_dirty = false;
};

}  // namespace orv
