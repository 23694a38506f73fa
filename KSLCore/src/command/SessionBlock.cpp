#include "command/SessionBlock.h"

#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"
#include "platform/internal/UpdateHandler.h"
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

}  // namespace

// Short lines of objects, which need no more than their place, are put together here in a few instructions each: pieces of
// a fixed size are copied, and what is too much of them is written over by the next line.
class SessionBlock::ShortLines {
 public:
  using Text = std::array<char, 4096>;
  ShortLines(SessionBlock& block, Text& text)
      : m_block(block),
        m_text(text),
        m_depth(block.m_depth),
        m_count(block.m_count)
  {}

  // False for a line that is none of these. So many characters may be read from its begin on.
  bool add(std::string_view line, std::size_t readable, int type)
  {
    const bool isEnd = type == MiniKSLParser::endLine;
    const std::size_t outer = m_depth - (isEnd && m_depth > 0 ? 1 : 0);
    if (type < MiniKSLParser::parameterLine || outer > blanks / 2 || 2 * outer + line.size() > lineWidth)
      return false;
    m_count -= isEnd ? 1 : 0;
    if (isEnd && m_depth == 0)
      return true;
    if (m_size + room > m_text.size())
      flush();
    char* const out = m_text.data() + m_size;
    std::memset(out, ' ', blanks);
    if (line.size() <= piece && readable >= piece)
      std::memcpy(out + 2 * outer, line.data(), piece);
    else
      std::memcpy(out + 2 * outer, line.data(), line.size());
    out[2 * outer + line.size()] = '\n';
    m_last = m_size;
    m_size += 2 * outer + line.size() + 1;
    m_depth = outer;
    if (type == MiniKSLParser::objectLine) {
      ++m_depth;
      ++m_count;
    }
    return true;
  }

  // The block has all that was added.
  void finish()
  {
    flush();
    m_block.m_depth = m_depth;
    m_block.m_count = m_count;
  }
  // The block has had another line.
  void restart()
  {
    m_depth = m_block.m_depth;
    m_count = m_block.m_count;
  }

 private:
  static constexpr std::size_t blanks = 32;
  static constexpr std::size_t piece = 48;
  static constexpr std::size_t room = blanks + lineWidth + 1;

  void flush()
  {
    if (m_size == 0)
      return;
    m_block.m_last = m_block.m_out.size() + m_last;
    m_block.m_out.append(m_text.data(), m_size);
    m_size = 0;
  }

  SessionBlock& m_block;
  Text& m_text;  // what was not written is never read
  std::size_t m_depth;
  long m_count;
  std::size_t m_last = 0;  // where the last line begins
  std::size_t m_size = 0;
};

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

std::string SessionBlock::write(const KSLLines& lines, std::string room)
{
  if (lines.empty())
    return {};
  m_out = std::move(room);
  m_out.clear();
  ShortLines::Text text;
  ShortLines shortLines(*this, text);
  std::size_t left = lines.size() - (m_mode == kslUpdateNoAction ? 1 : 0);  // its last one was put in
  lines.forEach([&](std::string_view line, std::size_t readable, KSLLines::Scanned scanned) {
    if (left-- == 0 || UpdateHandler::isPutIn(scanned) || shortLines.add(line, readable, scanned.type))
      return;
    shortLines.finish();
    writeLine(line);
    shortLines.restart();
  });
  shortLines.finish();
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
