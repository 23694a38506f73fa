// "> copy from=PATH, to=PATH or NAME": copies an object with all in it.
#pragma once

#include "command/ActionExecutor.h"

#include <memory>

namespace orv {

class KSLCopyImpl;

// See KSLCopyImpl for the arguments, what the copy has, and what is thrown. An object copied to itself is left alone.
// What the text of the copy meets is reported as for any text.
class ORV_API CopyExecutor : public ActionExecutor {
 public:
  CopyExecutor();
  explicit CopyExecutor(KSLCopyImpl* impl);  // not owned; null for one of its own
  ~CopyExecutor() override;
  void invoke(const std::vector<std::string>& words) override;

 private:
  std::unique_ptr<KSLCopyImpl> m_own;  // null when it is somebody else's
  KSLCopyImpl* m_impl;
};

}  // namespace orv
