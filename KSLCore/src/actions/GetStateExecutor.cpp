#include "actions/GetStateExecutor.h"

#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "command/actionChecks.h"

#include <iostream>

namespace orv {

GetStateExecutor::~GetStateExecutor() = default;

void GetStateExecutor::invoke(const std::vector<std::string>& words)
{
  checkAction(words, {"getstate", "s"}, "GetStateExecutor");
  checkExactly(words, "getstate", 1, "GetStateExecutor");
  std::cout << ObjectDB::instance()->getState({PathUtils::normalisePathBwdComp(namedPath(words[1]))}) << '\n';
}

}  // namespace orv
