#include "command/FileText.h"

#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>

namespace orv::FileText {

namespace {

constexpr std::string_view escapeNote = ", text beyond ASCII as {U+HHHH}";
constexpr std::string_view characterMark = "{U+";
constexpr std::string_view byteMark = "{B+";

bool looksEscaped(std::string_view text) noexcept
{
  return text.starts_with(characterMark) || text.starts_with(byteMark);
}

bool isContinuation(char c) noexcept
{
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// A character of UTF-8 at the beginning of a text: how many bytes it has, 0 for what is none.
struct Character {
  std::size_t size = 0;
  unsigned long number = 0;
};

bool isCharacter(unsigned long number)
{
  return number <= 0x10FFFF && (number < 0xD800 || number > 0xDFFF);
}

Character firstCharacter(std::string_view text)
{
  struct Kind {
    unsigned mask, mark;
    std::size_t size;
    unsigned long least;  // a smaller number has a shorter form, and only that is right
  };
  constexpr std::array<Kind, 3> kinds{
      {{0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}}};
  const auto first = static_cast<unsigned char>(text.front());
  for (const Kind& kind : kinds) {
    if ((first & kind.mask) != kind.mark || text.size() < kind.size)
      continue;
    unsigned long number = first & ~kind.mask & 0xFF;
    for (std::size_t i = 1; i < kind.size; ++i) {
      if (!isContinuation(text[i]))
        return {};
      number = number << 6 | (static_cast<unsigned char>(text[i]) & 0x3F);
    }
    return number >= kind.least && isCharacter(number) ? Character{kind.size, number} : Character{};
  }
  return {};
}

void appendEscape(std::string& out, std::string_view mark, unsigned long number, std::size_t digits)
{
  constexpr const char* digit = "0123456789ABCDEF";
  std::string hex;
  for (; number != 0 || hex.size() < digits; number >>= 4)
    hex += digit[number & 0xF];
  out += mark;
  out.append(hex.rbegin(), hex.rend()) += '}';
}

// Appends what is written at the beginning of the text; the number of bytes that it takes there.
std::size_t appendEscaped(std::string& out, std::string_view text)
{
  const char c = text.front();
  if (c == '{' && looksEscaped(text)) {
    appendEscape(out, characterMark, '{', 4);
    return 1;
  }
  if (c > '\0' && static_cast<unsigned char>(c) < 0x80) {
    out += c;
    return 1;
  }
  const Character character = firstCharacter(text);
  if (character.size == 0) {
    appendEscape(out, byteMark, static_cast<unsigned char>(c), 2);
    return 1;
  }
  appendEscape(out, characterMark, character.number, 4);
  return character.size;
}

void appendCharacter(std::string& out, unsigned long number)
{
  const auto add = [&](unsigned long bits) { out += static_cast<char>(bits); };
  const auto addRest = [&](unsigned shift) { add(0x80 | (number >> shift & 0x3F)); };
  if (number < 0x80) {
    add(number);
  } else if (number < 0x800) {
    add(0xC0 | number >> 6);
    addRest(0);
  } else if (number < 0x10000) {
    add(0xE0 | number >> 12);
    addRest(6);
    addRest(0);
  } else {
    add(0xF0 | number >> 18);
    addRest(12);
    addRest(6);
    addRest(0);
  }
}

// The same the other way round. What no writer makes is a text like any other.
std::size_t appendUnescaped(std::string& out, std::string_view text)
{
  const std::size_t end = looksEscaped(text) ? text.substr(0, 10).find('}') : std::string_view::npos;
  const std::string_view digits =
      end == std::string_view::npos ? std::string_view() : text.substr(3, end - 3);
  const bool isByte = text.starts_with(byteMark);
  unsigned long number = 0;
  const auto [last, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
  const bool isHex =
      !digits.empty() && failure == std::errc() && last == digits.data() + digits.size()
      && std::none_of(digits.begin(), digits.end(), [](char c) { return c >= 'a' && c <= 'f'; });
  if (isHex && isByte && digits.size() == 2 && (number == 0 || number >= 0x80)) {
    out += static_cast<char>(number);
    return end + 1;
  }
  if (isHex && !isByte && digits.size() >= 4 && number >= ' ' && isCharacter(number)) {
    appendCharacter(out, number);
    return end + 1;
  }
  out += text.front();
  return 1;
}

void unescape(std::string& line)
{
  const std::size_t first = std::min(line.find(characterMark), line.find(byteMark));
  if (first == std::string::npos)
    return;
  std::string out = line.substr(0, first);
  for (std::string_view rest = std::string_view(line).substr(first); !rest.empty();)
    rest.remove_prefix(appendUnescaped(out, rest));
  line = std::move(out);
}

// ASCII without a brace or a zero, as nearly all texts are: eight characters at a time. May be false for such a text.
bool isCommonText(std::string_view text) noexcept
{
  constexpr std::uint64_t ones = 0x0101010101010101;
  constexpr std::uint64_t braces = ones * '{';
  constexpr std::uint64_t highs = ones * 0x80;
  const auto hasOther = [](std::uint64_t word) {
    return ((word | (word - ones) | ((word ^ braces) - ones)) & highs) != 0;
  };
  std::uint64_t word = ones;
  if (text.size() < sizeof(word)) {
    text.copy(reinterpret_cast<char*>(&word), text.size());
    return !hasOther(word);
  }
  for (std::size_t at = 0; at < text.size(); at += sizeof(word)) {
    std::memcpy(&word, text.data() + std::min(at, text.size() - sizeof(word)), sizeof(word));
    if (hasOther(word))
      return false;
  }
  return true;
}

bool isHead(std::string_view line) noexcept
{
  return line.starts_with(sessionHead) || line.starts_with(stateHead);
}

}  // namespace

std::string timeText()
{
  return cTime().text();
}

std::string head(std::string_view firstLine)
{
  return std::string(firstLine) + timeText() + "\n# libORVKSLCore " ORV_VERSION + std::string(escapeNote)
         + "\n\n";
}

bool isPlain(std::string_view text) noexcept
{
  if (isCommonText(text))
    return true;
  if (!ORVFile::isAscii(text))
    return false;
  for (std::size_t at = text.find('{'); at != std::string_view::npos; at = text.find('{', at + 1))
    if (looksEscaped(text.substr(at)))
      return false;
  return true;
}

std::string escaped(std::string_view text)
{
  std::string out;
  out.reserve(text.size() + text.size() / 4);
  while (!text.empty())
    text.remove_prefix(appendEscaped(out, text));
  return out;
}

bool looksLikeHead(std::string_view line) noexcept
{
  return isHead(line) || line.starts_with(sessionFoot);
}

std::string escapedComment(std::string_view line)
{
  if (!looksLikeHead(line))
    return escaped(line);
  std::string out = "#";
  appendEscape(out, characterMark, ' ', 4);
  return out + escaped(line.substr(2));
}

void Reader::read(std::string& line)
{
  if (m_headBegan)
    m_escaped = line.ends_with(escapeNote);
  m_headBegan = isHead(line);
  if (m_escaped)
    unescape(line);
}

bool mayBeEscaped(std::string_view text) noexcept
{
  // What the note ends with begins with a character that others hardly ever write.
  return text.find(escapeNote.substr(escapeNote.find('{'))) != std::string_view::npos
         && text.find(escapeNote) != std::string_view::npos;
}

void undo(std::vector<std::string>& lines)
{
  Reader reader;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::size_t first = i;
    if (reader.isEscaped()) {
      std::vector<std::string> pieces{lines[i]};
      for (std::string_view piece = lines[i]; piece.ends_with('\\') && i + 1 < lines.size();) {
        pieces.push_back(std::move(lines[++i]));
        lines[i].clear();
        piece = StringUtilities::trimmed(pieces.back());
      }
      if (pieces.size() > 1)
        lines[first] = StringUtilities::removeContinuation(std::move(pieces)).front();
    }
    reader.read(lines[first]);
    if (i > first && lines[first].ends_with('\\'))
      lines[first] += ' ';  // the line is whole
  }
}

}  // namespace orv::FileText
