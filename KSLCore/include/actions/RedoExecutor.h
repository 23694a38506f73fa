// "> redo": does the step that was undone last again.
#pragma once

#include "command/ActionExecutor.h"

namespace orv {

class Executive;

// As KSLInterface::redo. Not refused in a session file, unlike undo.
class ORV_API RedoExecutor : public ActionExecutor {
 public:
  explicit RedoExecutor(Executive* executive);
  ~RedoExecutor() override;
  void invoke(const std::vector<std::string>& words) override;
};

}  // namespace orv
