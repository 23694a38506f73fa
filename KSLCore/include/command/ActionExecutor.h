// The base of every action.
#pragma once

#include "platform/ORVExport.h"

#include <string>
#include <string_view>
#include <vector>

namespace orv {

// Runs the action lines of one word ("> delete /CUT:a"). Executors are registered in an ActionFactory by the
// host.
class ORV_API ActionExecutor {
 public:
  ActionExecutor() = default;
  ActionExecutor(const ActionExecutor&) = default;
  ActionExecutor& operator=(const ActionExecutor&) = default;
  virtual ~ActionExecutor();

  // Runs the action: the word first, then its arguments. Reports a failure by throwing (ksl::invalid for bad
  // arguments); the command processor then takes back the whole command. An executor that submits text of its
  // own must let what comes out of that pass.
  virtual void invoke(const std::vector<std::string>& words) = 0;

  // The words of an action line without its ">": the text up to the first white space (of which a comma and
  // what follows it are dropped), then the rest split at commas, each piece trimmed, empty ones kept. Blanks
  // inside a piece and "=" mean nothing here. Without white space the whole line is the one word. "delete a
  // b," gives "delete", "a b" and an empty text; an empty line gives nothing, a blank one an empty word.
  static std::vector<std::string> splitActionLine(const std::string& line);
  // The inverse: the words joined by ", ".
  static std::string mergeActionLine(const std::vector<std::string>& words);
};

}  // namespace orv
