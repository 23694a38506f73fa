// The command processor.
#pragma once

#include "platform/ORVError.h"
#include "platform/ORVKSLAPI.h"
#include "command/HistoryStack.h"
#include "command/KSLUpdateMode.h"

#include <memory>
#include <string>
#include <vector>

namespace orv {

class BackCompatibilityFunctor;
class Executive;
class KSLRules;
struct AdditionalRules;

// Every command text enters here. It is split into lines, loaded into the text store in one call, and its
// actions are run in order; the "> update" actions that are put in make the typed objects follow. What fails
// is reported once, by the outermost parse, and taken back as a whole; nothing is thrown to its caller.
//
// One outermost parse is one undo step. Nested parses (of executors that submit text themselves) belong to
// it.
class ORV_API KSLInterface {
 public:
  enum UndoMode { NORMAL = 0, UNDO = 1, REDO = 2, ERROR_RECOVERY = 3, ERROR_RECOVERY_REDO = 4 };

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

  // Runs a text; see the class. Throws only inside another parse, whose executors must let it pass.
  // Cost: linear in the text, plus what the changes touch.
  void parseKSL(const std::string& text, kslUpdateMode mode);
  // Runs one action line (without ">"), outside any parse: what it throws comes to the caller and nothing is
  // taken back. internal::error, class "KSLInterface", function "doAction", "Pointer to Executive not set."
  // without one.
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
  static bool isActionLine(const std::string& line);

  // -- history

  // Takes back, or does again, the newest step, in the database and the text store. Within a parse a failure
  // is thrown to it; outside one it is reported and recovered from, as for a text. Nothing to do is reported,
  // type 8. Cost: that of the step's changes.
  void undo();
  void redo();
  // Reports a pending error and recovers, when there is one.
  void undoOnError();
  // Forgets what could be undone and redone. A parse under way can still be taken back if it fails.
  void clearUndoStacks();
  // How many changes the recovery of the last outermost parse replayed; 0 when there was none.
  std::size_t getLastRecoverySize() const { return m_lastRecoverySize; }

  std::string getUndoModeString() const { return getUndoModeString(m_undoMode); }
  static std::string getUndoModeString(int mode);
  // Where the inverses of changes are recorded in the present mode.
  HistoryStack* getHistoryStack() { return stackFor(m_undoMode, false); }
  const HistoryStack& getUndoStack() const { return m_undoStack; }
  const HistoryStack& getRedoStack() const { return m_redoStack; }

  // Takes ownership; the one held before is deleted. It sees the inverses recorded for undo.
  void registerChangeListModifier(ChangeListModifierIF* modifier);

  // One application of changes to the database. While it lives, list() is where inverses go. commit() says
  // that all went well: what the text store holds is then safe, unless an enclosing application is not yet
  // done.
  class ORV_API Application {
   public:
    explicit Application(KSLInterface* owner);
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;
    KSLChangeList* list() const { return m_list.get(); }
    void commit();

   private:
    friend class KSLInterface;
    KSLInterface* m_owner;
    Application* m_outer;
    std::shared_ptr<KSLChangeList> m_list;
    std::size_t m_step = 0;  // its entry in the owner's record of the parse
    bool m_enclosed;         // an enclosing application records the same list
  };

  // Debugging hooks; do nothing in this build.
  void writeProcessKSLDebug(const KSLLines&) const {}
  void writeUpdateModeDebug() const {}

 private:
  class ActionHandler;

  struct ParseErrorState {
    bool pending = false;
    ErrorMsg error;
  };

  // A run of inverses in one list: what one application recorded. Lists are only ever appended to, and live
  // as long as they are named here, wherever undo and redo move them.
  struct ParseStep {
    std::shared_ptr<const KSLChangeList> list;
    std::size_t first;
    std::size_t last;
  };

  KSLInterface();
  ~KSLInterface();

  // Parsing
  template <class Work>
  void runParse(kslUpdateMode mode, Work work);
  void beginNewParse(kslUpdateMode mode);
  void endParse();
  void doParseKSL(const std::string& text, kslUpdateMode mode);
  KSLLines preParseKSL(const std::string& text) const;
  void updateForBackwardCompatibility(KSLLines& lines, kslUpdateMode mode);
  void processKSL(const KSLLines& lines);
  void notePendingError(const char* function);
  void reportPendingError();
  ErrorMsg takeMemoryError();
  void handleParseException(bool force);
  Executive& executive() const;

  // History
  void runHistory(UndoMode mode);
  void parseHistory(UndoMode mode);
  void replayHistory(UndoMode mode);
  void getHistoryChanges(KSLChangeList& changes);
  void getRecoveryChanges(KSLChangeList& changes);
  void attemptErrorRecovery();
  void openHistory();
  void closeHistory();
  bool isRecovering() const { return m_undoMode == ERROR_RECOVERY || m_undoMode == ERROR_RECOVERY_REDO; }
  HistoryStack* stackFor(UndoMode mode, bool source);
  HistoryStack* getSourceHistoryStack() { return stackFor(m_undoMode, true); }
  void notifyOfRecovery(int type);
  void reportFailedRecovery();
  void setChangeListModifier() { m_undoStack.registerChangeListModifier(m_modifier.get()); }

  static KSLInterface* m_instance;

  std::vector<kslUpdateMode> m_modeStack;  // one for each parse under way, above the base entry
  std::unique_ptr<KSLAPI> m_kslapi;
  std::unique_ptr<ParseErrorState> m_errorState;
  std::unique_ptr<ErrorMsg> m_memoryError;  // made while there is memory; null when it was used
  std::unique_ptr<ActionHandler> m_actionHandler;
  std::unique_ptr<KSLRules> m_rules;

  UndoMode m_undoMode = NORMAL;
  HistoryStack m_undoStack;
  HistoryStack m_redoStack;
  std::unique_ptr<ChangeListModifierIF> m_modifier;
  HistoryStack m_errorRecoveryStack;

  int m_entryCount = 0;
  Executive* m_executive = nullptr;                   // not owned
  BackCompatibilityFunctor* m_backFunctor = nullptr;  // not owned
  bool m_bwc = true;
  bool m_bwcOverridePending = false;
  bool m_savedBwc = true;

  // Of the outermost parse under way
  HistoryStack::ListId m_savedUndoTop = 0;
  HistoryStack::ListId m_newestBefore = 0;  // lists with greater numbers are this parse's
  std::vector<ParseStep> m_parseSteps;      // all that it applied, in order
  Application* m_application = nullptr;     // the innermost
  std::size_t m_lastRecoverySize = 0;       // stays until the next one begins
};

}  // namespace orv
