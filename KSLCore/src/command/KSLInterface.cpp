// The command processor: parsing. What was done, and the way back, are the history's.
//
//   parseKSL ─ runParse ─ beginNewParse                  m_entryCount +1
//                 ├─ doParseKSL                       preParseKSL, processKSL, text store, ActionHandler
//                 ├─ (failure) PendingError, handleParseException
//                 │      ├ nested: AbortException to the level above
//                 │      └ outermost: report, History::recover
//                 └─ endParse ─ (outermost) History::close  m_entryCount -1
//
//                first failure        outermost level        end of recovery
//   [running] ─────────────────► [failed] ──────────► [recovering] ─────────► [running]
//   texts are run                texts are skipped    texts are refused by a report
//   the rest of a text ends      nothing is confirmed
//
// Invariants between outermost parses:
//  1. m_entryCount is 0, m_mode is the default, no error is pending, nothing is recovering.
//  2. Those of the history.
//  3. The store's change list is empty, and RULES are open to the host.
#include "command/KSLInterface.h"

#include "platform/ORVOutputFiles.h"
#include "platform/ORVResultMemory.h"
#include "platform/ORVUtilities.h"
#include "platform/internal/ContextLocal.h"
#include "platform/internal/UpdateHandler.h"
#include "rules/AdditionalRules.h"
#include "rules/KSLRules.h"
#include "rules/RulesValidator.h"
#include "command/BackCompatibilityFunctor.h"
#include "command/CommandLines.h"
#include "command/CommandNotifier.h"
#include "command/Executive.h"
#include "command/caughtError.h"
#include "PendingError.h"
#include "TextPlaces.h"

#include <utility>

namespace orv {

namespace {

constinit ContextLocal<KSLInterface*> theKSLInterface(ContextEnd::commands, &KSLInterface::destroyInstance);

constexpr const char* kslInterfaceSource = "KSLCore/src/KSLInterface";

}  // namespace

// Hands the store's action lines to the Executive, and keeps the first failure of a parse.
class KSLInterface::ActionHandler final : public KSLActionHandler, public UpdateHandler {
 public:
  explicit ActionHandler(KSLInterface* owner) : m_owner(owner) {}

  bool handleAction(const std::string& action, const std::vector<std::string>& args) override
  {
    return handle([&] {
      std::string line = action;
      if (!args.empty())
        line.append(" ").append(StringUtilities::vectorToString(args, ','));
      m_owner->executive().doAction(std::move(line));
    });
  }
  bool handleUpdate() override
  {
    return handle([this] { m_owner->executive().doUpdate(); });
  }

 private:
  template <class Act>
  bool handle(Act act)
  {
    try {
      act();
    } catch (...) {
      m_owner->m_error->note("invoke");
    }
    // Also when somebody swallowed what a text of his threw.
    return !m_owner->m_error->isPending();
  }

