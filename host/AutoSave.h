// What is left of the work when the program does not come to its end.
#pragma once

#include "actions/StateChangeObserver.h"
#include "actions/WriteStateExecutor.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

// Saves everything to AutoSaveState.qst between two commands, at most once a minute and only what has changed. It is no
// command: nothing is recorded, told, or can be undone, and the work counts as unsaved as before. A program that ends well
// removes the file, so one that is there says that another did not. One program at a time does so in a folder; others
// there do without.
class AutoSave {
 public:
  // Of one of these files, the first that has a name: its folder; else the user's directory of states.
  static std::string folderFor(const std::string& load, const std::string& save, const std::string& record);

  // Begins in that folder, which is made; does nothing without one. What is left of another program is set aside. A file
  // of that name which is one of the user's own, to be loaded or saved, is neither set aside nor removed.
  AutoSave(const std::string& folder, const std::vector<std::string>& own);
  ~AutoSave();
  AutoSave(const AutoSave&) = delete;
  AutoSave& operator=(const AutoSave&) = delete;

  // What another program left here; empty for nothing.
  const std::string& leftover() const { return m_leftover; }
  // It was told, or loaded: what ends the program from now on has not to do with it. Until then it is also there under
  // its old name, for the next start.
  void settleLeftover();
  // What there is now is in a file, or not worth saving.
  void forgetChanges() { m_changes.setDBStateDirty(false); }
  // Between two commands. A failure is reported once, as a warning.
  void saveIfDue();
  void endWell();

 private:
  using Clock = std::chrono::steady_clock;

  void setAside(const std::string& leftover);
  void save();

  std::string m_file;
  std::string m_leftover;
  bool m_own = false;  // the file is the user's
  int m_lock = -1;     // on the folder
  orv::StateChangeObserver m_changes;
  orv::WriteStateExecutor m_writer;
  std::optional<Clock::time_point> m_last;
  bool m_failed = false;
};
