#include "actions/SessionBlock.h"

#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"
#include "command/ActionExecutor.h"
#include "command/CommandLines.h"
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

// True for a text of which nearly every line is written as it was parsed: nothing has to be escaped, nothing looks like a
// continuation, and no quotes keep blanks that the parse does not. Pieces of a fixed size and no branches in them: a
// compiler makes instructions of it that look at many characters at once.
bool isUsual(std::string_view text)
{
  const auto isOdd = [](char c) {
    return static_cast<unsigned char>((static_cast<signed char>(c) <= 0) | (c == '{') | (c == '\\')
                                      | (c == '"'));
  };
  constexpr std::size_t width = 64;
  for (; text.size() >= width; text.remove_prefix(width)) {
    unsigned char odd = 0;
    for (std::size_t i = 0; i < width; ++i)
      odd |= isOdd(text[i]);
    if (odd != 0)
      return false;
  }
  return std::none_of(text.begin(), text.end(), isOdd);
}

constexpr std::size_t shortSize = 32;
constexpr std::size_t lineRoom = lineWidth + shortSize + 1;

// Puts a line where there is room for it and a short text more; how long it is there. Most are short and have as much
// behind them: copies of a fixed size take few instructions.
inline std::size_t placeLine(char* out, std::size_t indent, std::string_view line, std::size_t readable)
{
  std::memset(out, ' ', shortSize);
  if (indent > shortSize)
    std::memset(out, ' ', indent);
  if (line.size() <= shortSize && readable >= shortSize)
    std::memcpy(out + indent, line.data(), shortSize);
  else
    std::memcpy(out + indent, line.data(), line.size());
  out[indent + line.size()] = '\n';
  return indent + line.size() + 1;
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

std::string SessionBlock::write(std::string_view text, const ParsedText* parsed)
{
  if (parsed && parsed->asEntered && isUsual(text)) {
    writeParsed(*parsed);
    if (m_mode != kslUpdateDefault || m_out.find(updateNoActionLine) == std::string::npos) {
      closeBlocks();
      return std::move(m_out += '\n');
    }
  }
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

// Lines of objects need no more than their place.
void SessionBlock::writeParsed(const ParsedText& parsed)
{
  if (parsed.marks.empty())
    return;
  m_out.reserve(parsed.marks.size() * lineWidth / 4);
  std::size_t size = 0;       // of what is written; behind it is room
  std::string_view readable;  // lines follow each other, piece by piece
  std::size_t taken = 0;
  for (std::size_t i = 0; i < parsed.marks.size(); ++i) {
    const ParsedText::Mark mark = parsed.marks[i];
    readable.remove_prefix(taken);
    if (readable.empty())
      readable = parsed.lines.from(i);
    const std::string_view line = readable.substr(0, mark.size);
    taken = line.size();
    if (mark.type == ParsedText::putIn)
      continue;
    const bool isObjects = mark.type != MiniKSLParser::actionLine && mark.type != MiniKSLParser::emptyLine;
    if (!isObjects || 2 * m_depth + line.size() > lineWidth) {
      m_out.resize(size);
      writeLine(line);
      size = m_out.size();
      continue;
    }
    if (mark.type == MiniKSLParser::endLine && !endBlock())
      continue;
    if (m_out.size() < size + lineRoom)
      m_out.resize(size + 32 * lineRoom);
    m_last = size;
    size += placeLine(m_out.data() + size, 2 * m_depth, line, readable.size());
    beginBlock(mark.type);
  }
  m_out.resize(size);
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
