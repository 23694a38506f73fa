// Undo, redo and error recovery.
//
//                recorded on   taken from       entered by          left by
//   NORMAL       undo          -                close, recover      replay, recover
//   UNDO         redo          undo             replay              close, recover
//   REDO         undo          redo             replay              close, recover
//   RECOVERY     -             this command     recover             recover
//
// A mode stays until the outermost command ends, so what is defined after "> undo" in one text is recorded on
// the redo stack, before the step that was undone: a redo first takes it back. Logical, and kept.
//
//              what the store holds                      texts
//   running    confirmed when an update has ended well   are run
//   failed     never confirmed                           are skipped (an error is pending)
//   recovering taken back, then confirmed as it stands   are refused (KSLInterface sees to that)
//
// Recovery replays the inverses of all that the failed command did, in whatever mode: m_steps names them in the order
// in which they were recorded. The stacks alone would not do. Undo and redo move lists about, and what a command did
// and undid itself must not be done again by its recovery.
//
// Invariants:
//  1. The inverse of a change stands in a list that m_steps names, or in the list of an application under way, before
//     the database makes the change; so whatever fails, the steps lead back. An inverse whose change left nothing
//     behind may stand there: replays pass over what is there already.
//  2. What was confirmed in the store has reached the database. What is not is taken back by the store alone.
//  3. Between outermost commands, which checkRest checks: the mode is NORMAL, the stacks are delimited, no application
//     is alive, no steps are held, and the store has nothing that is not confirmed but what stands in its change list.
//  4. After every outermost command, also one whose recovery failed, store and database hold the same (but for
//     no-action updates, which apply less on purpose, and for what calculations set).
#include "command/History.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVProgress.h"
#include "platform/ORVUtilities.h"
#include "database/UndoneObjects.h"
#include "command/CommandNotifier.h"
#include "command/Executive.h"
#include "command/caughtError.h"
#include "PendingError.h"
#include "RecoveryLog.h"

#include <utility>

