// Whether there is work that would be lost.
#pragma once

#include "actions/StateChangeObserver.h"

// Hears of every update that changes objects, undo and redo included; "> savestate" of everything ends the worry. It
// errs to the safe side: a command that failed and was taken back counts, and so does a state that was just loaded.
// Changes that are made without an update (in the update mode no-action) go unnoticed. Attached while it lives.
class StateWatch {
 public:
  StateWatch();
  ~StateWatch();
  StateWatch(const StateWatch&) = delete;
  StateWatch& operator=(const StateWatch&) = delete;

  bool hasUnsavedWork() const { return m_observer.isDBStateDirty(); }
  // For "> savestate".
  orv::StateChangeObserver* observer() { return &m_observer; }

 private:
  orv::StateChangeObserver m_observer;
};
