// The command processor: parsing. Its history is in KSLInterfaceHistory.cpp.
//
//   parseKSL ─ runParse ─ beginNewParse                  m_entryCount +1
//                 ├─ doParseKSL                       preParseKSL, processKSL, text store, ActionHandler
//                 ├─ (failure) setPendingError, handleParseException
//                 │      ├ nested: AbortException to the level above
//                 │      └ outermost: report, attemptErrorRecovery
//                 └─ endParse ─ (outermost) closeHistory  m_entryCount -1
//
// Invariants between outermost parses:
//  1. m_entryCount is 0, the mode stack holds the base entry alone, no error is pending.
//  2. The undo mode is NORMAL; every stack is delimited, and the error-recovery stack is empty.
//  3. The store's change list is empty and everything in the store is confirmed; what the store holds and what
//     the database holds are the same (but for no-action updates, which apply less on purpose).
#include "command/KSLInterface.h"

#include "platform/ORVOutputFiles.h"
#include "platform/ORVUtilities.h"
#include "rules/AdditionalRules.h"
#include "rules/KSLRules.h"
#include "command/BackCompatibilityFunctor.h"
#include "command/CommandLines.h"
#include "command/Executive.h"
#include "command/KSLCoreAPI.h"
#include "command/caughtError.h"

#include <new>

namespace orv {

namespace {

constexpr const char* source = "KSLCore/src/KSLInterface";
constexpr std::size_t usualNesting = 64;  // parses within parses that need no memory of their own

// The line of that number, from 1, as its writer knows it: the updates put in have none of their own.
std::string lineOf(std::string_view text, std::size_t number)
{
  while (--number > 0)
    text.remove_prefix(text.find('\n') + 1);
  return StringUtilities::simplifyWhitespace(text.substr(0, text.find('\n')));
}

// Tells, in verbose mode, which line of a text the n-th action came from: long texts, such as recorded sessions, are
// mended by taking a line out.
void tellFailedLine(std::string_view text, kslUpdateMode mode, std::size_t n)
{
  ErrorProgressReporter* reporter = ErrorProgressReporter::instance();
  if (!reporter->isVerbose())
    return;
  const KSLLines lines = CommandLines(mode).parse(text);
  std::size_t index = 0;
  for (; index < lines.size(); ++index)
    if (CommandLines::isActionLine(lines[index]) && --n == 0)
      break;
  if (index == lines.size())
    return;
  const std::size_t number = CommandLines(mode).sourceLine(text, index);
  std::string line = lineOf(text, number);
  const bool putIn = lines[index].starts_with("> update") && line.find("update") == std::string::npos;
  if (!putIn)
    line = lines[index];  // whole, when it was continued
  reporter->inform(_("Line %d of the text failed: '%s'.", number, line));
}

}  // namespace

// Hands the store's action lines to the Executive, and keeps the first failure of a parse. Knows how far the load under
// way has come.
class KSLInterface::ActionHandler final : public KSLActionHandler {
 public:
  struct Progress {
    std::size_t actions = 0;  // begun
    bool failed = false;      // the last of them
  };

  explicit ActionHandler(KSLInterface* owner) : m_owner(owner) {}

  // Of the load under way; loads nest in an action.
  Progress progress;

  bool handleAction(const std::string& action, const std::vector<std::string>& args) override
  {
    ++progress.actions;
    try {
      std::string line = action;
      if (!args.empty())
        line.append(" ").append(StringUtilities::vectorToString(args, ','));
      m_owner->executive().doAction(std::move(line));
      return true;
    } catch (...) {
      m_owner->notePendingError("invoke");
      progress.failed = true;
      return false;
    }
  }

