#include "CommandInput.h"

#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"
#include "PrintedText.h"

#include <utility>

using orv::MiniKSLParser;
namespace StringUtilities = orv::StringUtilities;

namespace {

constexpr std::string_view replaceWord = "&replace";
constexpr std::size_t titleLength = 60;

}  // namespace

// Lines are joined as StringUtilities::removeContinuation describes.
bool CommandInput::add(const std::string& line)
{
  m_lines.push_back(line);
  std::string text = m_begun;
  if (m_continues)
    StringUtilities::appendSimplified(text, line);
  else
    text = line;
  m_continues = !text.empty() && text.back() == '\\';
  if (m_continues) {
    text.pop_back();
    m_begun = std::move(text);
    return false;
  }
  m_begun.clear();
  readLine(text);
  return m_blocks.empty() && !m_lines.empty();
}

void CommandInput::readLine(std::string_view line)
{
  const MiniKSLParser::Line scanned = MiniKSLParser::scan(line);
  if (scanned.type == MiniKSLParser::emptyLine && m_blocks.empty())
    m_lines.clear();
  else if (scanned.type == MiniKSLParser::objectLine)
    openBlock(scanned.text);
  else if (scanned.type == MiniKSLParser::endLine && !m_blocks.empty())
    m_blocks.pop_back();
  else if (scanned.type == MiniKSLParser::parameterLine && !m_blocks.empty()) {
    auto [name, value] = StringUtilities::splitNameValue(scanned.text);
    m_blocks.back().values[std::move(name)] = std::move(value);
  }
}

void CommandInput::openBlock(std::string_view header)
{
  if (header.substr(0, replaceWord.size()) == replaceWord)
    header.remove_prefix(replaceWord.size());
  auto [type, name] = StringUtilities::splitObjectTypeAndName(header);
  m_blocks.push_back({std::move(type), std::move(name), {}});
}

Lines CommandInput::take()
{
  m_blocks.clear();
  m_begun.clear();
  m_continues = false;
  return std::exchange(m_lines, {});
}

std::string CommandInput::prompt() const
{
  std::string text = "ksl";
  if (!m_blocks.empty())
    text += ":" + StringUtilities::toString(m_blocks.size());
  return text + (m_continues ? "\\> " : "> ");
}

namespace {

std::string shortTitle(const Lines& command)
{
  std::string title;
  for (const std::string& line : command) {
    title = StringUtilities::simplifyWhitespace(StringUtilities::withoutComment(line));
    if (!title.empty())
      break;
  }
  if (title.size() <= titleLength)
    return title;
  std::size_t length = titleLength;
  while (length > 0 && (static_cast<unsigned char>(title[length]) & 0xC0) == 0x80)
    --length;  // no half of a character
  return title.substr(0, length) + "...";
}

}  // namespace

std::string commandTitle(const Lines& command)
{
  return printed(shortTitle(command));
}
