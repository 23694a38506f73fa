#include "JsonText.h"

namespace {

// The bytes of the character that begins there; 0 when it is none.
std::size_t characterAt(std::string_view text, std::size_t at)
{
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char first = byte(at);
  const std::size_t size = first < 0x80   ? 1
                           : first < 0xC2 ? 0
                           : first < 0xE0 ? 2
                           : first < 0xF0 ? 3
                           : first < 0xF5 ? 4
                                          : 0;
  if (size == 0 || at + size > text.size())
    return 0;
  for (std::size_t i = 1; i < size; ++i)
    if ((byte(at + i) & 0xC0) != 0x80)
      return 0;
  const bool overlong = (first == 0xE0 && byte(at + 1) < 0xA0) || (first == 0xF0 && byte(at + 1) < 0x90);
  const bool noCharacter = (first == 0xED && byte(at + 1) > 0x9F) || (first == 0xF4 && byte(at + 1) > 0x8F);
  return overlong || noCharacter ? 0 : size;
}

void appendControl(std::string& out, char c)
{
  constexpr const char* digits = "0123456789abcdef";
  if (c == '\n')
    out += "\\n";
  else
    out.append("\\u00").append(1, digits[(c >> 4) & 0xF]).append(1, digits[c & 0xF]);
}

std::string quoted(std::string_view text)
{
  std::string out = "\"";
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t size = characterAt(text, i);
    const char c = text[i];
    if (size == 0)
      out += "\\ufffd";
    else if (c == '"' || c == '\\')
      out.append(1, '\\') += c;
    else if (static_cast<unsigned char>(c) < 0x20)
      appendControl(out, c);
    else
      out += text.substr(i, size);
    i += size == 0 ? 1 : size;
  }
  return out + '"';
}

template <class Items, class TextOf>
std::string listOf(const Items& items, TextOf textOf)
{
  std::string out;
  for (const auto& item : items)
    out.append(out.empty() ? "" : ",").append(textOf(item));
  return '[' + out + ']';
}

}  // namespace

void JsonText::add(std::string_view name, std::string_view value)
{
  addRaw(name, quoted(value));
}

void JsonText::add(std::string_view name, std::size_t value)
{
  addRaw(name, std::to_string(value));
}

void JsonText::add(std::string_view name, const std::vector<std::string>& values)
{
  addRaw(name, listOf(values, quoted));
}

void JsonText::add(std::string_view name, const std::vector<JsonText>& values)
{
  addRaw(name, listOf(values, [](const JsonText& value) { return value.text(); }));
}

void JsonText::addRaw(std::string_view name, std::string_view value)
{
  m_members.append(m_members.empty() ? "" : ",").append(quoted(name)).append(":").append(value);
}
