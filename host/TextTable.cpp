#include "TextTable.h"

#include <algorithm>
#include <cstdlib>
#include <unistd.h>

bool takesColour(int stream)
{
  const char* refusal = std::getenv("NO_COLOR");
  return !(refusal && *refusal) && isatty(stream);
}

std::string styled(std::string_view text, const char* style, bool on)
{
  if (!on)
    return std::string(text);
  return "\x1b[" + std::string(style) + "m" + std::string(text) + "\x1b[0m";
}

std::size_t widthOf(std::string_view text)
{
  return static_cast<std::size_t>(std::count_if(
      text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string wrapped(std::string_view text, std::size_t indent, std::size_t width)
{
  std::string out;
  std::size_t column = 0;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (word.empty())
      continue;
    if (column > 0 && column + 1 + widthOf(word) > width) {
      out += '\n';
      column = 0;
    }
    out.append(column == 0 ? indent : 1, ' ').append(word);
    column += (column == 0 ? indent : 1) + widthOf(word);
  }
  return column == 0 ? out : out + '\n';
}

std::string TextTable::text(std::size_t indent, bool coloured) const
{
  std::vector<std::size_t> widths;
  const auto measure = [&widths](const std::vector<std::string>& row) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i)
      widths[i] = std::max(widths[i], widthOf(row[i]));
  };
  measure(m_heads);
  for (const std::vector<std::string>& row : m_rows)
    measure(row);
  std::string out;
  const auto append = [&](const std::vector<std::string>& row, const char* style) {
    std::string line(indent, ' ');
    for (std::size_t i = 0; i < row.size(); ++i)
      line.append(row[i]).append(widths[i] - widthOf(row[i]) + 2, ' ');
    line.erase(line.find_last_not_of(' ') + 1);
    out.append(styled(line, style, style && coloured)) += '\n';
  };
  if (!m_heads.empty())
    append(m_heads, "1");
  for (const std::vector<std::string>& row : m_rows)
    append(row, nullptr);
  return out;
}
