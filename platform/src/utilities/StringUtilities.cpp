#include "platform/ORVUtilities.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>

namespace orv::StringUtilities {

std::string_view trimmed(std::string_view text) noexcept
{
  // Nearly always there is nothing but blanks.
  std::size_t first = 0;
  std::size_t last = text.size();
  while (first < last && text[first] == ' ')
    ++first;
  while (last > first && text[last - 1] == ' ')
    --last;
  if (first < last && !isSpace(text[first]) && !isSpace(text[last - 1]))
    return {text.data() + first, last - first};
  while (first < last && isSpace(text[first]))
    ++first;
  while (last > first && isSpace(text[last - 1]))
    --last;
  return text.substr(first, last - first);
}

std::string_view withoutComment(std::string_view line, char comment) noexcept
{
  if (line.find(comment) == std::string_view::npos)
    return line;
  bool mayClose = true;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == comment)
      return line.substr(0, i);
    if (line[i] != '"' || !mayClose)
      continue;
    const std::size_t close = line.find('"', i + 1);
    if (close == std::string_view::npos)
      mayClose = false;  // protects nothing
    else
      i = close;
  }
  return line;
}

std::string removeComment(std::string_view line, char comment)
{
  return std::string(withoutComment(line, comment));
}

std::string removeWhitespace(std::string_view text)
{
  return std::string(trimmed(text));
}

std::string removeAllWhitespace(std::string_view text)
{
  std::string out;
  out.reserve(text.size());
  for (const char c : text)
    if (!isSpace(c))
      out += c;
  return out;
}

namespace {

// The high bit of each byte of the result tells whether that byte of the word is below a limit (1 to 128).
constexpr std::uint64_t bytesBelow(std::uint64_t word, std::uint64_t limit) noexcept
{
  constexpr std::uint64_t each = 0x0101010101010101;
  constexpr std::uint64_t high = 0x80 * each;
  return ~(((word & ~high) + (0x80 - limit) * each) | word) & high;
}

std::uint64_t wordAt(std::string_view text, std::size_t at) noexcept
{
  std::uint64_t word = 0;
  std::memcpy(&word, text.data() + at, sizeof word);
  return word;
}

// True for trimmed text whose only white space is single blanks: nearly every line that a program wrote. Eight
// characters at a time, beside those before each; a control character that is no white space only means that the
// text is looked at one by one.
bool isSimple(std::string_view text) noexcept
{
  constexpr std::uint64_t blanks = 0x2020202020202020;
  constexpr std::size_t step = sizeof blanks;
  if (text.size() <= step) {
    for (std::size_t i = 1; i < text.size(); ++i)
      if (isSpace(text[i]) && (text[i] != ' ' || text[i - 1] == ' '))
        return false;
    return true;
  }
  const std::size_t last = text.size() - step;
  for (std::size_t i = 1;; i = std::min(i + step, last)) {
    const std::uint64_t word = wordAt(text, i);
    const std::uint64_t pairs =
        (word ^ blanks) | (wordAt(text, i - 1) ^ blanks);  // 0 for the second of two blanks
    if ((bytesBelow(word, 0x20) | bytesBelow(pairs, 1)) != 0)
      return false;
    if (i == last)
      return true;
  }
}

}  // namespace

void appendSimplified(std::string& out, std::string_view text)
{
  text = trimmed(text);
  if (isSimple(text)) {
    out += text;
    return;
  }
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t word = at;
    while (at < text.size() && !isSpace(text[at]))
      ++at;
    out += text.substr(word, at - word);
    if (at < text.size())
      out += ' ';
    while (at < text.size() && isSpace(text[at]))
      ++at;
  }
}

std::string simplifyWhitespace(std::string_view text)
{
  std::string out;
  appendSimplified(out, text);
  return out;
}

std::string toLower(std::string_view text)
{
  std::string out(text);
  for (char& c : out)
    if (c >= 'A' && c <= 'Z')
      c = static_cast<char>(c - 'A' + 'a');
  return out;
}

std::string_view unquoted(std::string_view text) noexcept
{
  if (text.size() < 2 || text.front() != '"' || text.find('"', 1) != text.size() - 1)
    return text;
  return text.substr(1, text.size() - 2);
}

std::string writtenName(std::string_view name)
{
  const bool quote = name.find('#') != std::string_view::npos && name.find('"') == std::string_view::npos;
  return quote ? '"' + std::string(name) + '"' : std::string(name);
}

namespace {

bool isSimplePath(std::string_view path) noexcept
{
  std::size_t start = 0;  // of the component under way
  for (std::size_t i = 0; i <= path.size(); ++i) {
    if (i < path.size() && path[i] != '/')
      continue;
    const std::size_t length = i - start;
    const bool leadingSlash = i == 0 && path.size() > 1;
    if ((length == 0 && !leadingSlash) || (length == 1 && path[start] == '.'))
      return false;
    start = i + 1;
  }
  return true;
}

}  // namespace

std::string simplifyPath(std::string_view path)
{
  if (isSimplePath(path))
    return std::string(path);
  std::string out;
  if (!path.empty() && path.front() == '/')
    out += '/';
  std::size_t start = 0;
  while (start < path.size()) {
    const std::size_t end = std::min(path.find('/', start), path.size());
    const std::string_view component = path.substr(start, end - start);
    start = end + 1;
    if (component.empty() || component == ".")
      continue;
    if (!out.empty() && out.back() != '/')
      out += '/';
    out += component;
  }
  return out;
}

bool isTrue(std::string_view text, bool& ok) noexcept
{
  const auto same = [](std::string_view a, std::string_view lower) {
    if (a.size() != lower.size())
      return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
      const char c = a[i] >= 'A' && a[i] <= 'Z' ? static_cast<char>(a[i] - 'A' + 'a') : a[i];
      if (c != lower[i])
        return false;
    }
    return true;
  };
  text = trimmed(text);
  const bool yes = same(text, "true") || same(text, "on") || same(text, "yes") || same(text, "1");
  ok = yes || same(text, "false") || same(text, "off") || same(text, "no") || same(text, "0");
  return yes;
}

namespace {

template <class Number>
std::string shortest(Number value)
{
  char room[32];  // the longest double has 24 characters, the longest integer 20
  const auto [end, failure] = std::to_chars(room, room + sizeof room, value);
  return std::string(room, failure == std::errc() ? end : room);
}

}  // namespace

std::string toString(double value)
{
  return shortest(value);
}

std::string toString(long long value)
{
  return shortest(value);
}

std::string toString(unsigned long long value)
{
  return shortest(value);
}

}  // namespace orv::StringUtilities
