#include "actions/SessionBlock.h"

#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"
#include "command/ActionExecutor.h"
#include "actions/FileText.h"

#include <algorithm>
#include <array>
#include <vector>

namespace orv {

namespace {

constexpr std::size_t lineWidth = 80;
constexpr std::string_view updateLine = "> update";
constexpr std::string_view updateNoActionLine = "> update noaction";

// True for a text that wrapping would leave as it is, but for its length.
bool staysOneLine(std::string_view text)
{
  for (std::size_t i = 0; i < text.size(); ++i)
    if (text[i] <= ' ' && StringUtilities::isSpace(text[i]) && (text[i] != ' ' || text[i + 1] == ' '))
      return false;
  return text.back() != '\\';
}

// Whether a character, with the two behind it, needs a closer look: other than blanks for white space, or several of them
// within a line; what begins a comment, an escape or a continuation.
inline unsigned char isOdd(const char* at)
{
  const char c = *at;
  const unsigned char odd = ((c < ' ') & (c != '\n')) | (c == '\x7F') | (c == '\\') | (c == '#') | (c == '{');
  const unsigned char blanks = (c > ' ') & (at[1] == ' ') & (at[2] == ' ');
  return odd | blanks;
}

// True for a text of which nearly every line stands as it is to be written, but for its place. Pieces of a fixed size and
// no branches in them: a compiler makes instructions of it that look at many characters at once.
bool isUsual(std::string_view text)
{
  constexpr std::size_t width = 64;
  while (text.size() >= width + 2) {
    unsigned char odd = 0;
    for (std::size_t i = 0; i < width; ++i)
      odd |= isOdd(text.data() + i);
    if (odd != 0)
      return false;
    text.remove_prefix(width);
  }
  const std::string rest = std::string(text) + "\n\n";
  for (std::size_t i = 0; i < text.size(); ++i)
    if (isOdd(rest.data() + i) != 0)
      return false;
  return true;
}

// Without the blanks at its ends, which are all the white space that it has.
std::string_view withoutBlanks(std::string_view line)
{
  std::size_t first = 0;
  while (first < line.size() && line[first] == ' ')
    ++first;
  line.remove_prefix(first);
  while (!line.empty() && line.back() == ' ')
    line.remove_suffix(1);
  return line;
}

// Of a statement without a comment.
bool isHeader(std::string_view line)
{
  return line.find(':') != std::string_view::npos && line.find('=') == std::string_view::npos;
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
  m_usual = isUsual(text);
  m_plain = m_usual || FileText::isPlain(text);
  m_asEntered = false;
  m_updates = false;
  writeLines(text);
  if (m_mode == kslUpdateDefault && m_count != 0) {  // will be refused for that
    m_asEntered = true;
    writeLines(text);
  } else {
    if (m_mode == kslUpdateDefault && m_out.find(updateNoActionLine) != std::string::npos) {
      m_updates = true;
      writeLines(text);
    }
    closeBlocks();
  }
  m_out += '\n';
  return std::move(m_out);
}

void SessionBlock::writeLines(std::string_view text)
{
  m_rest = text;
  m_depth = 0;
  m_count = 0;
  m_last = 0;
  m_out.clear();
  m_out.reserve(text.size() + text.size() / 2);
  if (m_usual)
    return writeUsualLines();
  std::string_view line;
  while (takeLine(line)) {
    if (line.ends_with('\\'))
      writeLine(joined(line));
    else
      writeLine(line);
  }
}

// False for an END that ends nothing, and is left out.
bool SessionBlock::endBlock()
{
  --m_count;
  if (m_depth == 0)
    return m_asEntered;
  --m_depth;
  return true;
}

// The same for lines that need no more than their place.
void SessionBlock::writeUsualLines()
{
  while (!m_rest.empty()) {
    const std::size_t end = std::min(m_rest.find('\n'), m_rest.size());
    const std::string_view line = withoutBlanks(m_rest.substr(0, end));
    m_rest.remove_prefix(std::min(end + 1, m_rest.size()));
    if (line.empty())
      continue;
    if (line.front() == '>' || m_updates || 2 * m_depth + line.size() > lineWidth) {
      writeLine(line);
      continue;
    }
    const bool isEnd = line == "END";
    if (isEnd && !endBlock())
      continue;
    m_last = m_out.size();
    m_out.append(2 * m_depth, ' ').append(line) += '\n';
    if (!isEnd && isHeader(line)) {
      ++m_depth;
      ++m_count;
    }
  }
}

// Before an update that ends the command: what was left open counts for it.
void SessionBlock::closeBlocks()
{
  std::string last(StringUtilities::trimmed(std::string_view(m_out).substr(m_last)));
  if (last.starts_with(updateLine)) {
    m_out.resize(m_last);
    last += '\n';
  } else {
    last.clear();
  }
  while (m_depth > 0) {
    m_out.append(2 * --m_depth, ' ');
    m_out += "END\n";
  }
  m_out += last;
  if (m_mode == kslUpdateNoAction && !m_out.empty() && !last.starts_with(updateNoActionLine))
    m_out.append(updateNoActionLine) += '\n';
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
  if (text.empty())
    return;
  const int type = MiniKSLParser::determineLineType(text);
  if (type == MiniKSLParser::actionLine && isLeftOut(text))
    return;
  if (type == MiniKSLParser::endLine && !endBlock())
    return;
  m_last = m_out.size();
  const bool comment = text.front() == '#';
  if (m_plain && !(comment && FileText::looksLikeHead(text)))
    writeText(text);
  else
    writeText(comment ? FileText::escapedComment(text) : FileText::escaped(text));
  if (type == MiniKSLParser::objectLine) {
    ++m_depth;
    ++m_count;
  } else if (m_updates && type == MiniKSLParser::endLine && m_count == 0) {
    m_out.append(updateLine) += '\n';
  }
}

void SessionBlock::writeText(std::string_view text)
{
  if (2 * m_depth + text.size() <= lineWidth && staysOneLine(text)) {
    m_out.append(2 * m_depth, ' ');
    m_out += text;
  } else {
    m_out += StringUtilities::splitStringToSize(text, m_depth, lineWidth);
  }
  m_out += '\n';
}

}  // namespace orv
