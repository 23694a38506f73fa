#include "PrintedText.h"

#include "platform/ORVUtilities.h"

#include <algorithm>

namespace {

constexpr std::size_t longestLine = 1000;  // of a line that is printed whole

bool isCut(char c)  // within a character of UTF-8
{
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// Those of one byte, and those of two that UTF-8 has for the other half of the control characters.
std::size_t controlSize(std::string_view text)
{
  const auto c = static_cast<unsigned char>(text.front());
  if ((c < 0x20 && c != '\n' && c != '\t') || c == 0x7F)
    return 1;
  const bool second = c == 0xC2 && text.size() > 1 && static_cast<unsigned char>(text[1]) < 0xA0;
  return second && isCut(text[1]) ? 2 : 0;
}

void appendEscaped(std::string& out, std::string_view text)
{
  constexpr const char* digits = "0123456789abcdef";
  while (!text.empty()) {
    const std::size_t size = controlSize(text);
    for (std::size_t i = 0; i < size; ++i) {
      const auto c = static_cast<unsigned char>(text[i]);
      out.append("\\x") += digits[c >> 4];
      out += digits[c & 0xF];
    }
    if (size == 0)
      out += text.front();
    text.remove_prefix(std::max<std::size_t>(size, 1));
  }
}

void appendLine(std::string& out, std::string_view line)
{
  if (line.size() <= longestLine)
    return appendEscaped(out, line);
  std::size_t head = longestLine / 2;
  while (head > 0 && isCut(line[head]))
    --head;
  std::size_t tail = line.size() - longestLine / 4;
  while (tail < line.size() && isCut(line[tail]))
    ++tail;
  appendEscaped(out, line.substr(0, head));
  out += " [... " + orv::StringUtilities::toString(tail - head) + " bytes ...] ";
  appendEscaped(out, line.substr(tail));
}

}  // namespace

std::string printed(std::string_view text)
{
  std::string out;
  for (;;) {
    const std::size_t end = text.find('\n');
    appendLine(out, text.substr(0, end));
    if (end == std::string_view::npos)
      return out;
    out += '\n';
    text.remove_prefix(end + 1);
  }
}
