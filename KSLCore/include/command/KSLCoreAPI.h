// The library's front door.
#pragma once

#include "platform/ORVUtilities.h"
#include "command/KSLUpdateMode.h"

#include <string>
#include <vector>

namespace orv {

// Observers attach for the notifications of command processing:
//    0  a text begins (nested ones too)          1  it is done, well or not
//   16  the outermost text has been processed without failure
//    4  objects recompute                        5  they are done
//   12  error recovery begins                   13  it is done
//   14  recovery of a failed undo begins        15  it is done
// What an observer throws at 4 or 16 fails the command; at 0 it comes to the caller of processKSL; at the
// others it is swallowed.
class ORV_API KSLCoreAPI : public ObserverSubject {
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

  static KSLCoreAPI* instance();  // made on first use
  static void destroyInstance();

  // Runs a command text; errors inside are reported and recovered from, not thrown. Throws
  // internal::badParam, class "KSLCoreAPI", function "processKSL", "Input parameter %s is empty." with
  // "p_KSLStr" for an empty text.
  void processKSL(const std::string& text, kslUpdateMode mode);
  // Runs lines that the application's user entered, in the external update mode; with kslUpdateAtEnd ">
  // update" is added. Throws as processKSL.
  void externalProcessKSL(const std::vector<std::string>& lines);

  // kslUpdateDefault at start.
  void setExternalKslUpdateMode(kslUpdateMode mode) { m_externalMode = mode; }
  kslUpdateMode getExternalKslUpdateMode() const { return m_externalMode; }
  // Whether object types and parameter names are checked before objects are touched; off at start.
  void setValidationEnabled(bool on);
  // As Executive::forceUpdate.
  void forceUpdate(const std::vector<std::string>& names);

 private:
  KSLCoreAPI();
  ~KSLCoreAPI() override;
  void beginParseKSL();
  void endParseKSL();

  kslUpdateMode m_externalMode = kslUpdateDefault;
  int m_parseCount = 0;  // processKSL calls under way
};

}  // namespace orv
