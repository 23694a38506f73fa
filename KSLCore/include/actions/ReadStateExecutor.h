// The action "readstate".
#pragma once

#include "command/ActionExecutor.h"

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace orv {

class FileChangeManager;

// "> readstate filename=FILE, mode=overwrite|append, load=true|false" loads a state file, as "> savestate" writes it:
// in place of what is there (every object of the category "deletable" goes first) or on top of it. With load the
// results that the state was made from are read before: its DATA READER block is entered, and "> load" run, which is
// the host's. What an argument does not give comes from the object STATE ("State Filename", "Read State Mode", "Load
// Data"), which then also records the load; without one, from the defaults of its type.
//
// Objects of the types that the results define (BOUNDARY, DOMAIN …) are adjusted where they exist and passed over in
// silence where they do not. In place of the work at hand, those at the top level that the state does not mention go
// back to their defaults, and boundaries and subdomains become invisible. Any other block replaces top-level objects
// of its name but another type; a block named like an object of the results is passed over. Actions, other lines outside
// blocks, and FILE PROCESSING are not read. When that object was made for the load, and no block was entered, it goes
// again. Escapes are undone where a head says so (FileText).
//
// A state is one block of text to the command processor: all of it is loaded, or nothing happened. Linear in the
// file, plus what the changes touch.
class ORV_API ReadStateExecutor : public ActionExecutor {
 public:
  // The manager may be null, is not owned and outlives the executor; it is told the file type "qst" now and each file
  // read. Unless catching is off, errors of calculations are reported during the load, which goes on, as
  // SchedulerObject::setCatchExceptions has it. After a load with catching off they are not caught, however it was
  // before; that is deliberate.
  explicit ReadStateExecutor(FileChangeManager* files = nullptr, bool catchExceptionsOff = true);
  ~ReadStateExecutor() override;

  // Class "ReadStateExecutor", function "invoke" unless stated otherwise. Before anything is changed:
  //   internal::badParam for no words or another action's
  //   ksl::invalid "Syntax error: %s parameters should have the format: %s", "Invalid parameter in %s: '%s'."
  //   data::invalid "Invalid parameter value: '%s'." for a mode
  //   file::error "Non ASCII file: '%s'.", "File '%s' is already being processed.", and what the stream throws
  //   data::error, function "loadStateData", "Not enough END statements in KSL." (also for a saved state whose last line
  //     has no end: it was cut off), "Too many END statements in KSL."
  // then data::invalid "Results file referred to in the state was not found:…", and ksl::invalid "Cannot find object
  // %s" when FILE PROCESSING is lost on the way. Reported, not thrown: file::error "State file contains no data.", and
  // that a results file beside the state was taken for one that is not where it was.
  void invoke(const std::vector<std::string>& p_action) override;

 protected:
  // Called before the blocks of the file are entered, with its lines, joined and without comments, the line that names
  // the version of its writer (a comment, the second of a file that was saved; empty when there is none), and its name.
  // True when it changed the lines; these are then judged as those of the file were, so that what is wrong with their END
  // statements fails the load. Here it does nothing.
  virtual bool componentProcessing(std::vector<std::string>& lines, const std::string& versionLine,
                                   const std::string& fileName);
  // An argument that a derived executor understands; names are compared in lower case.
  void addValidParam(const std::string& name);

 private:
  struct Request {
    std::string fileName;
    std::string mode;
    bool loadData = false;
    bool recorded = false;  // STATE is there
  };
  // A block at the top level of the file.
  struct Block {
    std::size_t first;  // of the text: its header line up to its END line
    std::size_t last;
    bool hasActions;
    std::string type;
    std::string name;
  };
  struct File {
    std::string versionLine;
    std::string text;  // whole lines, without comments
    std::vector<Block> blocks;
  };
  using Names = std::unordered_set<std::string>;

  void load(const std::vector<std::string>& words);
  Request readRequest(const std::vector<std::string>& words) const;
  void readArgument(const std::string& argument, Request& request) const;
  static File readFile(Request& request);
  static std::vector<Block> findBlocks(std::string_view text);
  void processComponents(const Request& request, File& file);
  bool process(const Request& request, File& file);
  static void appendBlock(const File& file, const Block& block, std::string& text);
  static void loadResults(const Request& request, const File& file);
  static bool loadStateData(const Request& request, File& file, Names& loaded);  // takes the text
  static void resetToDefault(const Names& loaded);
  static bool isResDefinedObject(const std::string& type, const std::string& name);
  static bool exactObjectExists(const std::string& type, const std::string& name);
  static bool objectNameExists(const std::string& type, const std::string& name);
  static bool isKept(const Block& block, Names& loaded, std::set<std::string>& replaced);

  std::set<std::string> m_paramNames;
  FileChangeManager* m_files;  // not owned, may be null
  bool m_catchExceptionsOff;
};

}  // namespace orv
