// Lines on their way to be a command.
#pragma once

#include "Texts.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

// Collects lines until they are a command: an outermost block with its END, or one line outside blocks. It knows
// what is open, for prompts and completion; what is wrong is the library's to say.
class CommandInput {
 public:
  struct Block {
    std::string type;
    std::string name;                           // that of a singleton is its type
    std::map<std::string, std::string> values;  // set so far
  };

  // True when the lines are a command now: take it. Empty lines and comments between commands are dropped.
  bool add(const std::string& line);
  Lines take();
  void clear() { take(); }
  // Nothing was entered of a command yet.
  bool empty() const { return m_lines.empty(); }

  // The innermost last.
  const std::vector<Block>& blocks() const { return m_blocks; }
  // The next line continues one, which begins so.
  bool isContinued() const { return m_continues; }
  const std::string& begun() const { return m_begun; }
  // "ksl> "; the number of open blocks behind a colon; a backslash where a line is to be continued.
  std::string prompt() const;

 private:
  void readLine(std::string_view line);
  void openBlock(std::string_view header);

  Lines m_lines;
  std::vector<Block> m_blocks;
  std::string m_begun;
  bool m_continues = false;
};

// What people call a command: its first line that says something, cut where it gets long.
std::string commandTitle(const Lines& command);
