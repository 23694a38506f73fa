// A session file as the commands that it holds.
#pragma once

#include "platform/ORVExport.h"
#include "command/KSLUpdateMode.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

// For programs that replay a session command by command; "> readsession" takes it as one text. An empty line ends a
// command. In parts of a file that an earlier version wrote, and in texts that no session wrote, an empty line within a
// block does not.
class ORV_API SessionFile {
 public:
  struct Command {
    std::vector<std::string> lines;  // whole, as they were entered
    std::size_t line = 0;            // number in the file, from 1, of the first that says something
    kslUpdateMode mode = kslUpdateDefault;
  };

  // Reads a file; a file of no session, too. Throws what ORVStream throws, and file::error "Non ASCII file: '%s'." as
  // "> readsession" does.
  static SessionFile read(const std::string& fileName);

  // Those that were written to their end.
  const std::vector<Command>& commands() const& { return m_commands; }
  std::vector<Command> commands() && { return std::move(m_commands); }
  // Without one line: somebody emptied the file, or it was never begun.
  bool empty() const { return m_wholeSize == 0 && m_commands.empty() && m_brokenLine == 0; }
  // A process that was killed, a disk that was full, or a copy that was cut off leaves a part of a line or a command at
  // the end of a session. It may say something else than was meant, so whoever replays it should ask first. Throws
  // file::error, class "SessionFile", function "requireWhole", "Session file '%s' is incomplete: line %d has no end."
  // and "Session file '%s' is incomplete: the command at line %d has no end.".
  void requireWhole() const;

  // How many bytes of a session file are whole commands; all of them in any other file. Throws as reading does.
  static std::uintmax_t wholeSize(const std::string& fileName);

 private:
  class Parser;
  explicit SessionFile(std::string fileName) : m_fileName(std::move(fileName)) {}

  std::string m_fileName;
  std::vector<Command> m_commands;
  std::size_t m_brokenLine = 0;  // 0 for none
  bool m_lineEndMissing = false;
  std::uintmax_t m_wholeSize = 0;
};

}  // namespace orv