namespace orv {

namespace {

constexpr const char* historySource = "KSLCore/src/History";

// What an observer of a recovery throws has no one to go to.
void notifyQuietly(CommandNotifier::Notification type)
{
  try {
    CommandNotifier::notify(type);
  } catch (...) {
    passUnwinding();
  }
}

}  // namespace

History::History(KSLAPI* store, const PendingError* error) : m_store(store), m_error(error) {}
History::~History() = default;

std::string History::getUndoModeString(int mode)
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

HistoryStack* History::stackFor(UndoMode mode, bool from)
{
  switch (mode) {
    case NORMAL:
      return from ? nullptr : &m_undoStack;
    case UNDO:
      return from ? &m_undoStack : &m_redoStack;
    case REDO:
      return from ? &m_redoStack : &m_undoStack;
    case ERROR_RECOVERY:
      return from ? &m_undoStack : &m_recoveryStack;
    case ERROR_RECOVERY_REDO:
      return from ? &m_redoStack : &m_recoveryStack;
  }
  return nullptr;
}

void History::clearUndoStacks()
{
  m_undoStack.clear();
  m_redoStack.clear();
}

void History::registerChangeListModifier(ChangeListModifierIF* modifier)
{
  if (modifier == m_modifier.get())
    return;
  std::unique_ptr<ChangeListModifierIF> former(modifier);
  former.swap(m_modifier);
  // Lists let go of the former one before it is deleted, also those that have left their stack while they are written.
  m_undoStack.registerChangeListModifier(m_modifier.get());
  for (Application* open = m_application; open; open = open->m_outer) {
    if (open->m_list->getModifier() == former.get())
      open->m_list->setModifier(modifier);
  }
}

// ----------------------------------------------------------------------------------------------------- a command

// What was done outside any command is a step of its own. After a failure there, it is part of what is taken back.
void History::open()
{
  if (!m_error->isPending()) {
    m_steps.clear();
    m_undoStack.delimit();
    m_redoStack.delimit();
    if (m_undoStack.topId() != m_savedUndoTop)
      m_redoStack.clear();
    m_newestBefore = HistoryStack::newestId();
  }
  m_savedUndoTop = m_undoStack.topId();
  m_lastRecoverySize = 0;
}

void History::close()
{
  m_steps.clear();  // before the stacks: they keep less of what nobody names
  m_undoStack.delimit();
  m_redoStack.delimit();
  if (m_mode == NORMAL && m_undoStack.topId() != m_savedUndoTop)
    m_redoStack.clear();
  m_mode = NORMAL;
  m_savedUndoTop = m_undoStack.topId();
  m_newestBefore = HistoryStack::newestId();
  confirm();
#ifndef NDEBUG
  checkRest();
#endif
}

void History::confirm()
{
  if (!m_error->isPending())
    m_store->confirmTo(m_store->pendingMark());
}

void History::checkRest() const
{
  assertThat(m_mode == NORMAL, "m_mode == NORMAL", historySource);
  assertThat(m_undoStack.isDelimited() && m_redoStack.isDelimited(), "the stacks are delimited",
             historySource);
  assertThat(m_undoStack.size() == 0 || !m_undoStack.isTopEmpty(), "no empty step to undo", historySource);
  assertThat(m_redoStack.size() == 0 || !m_redoStack.isTopEmpty(), "no empty step to redo", historySource);
  assertThat(!m_application, "!m_application", historySource);
  assertThat(m_steps.empty(), "m_steps.empty()", historySource);
  assertThat(!m_error->isPending(), "!m_error->isPending()", historySource);
}

// --------------------------------------------------------------------------------------------------- undo and redo

void History::replay(UndoMode mode, Executive* executive)
{
  const ScopeGuard clear([this] { m_store->clearKSLChangeList(); });
  try {
    if (m_application)
      throw internal::error(
          "Executive", "update",
          _("Executive::update() called with differentKSLChangeList from higher invocation."));
    m_mode = mode;
    replayTop(executive);
  } catch (...) {
    const ErrorMsg caught = caughtError("parseHistory");
    data::error error("KSLInterface", "parseHistory", caught.getMessage());
    error.setDiagnostic(caught.getDiagnostic());
    throw error;
  }
}

void History::replayTop(Executive* executive)
{
  m_store->undo();
  const bool undoes = m_mode == UNDO;
  KSLChangeList changes(undoes ? m_undoName : m_redoName, nullptr);
  UndoneObjects objects;  // what the undo took out
  getChangesOfTop(changes, objects);
  if (changes.empty())
    return;  // an open, empty list would hide the steps below it
  if (!executive)
    throw internal::error("KSLInterface", "doAction", _("Pointer to Executive not set."));
  Application application(this);
  executive->replay(changes, application.list(), m_store, undoes ? &objects : nullptr,
                    undoes ? nullptr : &objects);
  if (undoes)
    m_redoStack.keepWithTop(std::move(objects));
  application.commit();
}

// Replays the newest step in the store and gives what that really changed there. A step that failed is gone, and what
// is defined after an undo is recorded beside it: an older step may not fit any more. Store and database stay the same
// when the database follows the store, and the inverses recorded then take back just that.
void History::getChangesOfTop(KSLChangeList& changes, UndoneObjects& kept)
{
  HistoryStack* from = stackFor(m_mode, true);
  if (from->isTopEmpty()) {
    const char* text = m_mode == UNDO ? "Nothing to undo." : "Nothing to redo.";
    ErrorProgressReporter::instance()->reportError(
        ErrorMsg("KSLInterface", "getHistoryChanges", _(text), errorType::warning));
    return;
  }
  const ScopeGuard pop([from] { from->pop(); });  // also when the replay fails
  kept = from->takeKept();
  KSLAPIUpdateProcessor store(m_store, true);
  from->takeTopBack(store);
  KSLChangeList changed = m_store->takeKSLChangeList();
  changes.swapChanges(changed);
}

// -------------------------------------------------------------------------------------------------------- recovery

void History::recover(Executive* executive)
{
  const bool failedUndo = m_mode == UNDO;
  m_mode = failedUndo ? ERROR_RECOVERY_REDO : ERROR_RECOVERY;
  const ScopeGuard watchAgain([watcher = ProgressWatcher::set(nullptr)] { ProgressWatcher::set(watcher); });
  {
    const auto end = failedUndo ? CommandNotifier::redoRecoveryEnd : CommandNotifier::recoveryEnd;
    const ScopeGuard tell([end] { notifyQuietly(end); });
    notifyQuietly(failedUndo ? CommandNotifier::redoRecoveryBegin : CommandNotifier::recoveryBegin);
    takeBack(executive);
  }
  m_recoveryStack.clear();
  // What an executor does after a recovery that it asked for is a step like any other.
  m_mode = NORMAL;
  m_savedUndoTop = m_undoStack.topId();
}

// The store first takes back what was not confirmed, each thing to its place. Then the inverses of all that reached the
// database are replayed in both: in the store they change what was confirmed earlier in the command.
void History::takeBack(Executive* executive)
{
  RecoveryLog log(*m_error);
  KSLChangeList inverses;  // without a name, which may take memory
  for (std::size_t step = m_steps.size(); step-- > 0;) {
    for (std::size_t i = m_steps[step].last; i-- > m_steps[step].first;) {
      const KSLChange& inverse = (*m_steps[step].list)[i];
      log.attempt(inverse.path, inverse.name, [&] { inverses.add(inverse); });
    }
  }
  dropFailed();
  // What fails as a whole is attempted once more: the store goes on from where it was, the objects pass over what is
  // there.
  const auto undoStore = [this] { m_store->undo(); };
  if (!log.attempt(undoStore) && !log.attempt(undoStore))
    log.noteIncomplete();
  KSLAPIUpdateProcessor store(m_store, false);
  for (std::size_t i = 0; i < inverses.size(); ++i) {
    const KSLChange& inverse = inverses[i];
    log.attempt(inverse.path, inverse.name, [&] { store.visit(inverse); });
  }
  const auto recoverObjects = [&] {
    log.putBack = 0;
    executive->recover(inverses, m_store, log);
  };
  if (executive && !log.attempt(recoverObjects) && !log.attempt(recoverObjects))
    log.noteIncomplete();
  log.settle(*m_store);
  m_store->recordChanges();
  m_lastRecoverySize = log.putBack;
  log.report();
}

// Completed steps are never rolled back; of the failed command's none stays.
void History::dropFailed() noexcept
{
  m_steps.clear();
  m_undoStack.dropNewerThan(m_newestBefore);
  m_redoStack.dropNewerThan(m_newestBefore);
}

// ----------------------------------------------------------------------------------------------------- application

History::Application::Application(History* owner) : m_owner(owner), m_outer(owner->m_application)
{
  HistoryStack* stack = owner->getStack();
  m_list = stack->shareOpen();
  m_enclosed = (m_outer && m_outer->m_list == m_list) || owner->isRecovering();
  if (!m_enclosed) {
    std::vector<Step>& steps = owner->m_steps;
    const std::size_t size = m_list->size();
    if (steps.empty() || steps.back().list != m_list || steps.back().last != size)
      steps.push_back({m_list, size, size});
    m_step = steps.size() - 1;
  }
  owner->m_application = this;
}

History::Application::~Application()
{
  m_owner->m_application = m_outer;
  std::vector<Step>& steps = m_owner->m_steps;
  if (!m_enclosed && m_step < steps.size() && steps[m_step].list == m_list)
    steps[m_step].last = m_list->size();
}

void History::Application::dropEmptyStep()
{
  HistoryStack* stack = m_owner->getStack();
  if (!m_enclosed && stack->size() > 0 && stack->isTopEmpty())
    stack->pop();
}

void History::Application::commit()
{
  if (!m_outer)
    m_owner->confirm();
}

}  // namespace orv
