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
#include <vector>

namespace orv {

// A text that was parsed ahead of its turn, for somebody who has to look at its lines first.
struct ParsedText {
  struct Mark {
    std::size_t size;  // of the line
    int type;          // MiniKSLParser::LineType, or putIn for an update that the text does not hold
  };
  static constexpr int putIn = -1;

  kslUpdateMode mode = kslUpdateDefault;
  KSLLines lines;
  std::vector<Mark> marks;  // of each line
  // The lines that the text holds are those of the text: simplified, but no action line was given a blank behind its ">".
  bool asEntered = true;
};

class CommandLines {
 public:
  // The mode is that of the text: the top of the mode stack.
  explicit CommandLines(kslUpdateMode mode) : m_mode(mode) {}

  // Throws data::error, class "KSLInterface", function "preParseKSL", type 4: "Not enough END statements in
  // KSL." or "Too many END statements in KSL.", judged by the final count and in the default mode only.
  KSLLines parse(std::string_view text);
  // The same, with what each line is.
  ParsedText parseAhead(std::string_view text);

  // Which line of the text, counted from 1, the line with this index comes from that parse() gives; of an update that
  // was put in, the line that asks for it. 0 when there is none. REQUIRES: nothing was parsed with this object.
  std::size_t sourceLine(std::string_view text, std::size_t index);

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
  void endActionLine();
  void addUpdate();
  void mark(int type, std::size_t size)
  {
    if (m_ahead)
      m_ahead->marks.push_back({size, type});
  }
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
  ParsedText* m_ahead = nullptr;  // who asks for marks
};

}  // namespace orv
