// Undo, redo and error recovery: what commands did, and the way back.
#pragma once

#include "platform/ORVKSLAPI.h"
#include "command/HistoryStack.h"

#include <memory>
#include <string>
#include <vector>

namespace orv {

class Executive;
class PendingError;
class UndoneObjects;

// KSLInterface, which parses, owns it and tells it when commands begin, fail and end. One outermost command is one
// step, however many updates and nested texts it held.
class ORV_API History {
 public:
  enum UndoMode { NORMAL = 0, UNDO = 1, REDO = 2, ERROR_RECOVERY = 3, ERROR_RECOVERY_REDO = 4 };

  // Neither is owned. While an error is pending, nothing that the store holds is taken for safe.
  History(KSLAPI* store, const PendingError* error);
  ~History();
  History(const History&) = delete;
  History& operator=(const History&) = delete;

  // -- an outermost command

  void open();
  // Confirms in the store what the command has done, unless it failed and was not taken back.
  void close();

  // -- the way back

  // Takes back (UNDO), or does again (REDO), the newest step. Nothing to do is reported, type 8. Throws data::error,
  // class "KSLInterface", function "parseHistory", with the message of what failed; what was applied until then stands
  // in the history, for the recovery of the command. From within an update it fails so: what the store would take
  // back is what the update is still applying.
  void replay(UndoMode mode, Executive* executive);
  // Takes back all that the command under way did, between notifications 12 and 13, or 14 and 15 when it is an undo
  // that failed. Goes on past what fails; what could not be put back is then taken over into the store from the
  // database, and two reports say so. Lets nothing out. REQUIRES: no update is under way.
  void recover(Executive* executive);
  // How many changes the last recovery put back; 0 when the command now open has had none.
  std::size_t getLastRecoverySize() const { return m_lastRecoverySize; }

  bool isApplying() const { return m_application != nullptr; }

  // -- stacks

  UndoMode getMode() const { return m_mode; }
  static std::string getUndoModeString(int mode);
  // Where the inverses of changes are recorded in the present mode; in a recovery, which records none, a stack that
  // stays empty.
  HistoryStack* getStack() { return stackFor(m_mode, false); }
  const HistoryStack& getUndoStack() const { return m_undoStack; }
  const HistoryStack& getRedoStack() const { return m_redoStack; }
  void clearUndoStacks();
  // Takes ownership; the one held before is deleted. It sees the inverses recorded for undo.
  void registerChangeListModifier(ChangeListModifierIF* modifier);

  // One application of changes to the database. While it lives, list() is where inverses go. commit() says
  // that all went well: what the text store holds is then safe, unless an error is pending or an enclosing application
  // is not yet done.
  class ORV_API Application {
   public:
    explicit Application(History* owner);
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;
    KSLChangeList* list() const { return m_list.get(); }
    // A modifier may have dropped every change: a step without changes is none. Left to the enclosing application when
    // that records the same list.
    void dropEmptyStep();
    void commit();

   private:
    friend class History;
    History* m_owner;
    Application* m_outer;
    std::shared_ptr<KSLChangeList> m_list;
    std::size_t m_step = 0;  // its entry in the owner's record of the command
    bool m_enclosed;         // an enclosing application records the same list
  };

 private:
  // A run of inverses in one list: what one application recorded. Lists are only ever appended to, and live
  // as long as they are named here, wherever undo and redo move them.
  struct Step {
    std::shared_ptr<const KSLChangeList> list;
    std::size_t first;
    std::size_t last;
  };

  bool isRecovering() const { return m_mode == ERROR_RECOVERY || m_mode == ERROR_RECOVERY_REDO; }
  HistoryStack* stackFor(UndoMode mode, bool source);
  void replayTop(Executive* executive);
  void getChangesOfTop(KSLChangeList& changes, UndoneObjects& kept);
  void takeBack(Executive* executive);
  void dropFailed() noexcept;
  void confirm();
  void checkRest() const;

  KSLAPI* m_store;              // not owned
  const PendingError* m_error;  // not owned

  const SharedText m_undoName{"UNDO"};
  const SharedText m_redoName{"REDO"};
  UndoMode m_mode = NORMAL;
  HistoryStack m_undoStack;
  HistoryStack m_redoStack;
  std::unique_ptr<ChangeListModifierIF> m_modifier;
  HistoryStack m_recoveryStack;

  // Of the command under way
  HistoryStack::ListId m_savedUndoTop = 0;
  HistoryStack::ListId m_newestBefore = 0;  // lists with greater numbers are this command's
  std::vector<Step> m_steps;                // all that it applied, in order
  Application* m_application = nullptr;     // the innermost
  std::size_t m_lastRecoverySize = 0;       // stays until the next one begins
};

}  // namespace orv
