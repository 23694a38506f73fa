#include "Host.h"

#include "platform/ORVApplicationSupport.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"
#include "database/DataKSLObject.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "rules/AdditionalRules.h"
#include "rules/GenericKSLObject.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "actions/CopyExecutor.h"
#include "actions/DebugExecutor.h"
#include "actions/DeleteExecutor.h"
#include "actions/ForceUpdateExecutor.h"
#include "actions/GetRulesInfoExecutor.h"
#include "actions/GetStateExecutor.h"
#include "actions/NotifyExecutor.h"
#include "actions/ReadSessionExecutor.h"
#include "actions/ReadStateExecutor.h"
#include "actions/RedoExecutor.h"
#include "actions/RenameExecutor.h"
#include "actions/UndoExecutor.h"
#include "actions/UpdateExecutor.h"
#include "actions/WriteSessionExecutor.h"
#include "services/EngineUnitSystemHandler.h"
#include "services/ExpressionEvaluatorKSLObject.h"
#include "services/ExpressionsKSLObject.h"
#include "services/PreferencesExecutorBase.h"
#include "services/UnitsKSLObject.h"
#include "LoadExecutor.h"

#include <cstdlib>
#include <memory>

namespace {

// "> setViewportView": the library asks for it after a deletion. Here is nothing to be seen, so nothing to
// do.
class ViewExecutor : public orv::ActionExecutor {
 public:
  void invoke(const std::vector<std::string>&) override {}
};

// The units are all that this program has to prefer.
class PreferencesExecutor : public orv::PreferencesExecutorBase {
 protected:
  std::vector<std::string> viewerParams() const override { return {}; }
  void applyViewerPreference(const std::string&, const std::string&) override {}
};

std::string demoLibrary()
{
  // A build that was not installed finds the library beside its sources.
  return orv::ORVFile::isDirectory(KSL_SOURCE_LIBRARY_DIR) ? KSL_SOURCE_LIBRARY_DIR : KSL_INSTALLED_DEMO_DIR;
}

bool environmentNamesLibraries()
{
  const char* path = std::getenv("ORV_KSL_LIBRARY_PATH");
  return path && *path;
}

}  // namespace

Host* Host::s_current = nullptr;

Host::Data::~Data()
{
  orv::ObjectDB::destroyInstance();
  orv::ObjectFactory::destroyInstance();
  orv::EngineUnitSystemHandler::destroyInstance();
  orv::Preferences::destroyInstance();
}

Host::Commands::~Commands()
{
  orv::KSLInterface::destroyInstance();
  orv::KSLCoreAPI::destroyInstance();
}

Host::Host(const std::vector<std::string>& libraries)
{
  orv::DataKSLObject::registerBaseType();
  orv::GenericKSLObject::registerBaseType();
  orv::UnitsKSLObject::registerBaseType();
  orv::ExpressionsKSLObject::registerBaseType();
  orv::ExpressionEvaluatorKSLObject::registerBaseType();
  orv::EngineUnitSystemHandler::instance();
  initialize(libraries);
  orv::AdditionalRules rules;
  rules.applyObjectRules = true;  // or no parameter would be essential, and states would lack their defaults
  orv::KSLInterface::instance()->processRules(rules);

  registerActions();
  m_executive.setActionFactory(&m_actions);
  orv::KSLInterface::instance()->setExecutive(&m_executive);
  s_current = this;
}

void Host::initialize(const std::vector<std::string>& libraries)
{
  orv::KSLInterface* commands = orv::KSLInterface::instance();
  if (!libraries.empty())
    commands->initialize(orv::StringUtilities::vectorToString(libraries, ','), "");
  else if (environmentNamesLibraries())
    commands->initialize();
  else
    commands->initialize(demoLibrary(), "");
}

void Host::registerActions()
{
  m_actions.registerExecutor("update", std::make_unique<orv::UpdateExecutor>(&m_executive));
  m_actions.registerExecutor("undo", std::make_unique<orv::UndoExecutor>(&m_executive));
  m_actions.registerExecutor("redo", std::make_unique<orv::RedoExecutor>(&m_executive));
  m_actions.registerExecutor("getstate", std::make_unique<orv::GetStateExecutor>());
  m_actions.registerExecutor("s", std::make_unique<orv::GetStateExecutor>());
  m_actions.registerExecutor("forceupdate", std::make_unique<orv::ForceUpdateExecutor>(&m_executive));
  m_actions.registerExecutor("fu", std::make_unique<orv::ForceUpdateExecutor>(&m_executive));
  m_actions.registerExecutor("getrulesinfo", std::make_unique<orv::GetRulesInfoExecutor>());
  m_actions.registerExecutor("delete", std::make_unique<orv::DeleteExecutor>(&m_protection));
  m_actions.registerExecutor("copy", std::make_unique<orv::CopyExecutor>(&m_copying));
  m_actions.registerExecutor("rename",
                             std::make_unique<orv::RenameExecutor>());  // a renamed object keeps its files
  m_actions.registerExecutor("notify", std::make_unique<orv::NotifyExecutor>(&m_files));
  m_actions.registerExecutor("debug", std::make_unique<orv::DebugExecutor>());
  m_actions.registerExecutor("db", std::make_unique<orv::DebugExecutor>());
  m_actions.registerExecutor("session", std::make_unique<orv::WriteSessionExecutor>());
  m_actions.registerExecutor("readsession", std::make_unique<orv::ReadSessionExecutor>());
  m_actions.registerExecutor("rs", std::make_unique<orv::ReadSessionExecutor>());
  auto saving = std::make_unique<SaveExecutor>(&m_files, m_stateWatch.observer());
  m_saving = saving.get();
  m_actions.registerExecutor("savestate", std::move(saving));
  m_actions.registerExecutor("readstate", std::make_unique<orv::ReadStateExecutor>(&m_files));
  m_actions.registerExecutor("load", std::make_unique<LoadExecutor>());
  m_actions.registerExecutor("preferences", std::make_unique<PreferencesExecutor>());
  m_actions.registerExecutor("setViewportView", std::make_unique<ViewExecutor>());
}
