#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"
#include "lexical.h"

namespace orv {

namespace {

// What counts of a line.
std::string_view contents(std::string_view line) noexcept
{
  return StringUtilities::trimmed(StringUtilities::withoutComment(line));
}

}  // namespace

MiniKSLParser::MiniKSLParser(std::vector<std::string> lines) : m_lines(std::move(lines)) {}

MiniKSLParser::~MiniKSLParser() = default;

int MiniKSLParser::determineLineType(std::string_view line)
{
  return scan(line).type;
}

MiniKSLParser::Line MiniKSLParser::scan(std::string_view line)
{
  const std::string_view text = contents(line);
  if (text.empty())
    return {emptyLine, text, 0};
  if (text.front() == '>')
    return {actionLine, text, 0};
  if (text == "END")
    return {endLine, text, 0};
  // The first of "=" and ":" decides, and both are sought by what the processor has for it.
  const std::size_t equals = text.find('=');
  const std::size_t colon = text.substr(0, equals).find(':');
  if (colon != std::string_view::npos)
    return {equals == std::string_view::npos ? objectLine : otherLineType, text, colon};
  if (equals != std::string_view::npos)
    return {parameterLine, text, equals};
  return {otherLineType, text, text.size()};
}

void MiniKSLParser::parse()
{
  m_blocks.clear();
  for (m_index = 0; m_index < m_lines.size(); ++m_index) {
    const int kind = determineLineType(currentLine());
    if (kind == objectLine)
      beginBlock(contents(currentLine()));
    else if (kind == endLine && !m_blocks.empty())
      endBlock();
    else if (kind == parameterLine)
      readParameter(contents(currentLine()));
    else if (kind != emptyLine)
      otherLine(currentLine());
  }
}

void MiniKSLParser::beginBlock(std::string_view header)
{
  m_replace = lexical::takeReplaceWord(header);
  m_blocks.push_back(StringUtilities::splitObjectTypeAndName(header));
  const Block block = m_blocks.back();
  newObject(block.first, block.second);
  m_replace = false;
}

void MiniKSLParser::endBlock()
{
  endObject();
  m_blocks.pop_back();
}

void MiniKSLParser::readParameter(std::string_view text)
{
  const auto [name, value] = StringUtilities::splitNameValue(text);
  newParameter(name, value);
}

void MiniKSLParser::newObject(const std::string&, const std::string&) {}
void MiniKSLParser::newParameter(const std::string&, const std::string&) {}
void MiniKSLParser::endObject() {}
void MiniKSLParser::otherLine(const std::string&) {}

}  // namespace orv
