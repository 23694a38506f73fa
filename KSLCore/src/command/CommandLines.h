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

#include "platform/ORVKSLAPI.h"
#include "command/KSLUpdateMode.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

// A text that was parsed ahead of its turn, because it has to be recorded first.
struct ParsedText {
  kslUpdateMode mode = kslUpdateDefault;
  KSLLines lines;
  bool isAsEntered = false;  // but for updates, and white space within lines, nothing was added to them
};

class CommandLines {
 public:
  // The mode is that of the text: the top of the mode stack.
  // The lines are empty, and have the memory that others took.
  explicit CommandLines(kslUpdateMode mode, KSLLines lines = {}) : m_mode(mode), m_lines(std::move(lines)) {}

  // Throws data::error, class "KSLInterface", function "preParseKSL", type 4: "Not enough END statements in
  // KSL." or "Too many END statements in KSL.", judged by the final count and in the default mode only.
  KSLLines parse(std::string_view text);
  // Throws the same.
  ParsedText parseAhead(std::string_view text);

  // Which lines of the text, counted from 1, the lines come from that parse() gives; an update that was put in has the
  // line that asks for it. REQUIRES: nothing was parsed with this object.
  std::vector<std::size_t> sourceLines(std::string_view text);

  // True when the line, its comment ignored, begins with ">".
  static bool isActionLine(std::string_view line);

 private:
  void begin(std::string_view text);
  // Appends the next whole line to the lines; false behind the last.
  bool readLine();
  // The next line of the text, without its end; false after the last.
  bool takeLine(std::string_view& line);
  // Appends the line with those that continue it, white space simplified.
  void joinContinuation(std::string_view first, std::string& out);
  // Ends the line that was appended: drops it when it is empty, and wraps it in updates when it is an action.
  void endLine();
  void endActionLine(KSLLines::Scanned scanned);
  void addUpdate();
  // Counts the blocks; adds an update where a top-level block closes.
  void countDepth(int lineType);
  void finish();
  void checkDepth() const;

  kslUpdateMode m_mode;
  std::string_view m_rest;
  bool m_atEnd = true;
  std::size_t m_taken = 0;  // lines of the text
  long m_depth = 0;
  KSLLines m_lines;
  bool m_changed = false;  // an action line was given the blank behind its ">"
};

}  // namespace orv
