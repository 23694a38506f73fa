// What the readers of KSL agree on, below the line types of MiniKSLParser: where a line ends, whether the next one
// belongs to it, and what stands in a header or a parameter line. The text store and the syntax tree both read with
// these functions, so that they cannot part company. Nothing here throws, and but for joining nothing allocates.
#pragma once

#include <cstddef>
#include <string_view>

namespace orv::lexical {

// A line of a text, without its end (LF, or CR LF), and where the next one begins.
struct TextLine {
  std::string_view text;
  std::size_t next;
};
// The line that begins at `offset`. REQUIRES: offset <= text.size().
TextLine lineAt(std::string_view text, std::size_t offset) noexcept;

// True when the line goes on in the next one. The first line of a statement is tested as it stands, the ones that
// continue it when white space is cut off their ends.
inline bool continues(std::string_view line) noexcept
{
  return !line.empty() && line.back() == '\\';
}

// A type or name as it counts: trimmed, outside and inside of quotes round it.
std::string_view bareName(std::string_view text) noexcept;

// Takes "&replace" and the white space behind it off a header; false when it does not begin so.
bool takeReplaceWord(std::string_view& statement) noexcept;

struct Header {
  bool replace;
  std::string_view type;  // empty: a fault
  std::string_view name;  // empty: named by its type
};
// REQUIRES: the statement is a header (MiniKSLParser::objectLine), without comment and trimmed.
Header readHeader(std::string_view statement) noexcept;

struct Parameter {
  std::string_view name;  // empty: a fault
  std::string_view value;
};
// REQUIRES: a parameter line, without comment and trimmed; `equals` is the place of its "=".
Parameter readParameter(std::string_view statement, std::size_t equals) noexcept;

// The first character that a type or name must not hold, or 0: a "/" would split the path, and a "," the list of paths
// in an action line; RULES are never addressed by one.
char forbiddenCharacter(std::string_view name, bool inRules) noexcept;

}  // namespace orv::lexical
