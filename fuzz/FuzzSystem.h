// What the fuzzers of commands and files have in common: a system of their own, and what must hold of it after every
// command.
#pragma once

#include "platform/ORVError.h"
#include "platform/ORVKSLAPI.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "rules/AdditionalRules.h"
#include "command/ActionFactory.h"
#include "command/Executive.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "actions/CopyExecutor.h"
#include "actions/DeleteExecutor.h"
#include "actions/RedoExecutor.h"
#include "actions/RenameExecutor.h"
#include "actions/UndoExecutor.h"
#include "actions/UpdateExecutor.h"
#include "services/EngineUnitSystemHandler.h"
#include "fuzz/require.h"
#include "session/Registration.h"

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace orv::fuzz {

class System {
 public:
  enum class Actions { withoutFiles, all };

  explicit System(Actions which = Actions::withoutFiles)
  {
    ErrorProgressReporter::instance()->setSink(&m_errors);
    registerObjectClasses();
    m_executive.setActionFactory(&actions);
    KSLInterface::instance()->setExecutive(&m_executive);
    if (which == Actions::all) {
      registerActions(actions, m_executive);
      return;
    }
    actions.registerExecutor("update", std::make_unique<UpdateExecutor>(&m_executive));
    actions.registerExecutor("undo", std::make_unique<UndoExecutor>(&m_executive));
    actions.registerExecutor("redo", std::make_unique<RedoExecutor>(&m_executive));
    actions.registerExecutor("delete", std::make_unique<DeleteExecutor>());
    actions.registerExecutor("copy", std::make_unique<CopyExecutor>());
    actions.registerExecutor("rename", std::make_unique<RenameExecutor>());
  }
  ~System()
  {
    KSLInterface::destroyInstance();
    KSLCoreAPI::destroyInstance();
    ObjectDB::destroyInstance();
    ObjectFactory::destroyInstance();
    EngineUnitSystemHandler::destroyInstance();
    ErrorProgressReporter::destroyInstance();
  }
  System(const System&) = delete;
  System& operator=(const System&) = delete;

  // Throws what is wrong with the rules.
  static void define(const std::string& rules)
  {
    KSLInterface* owner = KSLInterface::instance();
    owner->getKSLAPI()->loadKSLData(StringUtilities::stringToVector(rules, '\n'));
    AdditionalRules options;
    options.applyObjectRules = true;
    owner->processRules(options);
  }

  // Errors, without warnings, since the last call.
  std::size_t takeErrors()
  {
    std::size_t count = 0;
    for (const ErrorMsg& error : m_errors.errors())
      count += error.getType() == errorType::warning ? 0 : 1;
    m_errors.clear();
    return count;
  }

 private:
  ErrorCollector m_errors;
  Executive m_executive;

 public:
  ActionFactory actions;
};

using Contents = std::map<std::string, std::map<std::string, std::string>>;

inline Contents storeContents()
{
  Contents contents;
  std::vector<std::string> waiting{""};
  while (!waiting.empty()) {
    const std::string path = waiting.back();
    waiting.pop_back();
    for (const KSLAPI::ObjectInfo& info : KSLInterface::instance()->getKSLAPI()->getObjectInfo(path)) {
      if (info.getPath() == "/RULES")
        continue;
      if (info.getKind() == "Param") {
        contents[path][info.getName()] = info.getValue();
        continue;
      }
      contents[info.getPath()];
      waiting.push_back(info.getPath());
    }
  }
  return contents;
}

inline Contents databaseContents()
{
  Contents contents;
  for (const KSLObject* object : ObjectDB::instance()->getAllObjects()) {
    auto& params = contents[object->getPath()];
    object->forEachParam([&params](const ParamDefinition& param) {
      if (param.hasBeenSet())
        params[param.getName()] = param.getValue();
    });
  }
  return contents;
}

inline void checkRest()
{
  const KSLInterface* owner = KSLInterface::instance();
  require(owner->getParseDepth() == 0, "a parse is still under way");
  require(owner->getUndoModeString() == "NORMAL", "the mode is not normal");
  require(owner->getKSLAPI()->getKSLChangeList()->empty(), "changes are left");
  require(storeContents() == databaseContents(), "store and database differ");
}

}  // namespace orv::fuzz
