// A command as a session file shows it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orv {

// Whole lines, indented by two blanks a level of open blocks and wrapped at 80 columns, without those that control
// sessions. Most lines of most commands are short and stand as they are to be written: those are only copied, so that
// recording costs little beside running.
class SessionBlock {
 public:
  // Whether a line is session control, or what comes by itself: a replay must not do it again.
  static bool isLeftOut(std::string_view line);

  // The lines of the text, each with its end, and an empty line.
  std::string write(std::string_view text);

 private:
  bool takeLine(std::string_view& line);
  std::string joined(std::string_view first);
  void writeLine(std::string_view line);

  std::string_view m_rest;
  std::size_t m_depth = 0;
  std::string m_out;
};

}  // namespace orv
