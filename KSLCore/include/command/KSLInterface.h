// The command processor.
#pragma once

#include "platform/ORVError.h"
#include "platform/ORVKSLAPI.h"
#include "command/History.h"
#include "command/KSLUpdateMode.h"
#include "command/TextSource.h"

#include <memory>
#include <string>
#include <vector>

namespace orv {

class BackCompatibilityFunctor;
class Executive;
class KSLRules;
class PendingError;
class TextPlaces;
struct AdditionalRules;
struct ParsedText;

// Every command text enters here. It is split into lines, loaded into the text store in one call, and its
// actions are run in order; the "> update" actions that are put in make the typed objects follow. What fails
// is reported once, by the outermost parse, and taken back as a whole; nothing is thrown to its caller.
//
// One outermost parse is one undo step. Nested parses (of executors that submit text themselves) belong to
// it. Texts that come after a failure are skipped; from its report to the end of the recovery they are refused.
class ORV_API KSLInterface {
 public:
  using UndoMode = History::UndoMode;
  static constexpr UndoMode NORMAL = History::NORMAL;
  static constexpr UndoMode UNDO = History::UNDO;
  static constexpr UndoMode REDO = History::REDO;
  static constexpr UndoMode ERROR_RECOVERY = History::ERROR_RECOVERY;
  static constexpr UndoMode ERROR_RECOVERY_REDO = History::ERROR_RECOVERY_REDO;

  static KSLInterface* instance();  // made on first use
  // The host destroys its Executive, factory and executors after this.
  static void destroyInstance();

  KSLInterface(const KSLInterface&) = delete;
  KSLInterface& operator=(const KSLInterface&) = delete;

  // -- start-up, in this order

  // Reads the definition libraries: the default ones, or two lists as KSLAPI::readNamedLibraries describes
  // them; throws as that does.
  void initialize();
  void initialize(const std::string& rules, const std::string& others);
  // Turns the RULES that the store holds into prototypes; throws as KSLRules::process does. Without an
  // argument the types get no object rules: hosts pass AdditionalRules with applyObjectRules set.
  void processRules();
  void processRules(const AdditionalRules& rules);
  // Neither is owned; both outlive the parses. Null takes the functor away.
  void setExecutive(Executive* executive) { m_executive = executive; }
  void setBackFunctor(BackCompatibilityFunctor* functor) { m_backFunctor = functor; }

  // -- commands

  // Texts may be nested so deeply, in themselves or in those whom a text tells; a deeper one fails: internal::error,
  // class "KSLInterface", function "parseKSL", "Operation 'parseKSL' failed. Texts are nested too deeply."
  static constexpr int maxDepth = 200;
  // Runs a text; see the class. Its errors tell where in the source they are. Throws only inside another parse, whose
  // executors must let it pass. Cost: linear in the text, plus what the changes touch.
  void parseKSL(const std::string& text, kslUpdateMode mode, const TextSource& from = {})
  {
    parseKSL(text, mode, from, nullptr);
  }
  // The same for a text that was parsed ahead, in this mode; null when it was not. What was parsed is used up.
  void parseKSL(const std::string& text, kslUpdateMode mode, const TextSource& from, ParsedText* ahead);
  // REQUIRES: called from a handler. Runs a text that has failed already, of what is being handled.
  void failParse();
  // Throws what a text that is nested too deeply fails of.
  static void requireDepth(int depth);
  // A command in pieces: until endCommand, the texts that are parsed are parts of it, as those of an executor are. One
  // that fails throws what carries the failure to endCommand, which is to follow at once. False when there is no command
  // then, which has been reported. internal::error, class "KSLInterface", function "beginCommand", "A command is under
  // way." within another.
  bool beginCommand();
  // Ends it; without `keep`, or when something has failed, it is taken back, a failure reported. Whether it was done.
  // REQUIRES: beginCommand gave true, and no piece is under way.
  bool endCommand(bool keep);
  // Runs one action line (without ">"), outside any parse: what it throws comes to the caller and nothing is
  // taken back. internal::error, class "KSLInterface", function "doAction", "Pointer to Executive not set."
  // without one. Refused during a recovery, as a text is.
  void doAction(const std::string& line);
  // As Executive::forceUpdate; the same error without an Executive.
  void forceUpdate(const std::vector<std::string>& names);

