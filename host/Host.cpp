#include "Host.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "command/ActionFactory.h"
#include "SaveExecutor.h"
#include "Team.h"

#include <cstdlib>
#include <memory>

Host* Host::s_current = nullptr;

Host::Host(const std::vector<std::string>& libraries, bool validate)
    : m_verbose(orv::ErrorProgressReporter::instance()->isVerbose()),
      m_session(options(libraries, validate))
{
  orv::ErrorProgressReporter::instance()->setVerbose(m_verbose);
  m_stateWatch.attach();
  s_current = this;
}

std::vector<std::string> Host::usualLibraries()
{
  const char* path = std::getenv("ORV_KSL_LIBRARY_PATH");
  return path && *path ? orv::StringUtilities::stringToVector(path, ':')
                       : std::vector{orv::Session::installedLibrary()};
}

Host::~Host()
{
  s_current = nullptr;
  m_stateWatch.detach();
}

orv::SessionOptions Host::options(const std::vector<std::string>& libraries, bool validate)
{
  orv::SessionOptions options;
  options.library = orv::StringUtilities::vectorToString(libraries, ',');
  options.validate = validate;
  options.changes = false;  // those who show them record them
  options.updateMode = orv::kslUpdateDefault;
  options.sink = orv::ErrorProgressReporter::instance()->getSink();
  options.actions.files = &m_files;
  options.actions.stateChanges = m_stateWatch.observer();
  options.prepare = [this](orv::ActionFactory& actions) {
    auto saving = std::make_unique<SaveExecutor>(&m_files, m_stateWatch.observer());
    m_saving = saving.get();
    if (Team* team = Team::current())
      team->prepare(actions, std::move(saving), &m_files);
    else
      actions.registerExecutor("savestate", std::move(saving));
  };
  return options;
}

void Host::passOverSaves(bool on)
{
  m_saving->passOver(on);
}
