#include "actions/RedoExecutor.h"

#include "command/KSLInterface.h"
#include "command/actionChecks.h"

namespace orv {

RedoExecutor::RedoExecutor(Executive*) {}
RedoExecutor::~RedoExecutor() = default;

void RedoExecutor::invoke(const std::vector<std::string>& words)
{
  checkAction(words, {"redo"}, "RedoExecutor");
  KSLInterface::instance()->redo();
}

}  // namespace orv
