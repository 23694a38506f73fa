// Columns of text, for people.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Whether a standard stream (STDOUT_FILENO, STDERR_FILENO) is a terminal that takes colours: NO_COLOR is not set.
bool takesColour(int stream);
// The text in a style of the terminal ("1" is bold, "31" red) when `on`.
std::string styled(std::string_view text, const char* style, bool on);

// What stands for a text on a terminal: its characters, not its bytes.
std::size_t widthOf(std::string_view text);
// Lines of at most `width` columns, broken at blanks, each with `indent` blanks before it and a line end behind it. A
// word that is longer stands alone.
std::string wrapped(std::string_view text, std::size_t indent, std::size_t width = 100);

// Rows whose cells stand below each other, two blanks between them; nothing behind the last one.
class TextTable {
 public:
  explicit TextTable(std::vector<std::string> heads = {}) : m_heads(std::move(heads)) {}

  void add(std::vector<std::string> cells) { m_rows.push_back(std::move(cells)); }
  bool empty() const { return m_rows.empty(); }
  // With the heads, in bold when `coloured`, as the first line when there are some. Each line with `indent` blanks
  // before it.
  std::string text(std::size_t indent = 0, bool coloured = false) const;

 private:
  std::vector<std::string> m_heads;
  std::vector<std::vector<std::string>> m_rows;
};
