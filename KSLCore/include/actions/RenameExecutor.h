// "> rename from=PATH, to=PATH or NAME": gives an object, with all in it, another name or place.
#pragma once

#include "command/ActionExecutor.h"

#include <memory>

namespace orv {

class KSLCopyImpl;

// The object is copied and the source deleted, in one text: references to it are taken away as by any deletion. See
// KSLCopyImpl for the arguments and what is thrown; besides, of class "RenameExecutor", function "invoke", type 4:
// ksl::invalid "Did not specify correct number of parameters" when there are not two, and data::invalid "Object '%s'
// cannot be renamed because it must not be deleted." when the application's filter kept the source, which fails the
// command, so that the copy goes too.
class ORV_API RenameExecutor : public ActionExecutor {
 public:
  RenameExecutor();
  explicit RenameExecutor(KSLCopyImpl* impl);  // not owned; null for one of its own
  ~RenameExecutor() override;
  void invoke(const std::vector<std::string>& words) override;

 private:
  std::unique_ptr<KSLCopyImpl> m_own;  // null when it is somebody else's
  KSLCopyImpl* m_impl;
};

}  // namespace orv
