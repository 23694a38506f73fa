// Whether there is work that would be lost.
#pragma once

#include "actions/StateChangeObserver.h"

// Hears of every update that changes objects, undo and redo included; "> savestate" of everything ends the worry. A
// command that is taken back leaves things as they were. Changes that are made without an update (in the update mode
// no-action) go unnoticed.
class StateWatch {
 public:
  StateWatch() = default;
  // To and from KSLCoreAPI: it hears nothing outside.
  void attach();
  void detach();
  StateWatch(const StateWatch&) = delete;
  StateWatch& operator=(const StateWatch&) = delete;

  bool hasUnsavedWork() const { return m_changes.isDBStateDirty(); }
  // A file holds everything, as after a load into nothing.
  void setSaved() { m_changes.setDBStateDirty(false); }
  // For "> savestate".
  orv::StateChangeObserver* observer() { return &m_changes; }

 private:
  // Remembers what was when the outermost text began, and says so again when its changes have been taken back.
  class Recovery : public orv::Observer {
   public:
    explicit Recovery(orv::StateChangeObserver& changes) : m_changes(changes) {}
    void update(orv::ObserverSubject* subject, int type) override;

   private:
    orv::StateChangeObserver& m_changes;
    int m_depth = 0;
    bool m_before = false;
  };

  orv::StateChangeObserver m_changes;
  Recovery m_recovery{m_changes};
};
