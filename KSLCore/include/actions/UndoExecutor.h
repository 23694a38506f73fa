// "> undo": takes back the newest step.
#pragma once

#include "platform/ORVUtilities.h"
#include "command/ActionExecutor.h"

namespace orv {

class Executive;

// As KSLInterface::undo. Refused while a session file is replayed: ksl::error, class "UndoExecutor", function
// "invoke", "Undo is not supported in a session file.\nIt is recommended that you restart the application\nas
// the current state is unknown.".
class ORV_API UndoExecutor : public ActionExecutor {
 public:
  explicit UndoExecutor(Executive* executive);
  ~UndoExecutor() override;
  void invoke(const std::vector<std::string>& words) override;

 private:
  bool isReplayingSession() const;
  SharedText m_processing{"/FILE PROCESSING"};
};

}  // namespace orv
