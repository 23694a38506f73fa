// Processes that work as one: each holds the same model and enters the same commands.
#pragma once

#include "command/KSLUpdateMode.h"
#include "command/TextSource.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orv {
class ActionExecutor;
class ActionFactory;
class FileChangeManager;
}  // namespace orv

// What is entered, as all enter it. The text is the caller's: it may be as large as the model.
struct TeamCommand {
  const std::string& text;
  orv::TextSource source = {};
  orv::kslUpdateMode mode = orv::kslUpdateDefault;
  bool isFromSession = false;  // as it was recorded, and not recorded again
  std::string folder = {};     // of that session: where files that it names are looked for, too
};

// Without one the program works alone. The process that talks to people has one that leads the others.
class Team {
 public:
  virtual ~Team() = default;
  // Null, as at start, without others.
  static Team* current() { return s_current; }
  static Team* setCurrent(Team* team) { return std::exchange(s_current, team); }

  // `up` brings the library up here; the others bring theirs up. Throws what `up` does, and what goes wrong elsewhere.
  virtual void begin(const std::vector<std::string>& libraries, bool validate,
                     const std::function<void()>& up) = 0;
  // Registers executors of the actions on files, which one process does for all. `saving` is that of "savestate".
  virtual void prepare(orv::ActionFactory& actions, std::unique_ptr<orv::ActionExecutor> saving,
                       orv::FileChangeManager* files) = 0;
  // `enter` runs the command here, and the others run it meanwhile. It is done everywhere when this returns, or taken
  // back everywhere. Throws what enter does, and internal::error when the models have become different.
  virtual void follow(const TeamCommand& command, const std::function<void()>& enter) = 0;
  // Whether the command under way is to stop at this step; `here` when a person said so to this process. It does not
  // where processes could not stop together.
  virtual bool stopsNow(bool here) = 0;

 private:
  static inline Team* s_current = nullptr;
};