  KSLInterface* m_owner;
};

// --------------------------------------------------------------------------------------------------- life, set-up

KSLInterface* KSLInterface::instance()
{
  KSLInterface*& instance = *theKSLInterface;
  if (!instance)
    instance = new KSLInterface;
  return instance;
}

void KSLInterface::destroyInstance()
{
  delete std::exchange(*theKSLInterface, nullptr);
}

KSLInterface::KSLInterface()
    : m_kslapi(std::make_unique<KSLAPI>()),
      m_error(std::make_unique<PendingError>()),
      m_actionHandler(std::make_unique<ActionHandler>(this)),
      m_rules(std::make_unique<KSLRules>()),
      m_validator(std::make_unique<RulesValidator>(*m_kslapi)),
      m_history(m_kslapi.get(), m_error.get()),
      m_refusal("KSLInterface", "parseKSL", _("Text submitted during error recovery is ignored."),
                errorType::warning)
{
  m_kslapi->registerDefaultActionHandler(m_actionHandler.get());
  m_kslapi->setValidator(m_validator.get());
  OutputFiles::instance();  // made while there is memory
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
  if (m_recovering)
    return refuseText();
  executive().doAction(line);
}

void KSLInterface::forceUpdate(const std::vector<std::string>& names)
{
  executive().forceUpdate(names);
}

// --------------------------------------------------------------------------------------------------------- parsing

void KSLInterface::parseKSL(const std::string& text, kslUpdateMode mode, const TextSource& from,
                            ParsedText* ahead)
{
  runParse(mode, [&] {
    TextPlaces places(from, text, m_mode, *m_kslapi);
    const ScopeGuard spare([&] {
      places.lines.clear();
      m_spareLines = std::move(places.lines);
    });
    try {
      doParseKSL(text, mode, ahead, places);
    } catch (...) {
      m_error->note("parseKSL");  // while the places are known
      throw;
    }
  });
}

void KSLInterface::failParse()
{
  runParse(kslUpdateDefault, [] { throw; });
}

void KSLInterface::requireDepth(int depth)
{
  if (depth > maxDepth)
    throw internal::error("KSLInterface", "parseKSL",
                          _("Operation '%s' failed. Texts are nested too deeply.", "parseKSL"));
}

// Undo and redo of the host's own making run in a parse too; the template is theirs as well.
void KSLInterface::runHistory(UndoMode mode)
{
  const auto replay = [&] { m_history.replay(mode, m_executive); };
  const auto outermost = [&] {
    replay();
    OutputFiles::instance()->publish();
  };
  if (m_recovering)
    refuseText();
  else if (m_entryCount == 0)
    runParse(kslUpdateDefault, outermost);
  else if (!m_error->isPending())
    replay();
}

template <class Work>
void KSLInterface::runParse(kslUpdateMode mode, Work work)
{
  if (m_recovering)
    return refuseText();
  if (m_entryCount == 0 && isUpdating())
    return reportWithin();
  const kslUpdateMode outerMode = beginNewParse(mode);
  const ScopeGuard end([this, outerMode] { endParse(outerMode); });
  if (m_error->isPending() && m_entryCount > 1)
    return;  // after a failure nested texts are skipped
  try {
    // Pending is the failure of a load outside any parse, else: it is told in place of the text, or nobody would
    // ever hear of it.
    if (!m_error->isPending()) {
      requireDepth(m_entryCount);
      work();
    }
  } catch (...) {
    m_error->note("parseKSL");
  }
  if (m_error->isPending())  // also when the work swallowed it
    handleParseException(false);
}

bool KSLInterface::beginCommand()
{
  if (m_entryCount > 0)
    throw internal::error("KSLInterface", "beginCommand", _("A command is under way."));
  if (m_recovering || isUpdating()) {
    m_recovering ? refuseText() : reportWithin();
    return false;
  }
  beginNewParse(kslUpdateDefault);
  return !m_error->isPending()
         || endCommand(true);  // of a load outside any parse: told in place of the command
}

bool KSLInterface::endCommand(bool keep)
{
  assertThat(m_entryCount == 1, "m_entryCount == 1", kslInterfaceSource);
  const ScopeGuard end([this] { endParse(kslUpdateDefault); });
  try {
    if (keep && !m_error->isPending())
      conclude();
  } catch (...) {
    m_error->note("parseKSL");
  }
  if (keep && !m_error->isPending())
    return true;
  takeBack();
  return false;
}

bool KSLInterface::isUpdating() const
{
  return m_history.isApplying() || (m_executive && m_executive->isUpdating());
}

// The host itself runs an update, outside any parse: what is submitted from within could not be taken back alone.
void KSLInterface::reportWithin()
{
  try {
    throw internal::error(
        "Executive", "update",
        _("Executive::update() called with differentKSLChangeList from higher invocation."));
  } catch (...) {
    m_error->note("parseKSL");
  }
  m_error->report();
}

void KSLInterface::undoOnError()
{
  if (!m_error->isPending() || isUpdating())
    return;
  if (m_entryCount > 0)
    return handleParseException(true);
  runParse(kslUpdateDefault, [] {});
}

kslUpdateMode KSLInterface::beginNewParse(kslUpdateMode mode)
{
  if (m_entryCount++ == 0) {
    OutputFiles::instance()->begin();
    ResultMemory::beginCommand();
    m_kslapi->refuseRules(true);
    m_history.open();
  }
  return std::exchange(m_mode, mode == kslUpdateDefault ? m_mode : mode);
}

void KSLInterface::endParse(kslUpdateMode outerMode)
{
  m_mode = outerMode;
  if (--m_entryCount > 0)
    return;
  m_kslapi->refuseRules(false);
  OutputFiles::instance()->end();
  m_history.close();
  ResultMemory::endCommand();
}

void KSLInterface::handleParseException(bool force)
{
  assertThat(m_entryCount > 0, "m_entryCount > 0", kslInterfaceSource);
  if (m_entryCount != 1 && !force)
    throw AbortException(m_error->get());
  takeBack();
}

// Reports what has failed, if anything has.
void KSLInterface::takeBack()
{
  m_recovering = true;
  const ScopeGuard end([this] { m_recovering = false; });
  m_error->report();
  OutputFiles::instance()->discard();
  ResultMemory::takeBack();
  m_history.recover(m_executive);
  OutputFiles::instance()->discard();  // what objects wrote when they became what they were
  m_error->report();                   // of a load that somebody made meanwhile
  m_kslapi->undoPending();             // and that load
}

// One report for each text, but none for what the one who is being told submits.
void KSLInterface::refuseText()
{
  if (std::exchange(m_refusing, true))
    return;
  const ScopeGuard end([this] { m_refusing = false; });
  ErrorProgressReporter::instance()->reportError(m_refusal);
}

void KSLInterface::doParseKSL(const std::string& text, kslUpdateMode mode, ParsedText* ahead,
                              TextPlaces& places)
{
  places.lines = preParseKSL(text, ahead, places);
  const bool rewrite = m_bwc;
  if (m_bwcOverridePending) {
    m_bwc = m_savedBwc;
    m_bwcOverridePending = false;
  }
  if (rewrite)
    updateForBackwardCompatibility(places.lines, mode);
  places.isRewritten = rewrite && m_backFunctor;
  places.letGo();
  processKSL(places.lines, places.current);
  if (m_entryCount == 1)
    conclude();
}

void KSLInterface::conclude()
{
  OutputFiles::instance()->publish();
  CommandNotifier::notify(CommandNotifier::outermostProcessed);
  OutputFiles::instance()->publish();  // of texts that observers submitted
}

// A text that is nested in others without a mode of its own has theirs, which nobody knew ahead.
KSLLines KSLInterface::preParseKSL(const std::string& text, ParsedText* ahead, const TextPlaces& places)
{
  if (ahead && ahead->mode == m_mode)
    return std::move(ahead->lines);
  try {
    return CommandLines(m_mode, std::move(m_spareLines)).parse(text);
  } catch (data::error& error) {
    places.explainEnds(error);
    throw;
  }
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

void KSLInterface::processKSL(KSLLines& lines, std::size_t& current)
{
  writeProcessKSLDebug(lines);
  if (lines.empty())
    return;  // changes made outside wait for a text that updates
  const ScopeGuard clear([this] { m_kslapi->clearKSLChangeList(); });
  try {
    m_kslapi->loadKSLData(lines, current);
  } catch (...) {
    if (!m_error->isPending())
      throw;
    passUnwinding();  // the pending error was first
  }
  if (m_error->isPending())
    throw AbortException(m_error->get());
  // What no update took (a functor may have dropped it) would never reach the database: a store that kept it would see
  // no change when it is said again.
  m_kslapi->undoPending();
}

}  // namespace orv
