// Turns a command text into the lines that the text store reads.
//
// For example, in the default mode at the outermost level:
//
//   CUT: a          CUT: a
//   Offset = 1 \    Offset = 1 + 2
//     + 2           END
//   END             > update              the top-level block has closed
//   >delete /CUT:a  > update              each action sees what stands before it …
//                   > delete /CUT:a
//                   > update              … and what it changes is applied
#pragma once

#include "command/KSLUpdateMode.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

class CommandLines {
 public:
  // The mode is that of the text: the top of the mode stack.
  explicit CommandLines(kslUpdateMode mode) : m_mode(mode) {}

  // Throws data::error, class "KSLInterface", function "preParseKSL", type 4: "Not enough END statements in
  // KSL." or "Too many END statements in KSL.", judged by the final count and in the default mode only.
  std::vector<std::string> parse(std::string_view text);

  // True when the line, its comment ignored, begins with ">".
  static bool isActionLine(std::string_view line);

 private:
  // The next line of the text, without its end; false after the last.
  bool takeLine(std::string_view& line);
  // The line with those that continue it, white space simplified.
  std::string joinContinuation(std::string_view first);
  void addLine(std::string line);
  void addActionLine(std::string line);
  // Counts the blocks; adds an update where a top-level block closes.
  void countDepth(int lineType);
  void finish();
  void checkDepth() const;

  kslUpdateMode m_mode;
  std::string_view m_rest;
  bool m_atEnd = true;
  long m_depth = 0;
  std::vector<std::string> m_lines;
};

}  // namespace orv
