#include "command/SessionBlock.h"

#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"
#include "command/ActionExecutor.h"
#include "command/FileText.h"

#include <algorithm>
#include <array>
#include <cstring>
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

constexpr std::size_t usualIndent = 32;
constexpr std::size_t lineRoom = lineWidth + usualIndent + 1;

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
  m_plain = FileText::isPlain(text);
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
  return std::move(m_out += '\n');
}

// Nothing has to be escaped, nothing looks like a continuation, and no quotes keep blanks that the parse does not. Pieces
// of a fixed size and no branches in them: a compiler makes instructions of it that look at many characters at once.
bool SessionBlock::isUsual(std::string_view text)
{
  const auto isOdd = [](char c) {
    return static_cast<unsigned char>((static_cast<signed char>(c) <= 0) | (c == '{') | (c == '\\')
                                      | (c == '"'));
  };
  constexpr std::size_t width = 512;
  for (; text.size() >= width; text.remove_prefix(width)) {
    unsigned char odd = 0;
    for (std::size_t i = 0; i < width; ++i)
      odd |= isOdd(text[i]);
    if (odd != 0)
      return false;
  }
  return std::none_of(text.begin(), text.end(), isOdd);
}

void SessionBlock::begin(std::string_view text)
{
  m_out.reserve(text.size() + text.size() / 2 + lineRoom);
}

// Lines of objects need no more than their place.
void SessionBlock::add(std::string_view line, int type)
{
  const std::size_t indent = 2 * (m_depth - (type == MiniKSLParser::endLine && m_depth > 0 ? 1 : 0));
  if (type < MiniKSLParser::parameterLine || indent > usualIndent || indent + line.size() > lineWidth)
    return addUnusual(line);
  if (type == MiniKSLParser::endLine && !endBlock())
    return;
  if (m_out.size() < m_size + lineRoom)
    m_out.resize(m_size + 32 * lineRoom);
  m_last = m_size;
  char* const out = m_out.data() + m_size;
  std::memset(out, ' ', usualIndent);  // a fixed size takes few instructions
  std::memcpy(out + indent, line.data(), line.size());
  out[indent + line.size()] = '\n';
  m_size += indent + line.size() + 1;
  beginBlock(type);
}

void SessionBlock::addUnusual(std::string_view line)
{
  m_out.resize(m_size);
  writeLine(line);
  m_size = m_out.size();
}

std::string SessionBlock::finish()
{
  m_out.resize(m_size);
  if (m_mode == kslUpdateDefault && m_out.find(updateNoActionLine) != std::string::npos)
    return {};
  closeBlocks();
  return std::move(m_out += '\n');
}

void SessionBlock::writeLines(std::string_view text)
{
  m_rest = text;
  m_depth = 0;
  m_count = 0;
  m_last = 0;
  m_out.clear();
  m_out.reserve(text.size() + text.size() / 2);
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

void SessionBlock::beginBlock(int lineType)
{
  if (lineType != MiniKSLParser::objectLine)
    return;
  ++m_depth;
  ++m_count;
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
  beginBlock(type);
  if (m_updates && type == MiniKSLParser::endLine && m_count == 0) {
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
