// The actions "readsession" and "rs": play a session file back.
#pragma once

#include "command/ActionExecutor.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace orv {

class SessionUpdateStrategy;

//   > readsession filename=FILE
//
// Runs the text of a file, of a session or any other, as a part of the command under way: one failure in it takes back
// the whole command. Nothing of it is recorded but the line that asked for it. Without a file name it is that of the
// object SESSION, which is told the name of every file that is read. Files that the text names are also looked for
// beside it, and so is the file itself when another one is being read (ORVMPStream). Undo is refused meanwhile.
//
// White space in the file name is dropped, unless only the name as typed leads to a file; quotes around it are taken off.
class ORV_API ReadSessionExecutor : public ActionExecutor {
 public:
  // With a strategy the text is replayed through a SessionUpdater; it is not owned and may be null. With
  // `catchExceptionsOff` false, errors of calculations are caught during the replay. Either way they are not caught any
  // more when a replay has ended well, unless they had been before and the flag is false: on purpose. After one that
  // failed the switch stands as the replay left it.
  explicit ReadSessionExecutor(SessionUpdateStrategy* strategy = nullptr, bool catchExceptionsOff = true);
  ~ReadSessionExecutor() override;

  // Throws, before anything is processed (the object FILE PROCESSING is made first when it is missing):
  // internal::badParam for the words as every action, function "validateAction"; ksl::invalid, function
  // "processParams", "Syntax error: %s parameters should have the format: %s" and "Invalid parameter in %s: '%s'.";
  // ksl::invalid "No Filename Specified" and file::error "Non ASCII file: '%s'.", function "readFileContents";
  // file::error "File '%s' is already being processed.", function "invoke"; what opening the file throws. An empty file
  // is only reported, as of class "ReadStateExecutor", on purpose. In verbose mode a failed replay names the file.
  void invoke(const std::vector<std::string>& p_action) override;

 private:
  using Params = std::map<std::string, std::string>;

  static void validateAction(const std::vector<std::string>& action);
  Params processParams(const std::vector<std::string>& action) const;
  static std::string readFileContents(const Params& params, std::string& fileName);
  void replay(const std::string& text, const std::string& fileName) const;

  const std::set<std::string> m_parameters;
  SessionUpdateStrategy* m_strategy;  // not owned
  bool m_catchExceptionsOff;
};

}  // namespace orv