 private:
  KSLInterface* m_owner;
};

// --------------------------------------------------------------------------------------------------- life, set-up

KSLInterface* KSLInterface::m_instance = nullptr;

KSLInterface* KSLInterface::instance()
{
  if (!m_instance)
    m_instance = new KSLInterface;
  return m_instance;
}

void KSLInterface::destroyInstance()
{
  delete std::exchange(m_instance, nullptr);
}

KSLInterface::KSLInterface()
    : m_kslapi(std::make_unique<KSLAPI>()),
      m_errorState(std::make_unique<ParseErrorState>()),
      m_actionHandler(std::make_unique<ActionHandler>(this)),
      m_rules(std::make_unique<KSLRules>())
{
  m_kslapi->registerDefaultActionHandler(m_actionHandler.get());
  OutputFiles::instance();  // made while there is memory
  m_modeStack.reserve(usualNesting);
  m_modeStack.push_back(kslUpdateDefault);
  closeHistory();
}

KSLInterface::~KSLInterface() = default;

void KSLInterface::initialize()
{
  m_kslapi->readLibraries();
}

void KSLInterface::initialize(const std::string& rules, const std::string& others)
{
  m_kslapi->readNamedLibraries(rules, others);
}

void KSLInterface::processRules()
{
  processRules(AdditionalRules());
}

void KSLInterface::processRules(const AdditionalRules& rules)
{
  // Also when the rules are faulty: the RULES are no objects, and must never reach an update.
  const ScopeGuard clear([this] { m_kslapi->clearKSLChangeList(); });
  m_rules->process(m_kslapi.get(), rules);
  m_kslapi->recordChanges();
}

void KSLInterface::registerChangeListModifier(ChangeListModifierIF* modifier)
{
  if (modifier == m_modifier.get())
    return;
  std::unique_ptr<ChangeListModifierIF> former(modifier);
  former.swap(m_modifier);
  // Lists let go of the former one before it is deleted, also those that have left their stack while they are written.
  setChangeListModifier();
  for (Application* open = m_application; open; open = open->m_outer) {
    if (open->m_list->getModifier() == former.get())
      open->m_list->setModifier(modifier);
  }
}

bool KSLInterface::setBWC(bool on)
{
  return std::exchange(m_bwc, on);
}

void KSLInterface::setBWCForNextProcessKSL(bool on)
{
  if (!m_bwcOverridePending)
    m_savedBwc = m_bwc;
  m_bwcOverridePending = true;
  m_bwc = on;
}

bool KSLInterface::isActionLine(const std::string& line)
{
  return CommandLines::isActionLine(line);
}

Executive& KSLInterface::executive() const
{
  if (!m_executive)
    throw internal::error("KSLInterface", "doAction", _("Pointer to Executive not set."));
  return *m_executive;
}

void KSLInterface::doAction(const std::string& line)
{
  executive().doAction(line);
}

void KSLInterface::forceUpdate(const std::vector<std::string>& names)
{
  executive().forceUpdate(names);
}

// --------------------------------------------------------------------------------------------------------- parsing

void KSLInterface::parseKSL(const std::string& text, kslUpdateMode mode)
{
  runParse(mode, [&] { doParseKSL(text, mode); });
}

template <class Work>
void KSLInterface::runParse(kslUpdateMode mode, Work work)
{
  beginNewParse(mode);
  const ScopeGuard end([this] { endParse(); });
  if (m_errorState->pending) {
    // After a failure nested texts are skipped. Outermost, the failure is one of a load outside any parse: it
    // is told now, or nobody would ever hear of it.
    if (m_entryCount == 1)
      handleParseException(true);
    return;
  }
  bool failed = false;
  try {
    work();
  } catch (...) {
    notePendingError("parseKSL");
    failed = true;
  }
  if (failed)
    handleParseException(false);
}

// Undo and redo of the host's own making run in a parse too; the template is theirs as well.
void KSLInterface::runHistory(UndoMode mode)
{
  if (m_entryCount > 0)
    return parseHistory(mode);
  runParse(kslUpdateDefault, [&] {
    parseHistory(mode);
    OutputFiles::instance()->publish();
  });
}

void KSLInterface::undoOnError()
{
  if (!m_errorState->pending)
    return;
  if (m_entryCount > 0)
    return handleParseException(true);
  runParse(kslUpdateDefault, [] {});
}

void KSLInterface::beginNewParse(kslUpdateMode mode)
{
  m_modeStack.push_back(mode == kslUpdateDefault ? m_modeStack.back() : mode);
  if (m_entryCount == 0)
    OutputFiles::instance()->begin();
  if (m_entryCount == 0 && m_undoMode == NORMAL)
    openHistory();
  ++m_entryCount;
}

void KSLInterface::endParse()
{
  if (m_entryCount-- == 1) {
    OutputFiles::instance()->end();
    closeHistory();
  }
  if (m_modeStack.size() > 1)
    m_modeStack.pop_back();
}

// In a handler: the error caught becomes the pending one, unless an earlier one is. Where there is no memory for its
// text, it is told as what it then is.
void KSLInterface::notePendingError(const char* function)
{
  ErrorMsg error;
  try {
    error = caughtError(function);
  } catch (const std::bad_alloc&) {
    error = takeMemoryError();
  }
  if (m_errorState->pending)
    return;
  m_errorState->error = std::move(error);
  m_errorState->pending = true;
}

ErrorMsg KSLInterface::takeMemoryError()
{
  const std::unique_ptr<ErrorMsg> error = std::move(m_memoryError);
  return error ? std::move(*error) : ErrorMsg();
}

void KSLInterface::reportPendingError()
{
  const ErrorMsg error = std::move(m_errorState->error);
  *m_errorState = ParseErrorState();
  ErrorProgressReporter::instance()->reportError(error);
}

void KSLInterface::handleParseException(bool force)
{
  assertThat(m_entryCount > 0, "m_entryCount > 0", source);
  if (m_entryCount != 1 && !force)
    throw AbortException(m_errorState->error);
  reportPendingError();
  OutputFiles::instance()->discard();
  attemptErrorRecovery();
  OutputFiles::instance()->discard();  // what objects wrote when they became what they were
}

void KSLInterface::doParseKSL(const std::string& text, kslUpdateMode mode)
{
  KSLLines lines = preParseKSL(text);
  const bool rewrite = m_bwc;
  if (m_bwcOverridePending) {
    m_bwc = m_savedBwc;
    m_bwcOverridePending = false;
  }
  if (rewrite)
    updateForBackwardCompatibility(lines, mode);
  const auto outer = std::exchange(m_actionHandler->progress, {});
  const ScopeGuard leave([&] { m_actionHandler->progress = outer; });
  ScopeGuard tell([&] {
    const ActionHandler::Progress& progress = m_actionHandler->progress;
    if (progress.failed && !(rewrite && m_backFunctor))  // whose lines are others
      tellFailedLine(text, m_modeStack.back(), progress.actions);
  });
  processKSL(lines);
  tell.dismiss();
  if (m_entryCount != 1)
    return;
  OutputFiles::instance()->publish();
  KSLCoreAPI::instance()->notify(KSLCoreAPI::outermostProcessed);
  OutputFiles::instance()->publish();  // of texts that observers submitted
}

KSLLines KSLInterface::preParseKSL(const std::string& text) const
{
  return CommandLines(m_modeStack.back()).parse(text);
}

// Without a functor of the host's there is nothing to ask: the default one rewrites nothing.
void KSLInterface::updateForBackwardCompatibility(KSLLines& lines, kslUpdateMode mode)
{
  if (!m_backFunctor)
    return;
  std::vector<std::string> texts = lines.copy();
  (*m_backFunctor)(texts, mode == kslUpdateDefault);
  KSLLines rewritten;
  for (const std::string& line : texts)
    rewritten.add(line);
  lines = std::move(rewritten);
}

void KSLInterface::processKSL(const KSLLines& lines)
{
  writeProcessKSLDebug(lines);
  if (lines.empty())
    return;  // changes made outside wait for a text that updates
  const ScopeGuard clear([this] { m_kslapi->clearKSLChangeList(); });
  try {
    m_kslapi->loadKSLData(lines);
  } catch (...) {
    if (!m_errorState->pending)
      throw;
    passUnwinding();  // the pending error was first
  }
  if (m_errorState->pending)
    throw AbortException(m_errorState->error);
  // What no update took (a functor may have dropped it) would never reach the database: a store that kept it would see
  // no change when it is said again.
  m_kslapi->undoPending();
}

}  // namespace orv
