#include "StatementLayout.h"

#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"
#include "platform/src/parse/lexical.h"

#include <algorithm>

namespace orv::syntax {

using Kind = SyntaxTree::Kind;
using StringUtilities::isSpace;
using StringUtilities::trimmed;

namespace {}  // namespace

StatementLayout::StatementLayout(const Whole& read, const Whole& kept, Kind kind) : m_whole(&read)
{
  copyStatement(trimmed(StringUtilities::withoutComment(read.text)), kind);
  m_end = m_text.size();
  m_whole = &kept;
  const std::string_view comment = kept.text.substr(StringUtilities::withoutComment(kept.text).size());
  if (m_end > 0 && !comment.empty())
    m_text += ' ';
  m_comment = m_text.size();
  copyTrimmed(comment);
  dropIdleBreaks();
}

void StatementLayout::copyStatement(std::string_view statement, Kind kind)
{
  m_breakable = m_whole->text.size() + 2;  // nowhere
  if (kind == Kind::header) {
    std::string_view header = statement;
    if (lexical::takeReplaceWord(header))
      m_text += "&replace ";
    const std::size_t colon = header.find(':');
    copyTrimmed(header.substr(0, colon));
    m_text += ':';
    const std::string_view name = trimmed(header.substr(colon + 1));
    m_text += name.empty() ? "" : " ";
    copyTrimmed(name);
  } else if (kind == Kind::parameter) {
    const std::size_t equals = statement.find('=');
    copyTrimmed(statement.substr(0, equals));
    m_text += " =";
    const std::string_view value = trimmed(statement.substr(equals + 1));
    m_text += value.empty() ? "" : " ";
    m_breakable = m_text.size();
    copyTrimmed(value);
  } else if (kind == Kind::action) {
    const std::string_view action = trimmed(statement.substr(1));
    m_text += action.empty() ? ">" : "> ";
    m_breakable = m_text.size();
    copyTrimmed(action);
  } else {
    copyTrimmed(statement);
  }
}

void StatementLayout::copyTrimmed(std::string_view part)
{
  part = trimmed(part);
  if (part.empty())
    return;
  const auto from = static_cast<std::size_t>(part.data() - m_whole->text.data());
  const std::size_t at = m_text.size();
  m_text += part;
  // Breaks in what was left out before this part stand before it.
  const std::vector<Piece>& pieces = m_whole->pieces;
  for (; m_piece < pieces.size() && pieces[m_piece].joined < from + part.size(); ++m_piece)
    m_breaks.push_back(pieces[m_piece].joined < from ? at : at + pieces[m_piece].joined - from);
}

// A break at either end, and a second one at the same place, means nothing.
void StatementLayout::dropIdleBreaks()
{
  std::erase_if(m_breaks, [this](std::size_t at) { return at == 0 || at >= m_text.size(); });
  m_breaks.erase(std::unique(m_breaks.begin(), m_breaks.end()), m_breaks.end());
}

std::string_view StatementLayout::said(std::size_t line) const
{
  const std::size_t begin = std::min(lineBegin(line), m_comment);
  const std::size_t end = std::min(lineEnd(line), m_comment);
  return std::string_view(m_text).substr(begin, end - begin);
}

std::string_view StatementLayout::comment(std::size_t line) const
{
  const std::size_t begin = std::max(lineBegin(line), m_comment);
  const std::size_t end = std::max(lineEnd(line), m_comment);
  return std::string_view(m_text).substr(begin, end - begin);
}

// ------------------------------------------------------------------------------------------------------- wrapping

void StatementLayout::wrap(std::size_t indent, std::size_t step, std::size_t width)
{
  if (fits(0, m_end, width > indent ? width - indent : 0))
    return;
  findPlaces();
  std::vector<std::size_t> breaks;
  for (std::size_t line = 0; line < lineCount(); ++line) {
    std::size_t begin = lineBegin(line);
    const std::size_t end = std::min(lineEnd(line), m_end);
    const bool last = line + 1 == lineCount();
    for (;;) {
      const std::size_t left = begin == 0 ? indent : indent + step;
      const std::size_t room =
          width > left + 1 ? width - left - 1 : 1;  // its last place is for the backslash
      if (begin >= end || fits(begin, end, last ? room + 1 : room))
        break;
      const std::size_t at = breakBefore(begin, end, room);
      if (at >= end || at <= m_lastRun)
        break;
      breaks.push_back(at);
      begin = at;
    }
    if (!last)
      breaks.push_back(lineEnd(line));
  }
  m_breaks = std::move(breaks);
}

bool StatementLayout::fits(std::size_t begin, std::size_t end, std::size_t room) const
{
  std::size_t columns = 0;
  for (std::size_t i = begin; i < end && columns <= room; ++i)
    columns += isColumn(m_text[i]);
  return columns <= room;
}

// Behind single blanks that are not in quotes. As for comments, a quote that is never closed protects nothing. And the
// last white space that is no single blank: readers would make it one in a line that continues another.
void StatementLayout::findPlaces()
{
  m_places.assign(m_end + 1, false);
  m_lastRun = 0;
  for (std::size_t i = 1; i < m_end; ++i)
    if (isSpace(m_text[i]) && (m_text[i] != ' ' || isSpace(m_text[i - 1])))
      m_lastRun = i;
  bool mayClose = true;
  for (std::size_t i = 0; i + 1 < m_end; ++i) {
    if (m_text[i] == '"' && mayClose) {
      const std::size_t close = m_text.find('"', i + 1);
      mayClose = close < m_end;
      i = mayClose ? close : i;
    } else if (m_text[i] == ' ' && i >= m_breakable) {
      m_places[i + 1] = !isSpace(m_text[i + 1]) && !isSpace(m_text[i - 1]);
    }
  }
}

// The last place that fits, if none behind a comma leaves two thirds of the line filled; the first one when none fits.
std::size_t StatementLayout::breakBefore(std::size_t begin, std::size_t end, std::size_t room) const
{
  std::size_t best = end;
  std::size_t behindComma = end;
  std::size_t columns = 0;
  for (std::size_t i = begin + 1; i < end; ++i) {
    columns += isColumn(m_text[i - 1]);
    if (!m_places[i])
      continue;
    if (columns > room)
      return behindComma < end ? behindComma : best < end ? best : i;
    best = i;
    if (m_text[i - 2] == ',' && columns * 3 >= room * 2)
      behindComma = i;
  }
  return behindComma < end ? behindComma : best;
}

}  // namespace orv::syntax
