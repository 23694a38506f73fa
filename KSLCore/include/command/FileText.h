// The text of session and state files: their heads, and how plain ASCII carries any character.
#pragma once

#include "platform/ORVExport.h"

#include <string>
#include <string_view>
#include <vector>

namespace orv {

// Files are ASCII; names and values are not. What is not ASCII is written as the number of the character, "{U+00E9}",
// with four to six digits of 0-9 and A-F; a byte that is no part of UTF-8, and the byte 0, as "{B+E9}". Text that looks
// as if it were one of these, so each "{U+" and "{B+", begins with "{U+007B}" in place of its "{". The second line of a
// head says that the part of the file below it is written so:
//
//   # State file created: 2026-03-01 14:05:09
//   # libORVKSLCore 1.0.0, text beyond ASCII as {U+HHHH}
//
// Readers undo it in whole lines, continued ones joined, in the parts whose head says so; nowhere else, for "{U+00E9}"
// may be a text like any other. A comment of the user's that looks like the first line of a head, or like the end of a
// session, has its "#" followed by "{U+0020}" in a file: no head is taken for another.
namespace FileText {

inline constexpr std::string_view stateHead = "# State file created: ";
inline constexpr std::string_view sessionHead = "# Session file started: ";
inline constexpr std::string_view sessionFoot = "# Session file stopped: ";

// The first line begins so and ends with the time; then the version, and an empty line.
ORV_API std::string head(std::string_view firstLine);
// The time of now, as heads and feet show it.
ORV_API std::string timeText();

// True for text that a file can hold as it is. Linear, allocates nothing.
ORV_API bool isPlain(std::string_view text) noexcept;
ORV_API std::string escaped(std::string_view text);
// The same for a whole comment line, with what looks like a head or a foot made harmless.
ORV_API std::string escapedComment(std::string_view line);
ORV_API bool looksLikeHead(std::string_view line) noexcept;  // or like a foot

// Joins the lines of one file after the other and undoes what their heads say.
class ORV_API Reader {
 public:
  // The line whole, as it was before it was written; lines come in the order of the file.
  void read(std::string& line);
  // The part of the file that the last line stands in has a head, and it speaks of escapes.
  bool isEscaped() const { return m_escaped; }

 private:
  bool m_escaped = false;
  bool m_headBegan = false;  // by the line before
};

// The lines of a file as text to be processed: where a head asks for it, continued lines are joined and escapes undone.
// There are as many lines as before, each at its place: what was joined leaves empty lines.
ORV_API void undo(std::vector<std::string>& lines);
// False for a text in which undo() changes nothing, as nobody speaks of escapes in it. Linear.
ORV_API bool mayBeEscaped(std::string_view text) noexcept;

}  // namespace FileText

}  // namespace orv
