#include "actions/UndoExecutor.h"

#include "platform/ORVError.h"
#include "database/ObjectDB.h"
#include "command/KSLInterface.h"
#include "command/actionChecks.h"

namespace orv {

UndoExecutor::UndoExecutor(Executive*) {}
UndoExecutor::~UndoExecutor() = default;

bool UndoExecutor::isReplayingSession() const
{
  const KSLObject* processing = ObjectDB::instance()->getObjectByPath(m_processing);
  return processing && processing->hasParam("Processing Mode")
         && processing->getValue("Processing Mode") == "Session";
}

void UndoExecutor::invoke(const std::vector<std::string>& words)
{
  checkAction(words, {"undo"}, "UndoExecutor");
  if (isReplayingSession())
    throw ksl::error("UndoExecutor", "invoke",
                     _("Undo is not supported in a session file.\nIt is recommended that you restart the "
                       "application\nas the current state is unknown."));
  KSLInterface::instance()->undo();
}

}  // namespace orv
