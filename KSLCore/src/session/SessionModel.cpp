#include "SessionModel.h"

#include "platform/ORVOutputFiles.h"
#include "database/ObjectDB.h"
#include "rules/AdditionalRules.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "command/caughtError.h"
#include "services/EngineUnitSystemHandler.h"
#include "services/PreferencesExecutorBase.h"
#include "LoadExecutor.h"

#include <cstdlib>
#include <iostream>
#include <utility>

namespace orv {

namespace {

// "> setViewportView": the library asks for it after a deletion. Without a display there is nothing to do.
class ViewExecutor : public ActionExecutor {
 public:
  void invoke(const std::vector<std::string>&) override {}
};

// The units are all there is to prefer.
class PreferencesExecutor : public PreferencesExecutorBase {
 protected:
  std::vector<std::string> viewerParams() const override { return {}; }
  void applyViewerPreference(const std::string&, const std::string&) override {}
};

template <class Executor>
void add(ActionFactory& actions, const char* word)
{
  if (!actions.hasExecutor(word))
    actions.registerExecutor(word, std::make_unique<Executor>());
}

bool environmentNamesLibraries()
{
  const char* path = std::getenv("ORV_KSL_LIBRARY_PATH");
  return path && *path;
}

ErrorMsg withoutPlace(ErrorMsg error)
{
  if (!error.getDiagnostic() || !error.getDiagnostic()->source.empty())
    return error;
  Diagnostic rest = *error.getDiagnostic();
  rest.line = rest.column = rest.length = 0;
  rest.lineText.clear();
  for (Diagnostic::Note& note : rest.notes)
    note.line = note.column = 0;
  error.setDiagnostic(std::make_shared<const Diagnostic>(std::move(rest)));
  return error;
}

}  // namespace

SessionModel::Commands::~Commands()
{
  if (KSLCoreAPI* api = KSLCoreAPI::current(); api && api->isCommandOpen())
    api->endCommand(false);
  KSLInterface::destroyInstance();
  KSLCoreAPI::destroyInstance();
}

SessionModel::SessionModel(SessionOptions options) : m_options(std::move(options))
{
  ErrorProgressReporter::instance()->setSink(&m_sink);
  ScopeGuard withdraw([] { ErrorProgressReporter::instance()->setSink(nullptr); });
  KSLCoreAPI* api = KSLCoreAPI::instance();
  api->attach(&m_watch, {KSLCoreAPI::parseEnd, KSLCoreAPI::recoveryEnd, KSLCoreAPI::redoRecoveryEnd});
  api->setExternalKslUpdateMode(m_options.updateMode);
  if (m_options.changes)
    ObjectDB::instance()->registerChangeNotify(&m_changes);
  registerObjectClasses();
  EngineUnitSystemHandler::instance();
  KSLInterface::instance()->setExecutive(&m_executive);
  m_executive.setActionFactory(&m_actions);
  if (m_options.prepare)
    m_options.prepare(m_actions);
  readDefinitions();
  registerExecutors();
  api->setValidationEnabled(m_options.validate);
  withdraw.dismiss();
}

SessionModel::~SessionModel()
{
  ErrorProgressReporter::instance()->setSink(nullptr);
  if (m_options.changes)
    ObjectDB::instance()->registerChangeNotify(nullptr);
}

void SessionModel::readDefinitions()
{
  KSLInterface* commands = KSLInterface::instance();
  if (!m_options.library.empty())
    commands->initialize(m_options.library, "");
  else if (m_options.rules.empty() && environmentNamesLibraries())
    commands->initialize();
  else if (m_options.rules.empty())
    commands->initialize(Session::installedLibrary(), "");
  if (!m_options.rules.empty())
    commands->getKSLAPI()->loadKSLData(StringUtilities::stringToVector(m_options.rules, '\n'));
  AdditionalRules rules;
  rules.applyObjectRules = true;  // or no parameter would be essential, and states would lack their defaults
  rules.warnOfMisspeltKeys = m_options.validate;
  commands->processRules(rules);
}

void SessionModel::registerExecutors()
{
  ActionOptions options = m_options.actions;
  if (!options.deletionFilter)
    options.deletionFilter = &m_protection;
  if (!options.copying)
    options.copying = &m_copying;  // but none for renaming: a renamed object keeps its files
  registerActions(m_actions, m_executive, options);
  add<LoadExecutor>(m_actions, "load");
  add<PreferencesExecutor>(m_actions, "preferences");
  add<ViewExecutor>(m_actions, "setViewportView");
}

void SessionModel::Sink::report(const ErrorMsg& error)
{
  m_owner->m_reports.push_back(m_owner->m_placesKnown ? error : withoutPlace(error));
  if (ErrorSink* next = m_owner->m_options.sink)
    next->report(m_owner->m_reports.back());
  else if (m_owner->m_inside == 0)
    std::cerr << toText(error) << '\n';
}

void SessionModel::Sink::inform(std::string_view text)
{
  if (ErrorSink* next = m_owner->m_options.sink)
    next->inform(text);
}

void SessionModel::Watch::update(ObserverSubject*, int type)
{
  if (type == KSLCoreAPI::parseEnd)
    m_owner->m_hasRun = true;
  else
    m_owner->m_tookBack = true;
}

// ------------------------------------------------------------------------------------------------------- outcomes

void SessionModel::beginNotes()
{
  m_reports.clear();
  m_changes.clear();
  m_hasRun = false;
  m_tookBack = false;
  m_rolledBack = 0;
}

Outcome SessionModel::outcomeSince(std::size_t reportCount) const
{
  Outcome outcome;
  for (std::size_t i = reportCount; i < m_reports.size(); ++i) {
    const bool isWarning = m_reports[i].getType() == errorType::warning;
    (isWarning ? outcome.m_warnings : outcome.m_errors).push_back(m_reports[i]);
  }
  outcome.m_rolledBack = m_rolledBack;
  return outcome;
}

Outcome SessionModel::endNotes(const std::string& title)
{
  if (m_tookBack && m_rolledBack == 0)
    m_rolledBack = KSLInterface::instance()->getLastRecoverySize();
  Outcome outcome = outcomeSince(0);
  outcome.m_title = title;
  std::vector<Change> changes = m_changes.take();
  if (!m_tookBack && !changes.empty())
    outcome.m_changes = std::make_shared<const std::vector<Change>>(std::move(changes));
  if (m_hasRun && !m_tookBack)
    outcome.m_files = OutputFiles::instance()->written();
  m_last = outcome;
  tell(outcome);
  return outcome;
}

void SessionModel::report(const Error& error)
{
  const Inside inside(*this);
  ErrorProgressReporter::instance()->reportError(error);
}

void SessionModel::failCommand(const Error* error)
{
  const Inside inside(*this);
  if (error)
    ErrorProgressReporter::instance()->reportError(*error);
  if (std::exchange(m_commandFailed, true))
    return;
  KSLCoreAPI::instance()->endCommand(!error);
  m_rolledBack = KSLInterface::instance()->getLastRecoverySize();
}

int SessionModel::observe(Session::Observer observer)
{
  m_observers.emplace(++m_newestObserver, std::move(observer));
  return m_newestObserver;
}

// They may come and go while they are told.
void SessionModel::tell(const Outcome& outcome)
{
  const std::map<int, Session::Observer> observers = m_observers;
  for (const auto& [number, observer] : observers) {
    try {
      if (m_observers.count(number) > 0)
        observer(outcome);
    } catch (...) {
      passUnwinding();
    }
  }
}

}  // namespace orv
