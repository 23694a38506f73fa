// The command processor: undo, redo and recovery.
//
//             recorded on   taken from     entered by             left by
//   NORMAL    undo          -              closeHistory           undo, redo, recovery
//   UNDO      redo          undo           undo                   closeHistory, recovery
//   REDO      undo          redo           redo                   closeHistory, recovery
//   RECOVERY  recovery      this parse     attemptErrorRecovery   closeHistory
//
// A mode stays until the outermost parse ends, so what is defined after "> undo" in one text is recorded on
// the redo stack, before the step that was undone: a redo first takes it back. Logical, and kept.
//
// Recovery replays the inverses of all that the failed parse did, in whatever mode: m_parseSteps names them
// in the order in which they were recorded. The stacks alone would not do. Undo and redo move lists about,
// and what a parse did and undid itself must not be done again by its recovery.
#include "platform/ORVProgress.h"
#include "platform/ORVUtilities.h"
#include "command/Executive.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "command/caughtError.h"

#include <new>

namespace orv {

std::string KSLInterface::getUndoModeString(int mode)
{
  switch (mode) {
    case NORMAL:
      return "NORMAL";
    case UNDO:
      return "UNDO";
    case REDO:
      return "REDO";
    case ERROR_RECOVERY:
      return "ERROR RECOVERY";
    case ERROR_RECOVERY_REDO:
      return "ERROR RECOVERY REDO";
    default:
      return "UNKNOWN";  // any number may be asked for
  }
}

HistoryStack* KSLInterface::stackFor(UndoMode mode, bool source)
{
  switch (mode) {
    case NORMAL:
      return source ? nullptr : &m_undoStack;
    case UNDO:
      return source ? &m_undoStack : &m_redoStack;
    case REDO:
      return source ? &m_redoStack : &m_undoStack;
    case ERROR_RECOVERY:
      return source ? &m_undoStack : &m_errorRecoveryStack;
    case ERROR_RECOVERY_REDO:
      return source ? &m_redoStack : &m_errorRecoveryStack;
  }
  return nullptr;
}

void KSLInterface::undo()
{
  runHistory(UNDO);
}

void KSLInterface::redo()
{
  runHistory(REDO);
}

void KSLInterface::clearUndoStacks()
{
  m_undoStack.clear();
  m_redoStack.clear();
}

// --------------------------------------------------------------------------------------------------------- replay

void KSLInterface::parseHistory(UndoMode mode)
{
  m_undoMode = mode;
  const ScopeGuard clear([this] { m_kslapi->clearKSLChangeList(); });
  try {
    replayHistory(mode);
  } catch (...) {
    if (isRecovering())
      return reportFailedRecovery();
    throw data::error("KSLInterface", "parseHistory", caughtError("parseHistory").getMessage());
  }
}

// In a handler.
void KSLInterface::reportFailedRecovery()
{
  *m_errorState = ParseErrorState();  // a text nested in the recovery may have failed
  ErrorProgressReporter* reporter = ErrorProgressReporter::instance();
  try {
    reporter->reportError(caughtError("parseHistory"));
    reporter->reportError(ErrorMsg(
        "KSLInterface", "parseHistory",
        _("An attempt to recover from a previous error has failed.\nThe application is likely to be in an "
          "unstable state."),
        errorType::system));
  } catch (const std::bad_alloc&) {
    reporter->reportError(takeMemoryError());
  }
}

void KSLInterface::replayHistory(UndoMode mode)
{
  // From within an update, what the store would take back here is what the update is still applying.
  if (m_application && !isRecovering())
    throw internal::error(
        "Executive", "update",
        _("Executive::update() called with differentKSLChangeList from higher invocation."));
  m_kslapi->undo();
  KSLChangeList changes(getUndoModeString(mode));
  if (isRecovering())
    getRecoveryChanges(changes);
  else
    getHistoryChanges(changes);
  if (changes.empty())
    return;  // an open, empty list would hide the steps below it
  Application application(this);
  executive().replay(changes, application.list(), m_kslapi.get());
  application.commit();
}

// Replays the newest step in the store and gives what that really changed there. A step that failed is gone, and what
// is defined after an undo is recorded beside it: an older step may not fit any more. Store and database stay the same
// when the database follows the store, and the inverses recorded then take back just that.
void KSLInterface::getHistoryChanges(KSLChangeList& changes)
{
  HistoryStack* source = getSourceHistoryStack();
  const std::shared_ptr<KSLChangeList> top = source->shareTop();
  if (!top || top->empty()) {
    const char* text = m_undoMode == UNDO ? "Nothing to undo." : "Nothing to redo.";
    ErrorProgressReporter::instance()->reportError(
        ErrorMsg("KSLInterface", "getHistoryChanges", _(text), errorType::warning));
    return;
  }
  const ScopeGuard pop([source] { source->pop(); });  // also when the replay fails
  KSLAPIUpdateProcessor replay(m_kslapi.get(), true);
  top->process(KSLChangeList::Direction::backward, &replay);
  KSLChangeList changed = m_kslapi->takeKSLChangeList();
  changes.swapChanges(changed);
}

// Gives the inverses of all that the failed parse did; completed steps are never rolled back, and none of the failed
// parse's lists stays. The store has been put back already, so that the replay there changes nothing but what an
// earlier, confirmed update of the same parse did.
void KSLInterface::getRecoveryChanges(KSLChangeList& changes)
{
  std::vector<ParseStep> steps;
  steps.swap(m_parseSteps);
  const ScopeGuard drop([this] {
    m_undoStack.dropNewerThan(m_newestBefore);
    m_redoStack.dropNewerThan(m_newestBefore);
  });
  for (std::size_t step = steps.size(); step-- > 0;) {
    for (std::size_t i = steps[step].last; i-- > steps[step].first;)
      changes.add((*steps[step].list)[i]);
  }
  m_lastRecoverySize = changes.size();
  KSLAPIUpdateProcessor replay(m_kslapi.get(), true);
  changes.process(KSLChangeList::Direction::forward, &replay);
  m_kslapi->clearKSLChangeList();
}

void KSLInterface::attemptErrorRecovery()
{
  const bool failedUndo = m_undoMode == UNDO;
  const ScopeGuard watchAgain([watcher = ProgressWatcher::set(nullptr)] { ProgressWatcher::set(watcher); });
  notifyOfRecovery(failedUndo ? KSLCoreAPI::redoRecoveryBegin : KSLCoreAPI::recoveryBegin);
  parseHistory(failedUndo ? ERROR_RECOVERY_REDO : ERROR_RECOVERY);
  notifyOfRecovery(failedUndo ? KSLCoreAPI::redoRecoveryEnd : KSLCoreAPI::recoveryEnd);
  // What an executor does after a recovery that it asked for is a step like any other.
  m_errorRecoveryStack.clear();
  m_undoMode = NORMAL;
  m_savedUndoTop = m_undoStack.topId();
}

// An observer must not stand in the way of a recovery; the failure of a text that it submits is told.
void KSLInterface::notifyOfRecovery(int type)
{
  try {
    KSLCoreAPI::instance()->notify(type);
  } catch (...) {
    passUnwinding();
  }
  if (m_errorState->pending)
    reportPendingError();
}

// What was done outside any parse is a step of its own.
void KSLInterface::openHistory()
{
  if (!m_errorState->pending) {
    m_undoStack.delimit();
    m_redoStack.delimit();
    if (m_undoStack.topId() != m_savedUndoTop)
      m_redoStack.clear();
    m_parseSteps.clear();
    m_newestBefore = HistoryStack::newestId();
  }
  m_savedUndoTop = m_undoStack.topId();
  m_lastRecoverySize = 0;
}

void KSLInterface::closeHistory()
{
  m_undoStack.delimit();
  m_redoStack.delimit();
  if (m_undoMode == NORMAL && m_undoStack.topId() != m_savedUndoTop)
    m_redoStack.clear();
  m_errorRecoveryStack.clear();
  m_undoMode = NORMAL;
  m_parseSteps.clear();
  m_savedUndoTop = m_undoStack.topId();
  m_newestBefore = HistoryStack::newestId();
  *m_errorState = ParseErrorState();
  m_kslapi->confirmTo(m_kslapi->pendingMark());
  if (!m_memoryError)
    m_memoryError = std::make_unique<ErrorMsg>(
        "KSLInterface", "parseKSL", _("Operation failed. Insufficient memory."), errorType::system);
}

// ---------------------------------------------------------------------------------------------------- application

KSLInterface::Application::Application(KSLInterface* owner) : m_owner(owner), m_outer(owner->m_application)
{
  HistoryStack* stack = owner->getHistoryStack();
  stack->writeableTop();
  m_list = stack->shareTop();
  m_enclosed = (m_outer && m_outer->m_list == m_list) || owner->isRecovering();
  if (!m_enclosed) {
    std::vector<ParseStep>& steps = owner->m_parseSteps;
    const std::size_t size = m_list->size();
    if (steps.empty() || steps.back().list != m_list || steps.back().last != size)
      steps.push_back({m_list, size, size});
    m_step = steps.size() - 1;
  }
  owner->m_application = this;
}

KSLInterface::Application::~Application()
{
  m_owner->m_application = m_outer;
  std::vector<ParseStep>& steps = m_owner->m_parseSteps;
  if (!m_enclosed && m_step < steps.size() && steps[m_step].list == m_list)
    steps[m_step].last = m_list->size();
}

void KSLInterface::Application::commit()
{
  KSLAPI* store = m_owner->getKSLAPI();
  if (!m_outer)
    store->confirmTo(store->pendingMark());
}

}  // namespace orv
