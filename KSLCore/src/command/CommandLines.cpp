#include "command/CommandLines.h"

#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"
#include "platform/internal/UpdateHandler.h"

#include <cstdint>

namespace orv {

namespace {

constexpr std::string_view updateAction = "> update";
constexpr std::string_view updateNoActionAction = "> update noaction";

bool continues(std::string_view line)
{
  return !line.empty() && line.back() == '\\';
}

// Any line that begins so counts as an update, whatever follows: it is neither wrapped nor followed by
// another.
bool isUpdateLine(std::string_view line)
{
  return line.substr(0, updateAction.size()) == updateAction;
}

}  // namespace

bool CommandLines::isActionLine(std::string_view line)
{
  const std::string_view statement = StringUtilities::withoutComment(line);
  return !statement.empty() && statement.front() == '>';
}

void CommandLines::begin(std::string_view text)
{
  m_rest = text;
  m_atEnd = text.empty();
  constexpr std::size_t usualLine = 16;  // characters
  const std::size_t lineCount = text.size() / usualLine + 4;
  m_lines.reserve(text.size() + 2 * updateAction.size(), lineCount);
}

KSLLines CommandLines::parse(std::string_view text)
{
  begin(text);
  while (readLine()) {}
  if (!m_lines.empty())
    finish();
  return std::move(m_lines);
}

ParsedText CommandLines::parseAhead(std::string_view text)
{
  ParsedText ahead;
  ahead.mode = m_mode;
  ahead.lines = parse(text);
  ahead.isAsEntered = !m_changed;
  return ahead;
}

std::vector<std::size_t> CommandLines::sourceLines(std::string_view text)
{
  begin(text);
  std::vector<std::size_t> lines;
  for (std::size_t first = 1; readLine(); first = m_taken + 1)
    lines.resize(m_lines.size(), first);
  if (!lines.empty())
    lines.push_back(lines.back());  // the update at the end
  return lines;
}

bool CommandLines::readLine()
{
  std::string_view raw;
  if (!takeLine(raw))
    return false;
  if (continues(raw))
    joinContinuation(raw, m_lines.begin());
  else
    StringUtilities::appendSimplified(m_lines.begin(), raw);
  endLine();
  return true;
}

bool CommandLines::takeLine(std::string_view& line)
{
  if (m_atEnd)
    return false;
  ++m_taken;
  const std::size_t end = m_rest.find('\n');
  line = m_rest.substr(0, end);
  m_atEnd = end == std::string_view::npos;
  if (!line.empty() && line.back() == '\r')
    line.remove_suffix(1);  // CR LF ends a line as LF does
  m_rest.remove_prefix(m_atEnd ? m_rest.size() : end + 1);
  return true;
}

// The first line is tested as it stands and the following ones after they were simplified: a backslash
// followed by blanks continues there only. Deliberate.
void CommandLines::joinContinuation(std::string_view first, std::string& out)
{
  std::string joined(first.substr(0, first.size() - 1));
  std::string_view raw;
  for (bool more = true; more && takeLine(raw);) {
    StringUtilities::appendSimplified(joined, raw);
    more = continues(StringUtilities::trimmed(raw));
    if (more)
      joined.pop_back();
  }
  StringUtilities::appendSimplified(out, joined);
}

void CommandLines::endLine()
{
  if (m_lines.begun().empty())
    return;
  const std::string_view line = m_lines.begun();
  const MiniKSLParser::Line scanned = MiniKSLParser::scan(line);
  const MiniKSLParser::LineType type = scanned.type;
  const bool whole = scanned.text.size() == line.size() && line.size() <= UINT32_MAX;
  const KSLLines::Scanned known =
      whole ? KSLLines::Scanned{type, static_cast<std::uint32_t>(scanned.mark)} : KSLLines::Scanned();
  if (type == MiniKSLParser::actionLine)
    return endActionLine(known);
  m_lines.end(known);
  if (m_mode == kslUpdateDefault)
    countDepth(type);
}

void CommandLines::addUpdate()
{
  m_lines.begin() += updateAction;
  m_lines.end(UpdateHandler::putIn);
}

void CommandLines::endActionLine(KSLLines::Scanned scanned)
{
  std::string line(m_lines.begun());
  m_lines.drop();
  if (line.size() > 1 && line[1] != ' ') {
    line.insert(1, 1, ' ');
    m_changed = true;
  }
  const bool isUpdate = isUpdateLine(line);
  if (!isUpdate)
    addUpdate();
  m_lines.begin() += line;
  m_lines.end(scanned);  // its mark is in front, whatever was put behind that
  if (!isUpdate)
    addUpdate();
}

void CommandLines::countDepth(int lineType)
{
  if (lineType == MiniKSLParser::objectLine) {
    ++m_depth;
    return;
  }
  if (lineType != MiniKSLParser::endLine)
    return;
  if (m_depth-- == 1)
    addUpdate();
}

void CommandLines::finish()
{
  if (m_mode == kslUpdateNoAction)
    m_lines.add(updateNoActionAction);
  else if (!isUpdateLine(m_lines.back()))
    addUpdate();
  checkDepth();
}

// Only the final count is judged: a surplus END that a later block balances raises nothing. Deliberate.
void CommandLines::checkDepth() const
{
  if (m_depth > 0)
    throw data::error("KSLInterface", "preParseKSL", _("Not enough END statements in KSL."));
  if (m_depth < 0)
    throw data::error("KSLInterface", "preParseKSL", _("Too many END statements in KSL."));
}

}  // namespace orv
