#include "Host.h"

#include "platform/ORVApplicationSupport.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "rules/AdditionalRules.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "services/EngineUnitSystemHandler.h"
#include "services/PreferencesExecutorBase.h"
#include "LoadExecutor.h"
#include "session/Registration.h"

#include <cstdlib>
#include <filesystem>
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

// Where an installation has it, seen from this program, so that it may be moved. Empty when the system does not
// tell where the program is.
std::string demoLibrary()
{
  std::error_code fault;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", fault);
  return fault ? std::string() : (self.parent_path() / KSL_DEMO_FROM_HERE).lexically_normal().string();
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

Host::Host(const std::vector<std::string>& libraries, bool validate)
{
  orv::registerObjectClasses();
  orv::EngineUnitSystemHandler::instance();
  initialize(libraries);
  orv::AdditionalRules rules;
  rules.applyObjectRules = true;  // or no parameter would be essential, and states would lack their defaults
  rules.warnOfMisspeltKeys = validate;
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
  orv::ActionOptions options;
  options.deletionFilter = &m_protection;
  options.copying = &m_copying;  // but none for renaming: a renamed object keeps its files
  options.files = &m_files;
  options.stateChanges = m_stateWatch.observer();
  auto saving = std::make_unique<SaveExecutor>(options.files, options.stateChanges);
  m_saving = saving.get();
  m_actions.registerExecutor("savestate", std::move(saving));
  orv::registerActions(m_actions, m_executive, options);
  m_actions.registerExecutor("load", std::make_unique<LoadExecutor>());
  m_actions.registerExecutor("preferences", std::make_unique<PreferencesExecutor>());
  m_actions.registerExecutor("setViewportView", std::make_unique<ViewExecutor>());
}