  // Whether compatibility rewrites are done; returns the previous setting. On at start.
  bool setBWC(bool on);
  // The same for the next text only; texts nested in it are read with the setting of now.
  void setBWCForNextProcessKSL(bool on);

  KSLAPI* getKSLAPI() const { return m_kslapi.get(); }
  const KSLRules* getRules() const { return m_rules.get(); }
  Executive* getExecutive() const { return m_executive; }
  // Parses under way.
  int getParseDepth() const { return m_entryCount; }
  // From the report of a failure to the end of the recovery.
  bool isRecovering() const { return m_recovering; }
  static bool isActionLine(const std::string& line);

  // -- history, which is kept by a class of its own

  // Takes back, or does again, the newest step, in the database and the text store. Within a parse a failure
  // is thrown to it; outside one it is reported and recovered from, as for a text. Nothing to do is reported,
  // type 8. Cost: that of the step's changes.
  void undo() { runHistory(UNDO); }
  void redo() { runHistory(REDO); }
  // Reports a pending error and recovers, when there is one. While an update is under way the outermost parse does
  // that when the update has ended.
  void undoOnError();
  // Forgets what could be undone and redone. A parse under way can still be taken back if it fails.
  void clearUndoStacks() { m_history.clearUndoStacks(); }
  // How many changes the recovery of the last outermost parse put back; 0 when there was none.
  std::size_t getLastRecoverySize() const { return m_history.getLastRecoverySize(); }

  std::string getUndoModeString() const { return getUndoModeString(m_history.getMode()); }
  static std::string getUndoModeString(int mode) { return History::getUndoModeString(mode); }
  // Where the inverses of changes are recorded in the present mode.
  HistoryStack* getHistoryStack() { return m_history.getStack(); }
  const HistoryStack& getUndoStack() const { return m_history.getUndoStack(); }
  const HistoryStack& getRedoStack() const { return m_history.getRedoStack(); }

  // Takes ownership; the one held before is deleted. It sees the inverses recorded for undo.
  void registerChangeListModifier(ChangeListModifierIF* modifier)
  {
    m_history.registerChangeListModifier(modifier);
  }

  class Application : public History::Application {
   public:
    explicit Application(KSLInterface* owner) : History::Application(&owner->m_history) {}
  };

  // Debugging hooks; do nothing in this build.
  void writeProcessKSLDebug(const KSLLines&) const {}
  void writeUpdateModeDebug() const {}

 private:
  class ActionHandler;

  KSLInterface();
  ~KSLInterface();

  // Parsing
  template <class Work>
  void runParse(kslUpdateMode mode, Work work);
  kslUpdateMode beginNewParse(kslUpdateMode mode);
  void endParse(kslUpdateMode outerMode);
  void doParseKSL(const std::string& text, kslUpdateMode mode, ParsedText* ahead, TextPlaces& places);
  KSLLines preParseKSL(const std::string& text, ParsedText* ahead, const TextPlaces& places);
  void updateForBackwardCompatibility(KSLLines& lines, kslUpdateMode mode);
  void processKSL(KSLLines& lines, std::size_t& current);
  void handleParseException(bool force);
  void takeBack();
  void conclude();
  void refuseText();
  void reportWithin();
  bool isUpdating() const;
  void runHistory(UndoMode mode);
  Executive& executive() const;

  kslUpdateMode m_mode = kslUpdateDefault;  // of the innermost parse; each one restores the one around it
  std::unique_ptr<KSLAPI> m_kslapi;
  std::unique_ptr<PendingError> m_error;
  std::unique_ptr<ActionHandler> m_actionHandler;
  std::unique_ptr<KSLRules> m_rules;
  std::unique_ptr<KSLValidator> m_validator;
  History m_history;
  KSLLines m_spareLines;  // empty: their memory is for the next text

  int m_entryCount = 0;
  bool m_recovering = false;
  bool m_refusing = false;                            // the report of a refusal is under way
  ErrorMsg m_refusal;                                 // made while there is memory
  Executive* m_executive = nullptr;                   // not owned
  BackCompatibilityFunctor* m_backFunctor = nullptr;  // not owned
  bool m_bwc = true;
  bool m_bwcOverridePending = false;
  bool m_savedBwc = true;
};

}  // namespace orv
