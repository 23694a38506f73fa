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
#include <new>
#include <optional>
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

bool hasPlaceInText(const ErrorMsg& error)
{
  return error.getDiagnostic() && error.getDiagnostic()->source.empty();
}

ErrorMsg withoutPlace(ErrorMsg error)
{
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

SessionModel::SessionModel(SessionOptions options)
    : m_options(std::move(options)),
      m_lack("KSLInterface", "parseKSL", _("Operation failed. Insufficient memory."), errorType::system)
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

// Without memory to leave its place out, the error is told as it is.
void SessionModel::Sink::report(const ErrorMsg& given)
{
  std::optional<ErrorMsg> rest;
  try {
    if (!m_owner->m_placesKnown && hasPlaceInText(given))
      rest = withoutPlace(given);
  } catch (const std::bad_alloc&) {}
  const ErrorMsg& error = rest ? *rest : given;
  if (m_owner->m_notes)
    m_owner->m_notes->add(error);
  if (ErrorSink* next = m_owner->m_options.sink)
    next->report(error);
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
  m_notes = takeNotes();
  m_changes.clear();
  m_hasRun = false;
  m_tookBack = false;
  m_rolledBack = 0;
}

// Made ahead, so that a command can say what it lacks.
std::shared_ptr<OutcomeNotes> SessionModel::takeNotes()
{
  std::shared_ptr<OutcomeNotes> notes = std::exchange(m_nextNotes, nullptr);
  if (!notes)
    notes = std::make_shared<OutcomeNotes>();
  try {
    m_nextNotes = std::make_shared<OutcomeNotes>();
  } catch (const std::bad_alloc&) {}
  return notes;
}

Outcome SessionModel::outcomeSince(OutcomeNotes::Mark mark,
                                   std::shared_ptr<OutcomeNotes> notes) const noexcept
{
  notes->addFrom(*m_notes, mark);
  notes->rolledBack = m_rolledBack;
  return Outcome(std::move(notes));
}

Outcome SessionModel::endNotes(std::string title)
{
  if (!m_notes)  // another command came between
    beginNotes();
  const std::shared_ptr<OutcomeNotes> notes = std::exchange(m_notes, nullptr);
  if (m_tookBack && m_rolledBack == 0)
    m_rolledBack = KSLInterface::instance()->getLastRecoverySize();
  notes->rolledBack = m_rolledBack;
  notes->title = std::move(title);
  std::vector<Change> changes = m_changes.take();
  if (!m_tookBack)
    notes->changes.swap(changes);
  if (m_hasRun && !m_tookBack)
    notes->files = OutputFiles::instance()->shareWritten();
  m_last = Outcome(notes);
  const Outcome outcome = m_last;  // observers may run commands
  tell(outcome);
  return outcome;
}

void SessionModel::report(const Error& error) noexcept
{
  const Inside inside(*this);
  ErrorProgressReporter::instance()->reportError(error);
}

void SessionModel::reportCaught() noexcept
{
  const Inside inside(*this);
  try {
    ErrorProgressReporter::instance()->reportError(caughtError("parseKSL"));
  } catch (...) {
    ErrorProgressReporter::instance()->reportError(m_lack);
  }
}

void SessionModel::failCommand(bool isReported)
{
  const Inside inside(*this);
  if (std::exchange(m_commandFailed, true))
    return;
  KSLCoreAPI::instance()->endCommand(!isReported);
  m_rolledBack = KSLInterface::instance()->getLastRecoverySize();
}

int SessionModel::observe(Session::Observer observer)
{
  m_observers.emplace(m_newestObserver + 1, std::make_shared<const Session::Observer>(std::move(observer)));
  ++m_newestObserver;
  return m_newestObserver;
}

// They may come and go while they are told.
void SessionModel::tell(const Outcome& outcome)
{
  const int newest = m_newestObserver;
  for (auto next = m_observers.begin(); next != m_observers.end() && next->first <= newest;) {
    const int number = next->first;
    const std::shared_ptr<const Session::Observer> observer = next->second;
    try {
      (*observer)(outcome);
    } catch (...) {
      passUnwinding();
    }
    next = m_observers.upper_bound(number);
  }
}

}  // namespace orv
