// The action "savestate".
#pragma once

#include "command/ActionExecutor.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace orv {

class FileChangeManager;
class KSLObject;
class StateChangeObserver;
class StateLines;

// "> savestate filename=FILE, mode=none|overwrite, object=PATH, object=NAME, …" writes the objects listed, or all,
// with everything below them, to a state file; "> readstate" reads it back. The object STATE, when there is one, gives
// what the line does not: "State Filename", "Save State Mode" (overwrite, when it is empty) and "Save State Objects".
// White space in the arguments is dropped, so objects are found without it too; names from STATE are taken as
// they are, which is the way to file names with blanks. Quotes around a file name are taken off.
//
// Never written are objects of program types (RULES, STATE, SESSION, SYMBOL …) with all below them, a DATA READER
// without a results file, internal parameters, empty values, values that a parameter was never given and does not
// allow, and the "Domain List" of what the results define. FILE PROCESSING is written as it is when nothing is read; a
// state of everything that holds no object consists of it. Any character can be in a state (FileText says how).
//
// The text is made in memory and replaces the file in one step (ORVFile::replace): the old state or the new one,
// whole. Linear in the text; a list of n objects costs n.
class ORV_API WriteStateExecutor : public ActionExecutor {
 public:
  // Both may be null, are not owned and outlive the executor. The manager is told the file type "qst" now and each
  // file when it is complete; the observer's flag is cleared by a save of everything that succeeded.
  explicit WriteStateExecutor(FileChangeManager* files = nullptr, StateChangeObserver* changes = nullptr);
  ~WriteStateExecutor() override;
  WriteStateExecutor(const WriteStateExecutor&) = delete;
  WriteStateExecutor& operator=(const WriteStateExecutor&) = delete;

  // Class "WriteStateExecutor", function "invoke"; nothing is written then:
  //   internal::badParam for no words or another action's
  //   ksl::invalid "Syntax error: %s parameters should have the format: %s", "Invalid parameter in %s: '%s'."
  //   data::invalid "Invalid parameter value: '%s'." for a mode argument; ksl::invalid "Invalid parameter value: %s."
  //     with "mode" for another mode in STATE
  //   file::error "File '%s' is the session file that is being written.", "Overwrite not allowed: %s", "File status error: '%s' - %s." in mode none
  // and what ORVFile::replace throws. An object that is missing or ambiguous is reported, function
  // "writeStateData", data::invalid "Cannot find object %s. No state written for that object.", and skipped; a
  // value that KSL text cannot carry ("#" outside quotes, white space other than single blanks) is reported as
  // data::invalid of type 8, "Value of parameter '%s' of object '%s' cannot be read back.", function
  // "validatedParameters", and written as it is. A line for which readers would refuse the whole file (an object whose
  // name is no name in KSL, a parameter whose name has a ":") is left out, with all that is in it, and reported in the
  // same way, "Line '%s' cannot be read back."; the observer's flag stays then.
  void invoke(const std::vector<std::string>& p_action) override;

  // Writes everything, past the settings, the manager and the observer: for saves that nobody asked for. Throws as
  // ORVFile::replace does.
  void saveEverything(const std::string& fileName) const;

 protected:
  // For derived executors: an object that is never written, nor what is below it.
  void excludeObject(const std::string& type, const std::string& name);

 private:
  struct Request {
    std::string fileName;
    std::string mode;
    std::string objects;  // a list with commas; empty means all
    bool typed = false;   // by the action line: names lack their blanks
  };
  using Paths = std::unordered_set<std::string_view>;

  Request readRequest(const std::vector<std::string>& words) const;
  void readArgument(const std::string& argument, Request& request, std::vector<std::string>& objects) const;
  static void checkTarget(const Request& request);
  // Each is false when a line was left out.
  bool writeState(const std::vector<const KSLObject*>& objects, bool everything, StateLines& out) const;
  bool writeStateData(const std::vector<const KSLObject*>& objects, StateLines& out) const;
  bool writeOneObject(const KSLObject& object, StateLines& out) const;
  bool validatedParameters(const KSLObject& object, std::size_t depth, StateLines& out) const;
  static bool parentAlreadyWritten(std::string_view path, const Paths& written);
  bool isValidForWriting(const std::string& type, const std::string& name) const;
  bool isWritten(const KSLObject& object) const;

  std::multimap<std::string, std::string> m_excludedObjects;  // type, name; empty but for derived executors
  FileChangeManager* m_files;                                 // not owned, may be null
  StateChangeObserver* m_changes;                             // not owned, may be null
};

}  // namespace orv
