#include "actions/SessionBlock.h"

#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"
#include "command/ActionExecutor.h"

#include <array>
#include <vector>

namespace orv {

namespace {

constexpr std::size_t lineWidth = 80;

// True for a text that wrapping would leave as it is, but for its length.
bool isPlain(std::string_view text)
{
  for (std::size_t i = 0; i < text.size(); ++i)
    if (text[i] <= ' ' && StringUtilities::isSpace(text[i]) && (text[i] != ' ' || text[i + 1] == ' '))
      return false;
  return text.back() != '\\';
}

}  // namespace

bool SessionBlock::isLeftOut(std::string_view line)
{
  const std::string key = StringUtilities::simplifyWhitespace(line);
  if (!key.starts_with('>'))
    return false;
  constexpr std::array prefixes{"> session ", ">session ", "> autolegend"};
  for (const char* prefix : prefixes)
    if (key.starts_with(prefix))
      return true;
  const auto words = ActionExecutor::splitActionLine(StringUtilities::removeComment(key).substr(1));
  return !words.empty() && (words.front() == "session" || words.front() == "autolegend");
}

std::string SessionBlock::write(std::string_view text)
{
  m_rest = text;
  m_depth = 0;
  m_out.clear();
  m_out.reserve(text.size() + text.size() / 2);
  std::string_view line;
  while (takeLine(line)) {
    if (line.ends_with('\\'))
      writeLine(joined(line));
    else
      writeLine(line);
  }
  m_out += '\n';
  return std::move(m_out);
}

bool SessionBlock::takeLine(std::string_view& line)
{
  if (m_rest.empty())
    return false;
  const std::size_t end = m_rest.find('\n');
  line = m_rest.substr(0, end);
  m_rest.remove_prefix(end == std::string_view::npos ? m_rest.size() : end + 1);
  if (line.ends_with('\r'))
    line.remove_suffix(1);
  return true;
}

std::string SessionBlock::joined(std::string_view first)
{
  std::vector<std::string> lines{std::string(first)};
  for (std::string_view line = first; line.ends_with('\\') && takeLine(line);) {
    lines.emplace_back(line);
    line = StringUtilities::trimmed(line);
  }
  return StringUtilities::removeContinuation(std::move(lines)).front();
}

void SessionBlock::writeLine(std::string_view line)
{
  const std::string_view text = StringUtilities::trimmed(line);
  if (text.empty()) {
    m_out += '\n';
    return;
  }
  const int type = MiniKSLParser::determineLineType(text);
  if (type == MiniKSLParser::actionLine && isLeftOut(text))
    return;
  if (type == MiniKSLParser::endLine && m_depth > 0)
    --m_depth;
  if (2 * m_depth + text.size() <= lineWidth && isPlain(text)) {
    m_out.append(2 * m_depth, ' ');
    m_out += text;
  } else {
    m_out += StringUtilities::splitStringToSize(text, m_depth, lineWidth);
  }
  m_out += '\n';
  if (type == MiniKSLParser::objectLine)
    ++m_depth;
}

}  // namespace orv
