// A command as a session file shows it.
#pragma once

#include "platform/ORVKSLAPI.h"
#include "command/KSLUpdateMode.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace orv {

// Whole lines, indented by two blanks a level of open blocks and wrapped at 80 columns, without empty ones and those that
// control sessions, and an empty line behind them. What is not ASCII is escaped (FileText).
//
// A command is written as it was understood, so that it means the same when others follow it, and in another update
// mode: surplus ENDs are left out, blocks left open are closed before a last "> update". Only where ENDs are counted and
// do not come out even, lines stay as they are, to be refused again. One with "> update noaction", typed where
// each block takes effect by itself, has the updates of its blocks written. In mode no-action the last line is "> update
// noaction".
//
// Most lines of most commands are short and stand as they are to be written once they are parsed: the block of a text that
// is parsed anyway is made of the parsed lines, which costs little beside running it.
class SessionBlock {
 public:
  explicit SessionBlock(kslUpdateMode mode) : m_mode(mode) {}

  // Whether a line is session control, or what comes by itself: a replay must not do it again.
  static bool isLeftOut(std::string_view line);

  // The block of a text; its lines end in LF or CR LF.
  std::string write(std::string_view text);

  // The same of a text of the usual kind, from the lines that CommandLines made of it in this mode, none of them changed.
  // Where it gives nothing, the text is to be written.
  static bool isUsual(std::string_view text);
  std::string write(const KSLLines& lines, std::string room = {});

 private:
  class ShortLines;
  void writeLines(std::string_view text);
  void beginBlock(int lineType);
  bool endBlock();
  bool takeLine(std::string_view& line);
  std::string joined(std::string_view first);
  void writeLine(std::string_view line);
  void writeText(std::string_view text);
  void closeBlocks();

  kslUpdateMode m_mode;
  std::string_view m_rest;
  std::size_t m_depth = 0;
  long m_count = 0;          // headers less ENDs
  bool m_asEntered = false;  // surplus ENDs and all
  bool m_updates = false;    // those that follow top-level blocks are written
  bool m_plain = true;       // nothing needs escapes
  std::size_t m_last = 0;    // where the last line begins
  std::string m_out;
};

}  // namespace orv
