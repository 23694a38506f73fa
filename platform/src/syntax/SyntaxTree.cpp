#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVSyntax.h"
#include "platform/ORVUtilities.h"
#include "platform/src/parse/lexical.h"
#include "StatementText.h"
#include "SyntaxBlocks.h"

#include <algorithm>
#include <utility>

namespace orv {

using StringUtilities::isSpace;
using StringUtilities::trimmed;
using Kind = SyntaxTree::Kind;
using Line = MiniKSLParser::Line;

namespace {

Kind kindOf(const Line& line, std::string_view whole)
{
  switch (line.type) {
    case MiniKSLParser::emptyLine:
      return trimmed(whole).empty() ? Kind::blank : Kind::comment;
    case MiniKSLParser::actionLine:
      return Kind::action;
    case MiniKSLParser::parameterLine:
      return lexical::readParameter(line.text, line.mark).name.empty() ? Kind::error : Kind::parameter;
    case MiniKSLParser::objectLine:
      return Kind::header;
    case MiniKSLParser::endLine:
      return Kind::end;
    case MiniKSLParser::otherLineType:
      return Kind::error;
  }
  return Kind::error;
}

bool has(std::string_view text, char c)
{
  return text.find(c) != std::string_view::npos;
}

std::uint8_t headerTraits(std::string_view statement)
{
  const lexical::Header header = lexical::readHeader(statement);
  unsigned traits = header.type.empty() ? traitNameless : 0;
  if (has(header.type, '/') || has(header.name, '/'))
    traits |= traitSlash;
  if (has(header.type, ',') || has(header.name, ','))
    traits |= traitComma;
  if (header.type == "RULES" && (header.name.empty() || header.name == header.type))
    traits |= traitRules;
  return static_cast<std::uint8_t>(traits);
}

std::uint16_t indentOf(std::string_view line)
{
  std::size_t blanks = 0;
  while (blanks < line.size() && isSpace(line[blanks]))
    ++blanks;
  return static_cast<std::uint16_t>(std::min<std::size_t>(blanks, 0xFFFF));
}

[[noreturn]] void tooLong()
{
  throw data::error("SyntaxTree", "edit", _("The text is too long: 4 GiB or more."));
}

}  // namespace

SyntaxTree::SyntaxTree(std::string text, Reading reading) : m_text(std::move(text)), m_reading(reading)
{
  if (m_text.size() >= none)
    tooLong();
  m_records.reserve(static_cast<std::size_t>(std::count(m_text.begin(), m_text.end(), '\n')) + 2);
  std::uint32_t line = 1;
  for (std::size_t offset = 0; offset < m_text.size();)
    m_records.push_back(readRecord(offset, line));
  addEnd(m_records, line);
  matchBlocks(m_records);
}

// The record that stands for the end of the text.
void SyntaxTree::addEnd(std::vector<Record>& records, std::uint32_t line) const
{
  Record end{};
  end.offset = static_cast<std::uint32_t>(m_text.size());
  end.line = line;
  end.parent = none;
  records.push_back(end);
}

SyntaxTree::Record SyntaxTree::readRecord(std::size_t& offset, std::uint32_t& line)
{
  std::size_t lines = 0;
  const std::size_t end = syntax::endOfStatement(m_text, offset, lines);
  std::string room;
  const std::string_view whole =
      syntax::joinStatement(m_text, offset, end, syntax::Blanks::kept, room, nullptr);
  const Line scanned = MiniKSLParser::scan(whole);
  Record record{};
  record.offset = static_cast<std::uint32_t>(offset);
  record.line = line;
  record.parent = none;
  record.id = m_nextId++;
  record.indent = indentOf(whole);
  record.kind = kindOf(scanned, whole);
  if (record.kind == Kind::header)
    record.traits = headerTraits(scanned.text);
  else if (record.kind == Kind::error && StringUtilities::toLower(scanned.text.substr(0, 3)) == "end")
    record.traits = traitLikeEnd;
  offset = end;
  line += static_cast<std::uint32_t>(lines);
  return record;
}

void SyntaxTree::matchBlocks(std::vector<Record>& records)
{
  SyntaxBlocks blocks(records, m_reading);
  blocks.match();
  m_depth = blocks.depth();
  m_faulty = blocks.isFaulty();
}

// ------------------------------------------------------------------------------------------------------- editing

void SyntaxTree::edit(std::size_t offset, std::size_t removed, std::string_view inserted)
{
  offset = std::min(offset, m_text.size());
  removed = std::min(removed, m_text.size() - offset);
  if (m_text.size() - removed + inserted.size() >= none)
    tooLong();
  const Index first = size() == 0 ? 0 : at(offset);
  const Index behind = size() == 0 ? 0 : at(offset + removed) + 1;
  const std::string former =
      m_text.substr(m_records[first].offset, m_records[behind].offset - m_records[first].offset);
  const std::size_t cut = offset - m_records[first].offset;
  const std::string out = former.substr(cut, removed);
  m_text.replace(offset, removed, inserted);
  try {
    readAgain(first, behind, offset + removed, inserted.size() - removed, former);
  } catch (...) {
    m_text.replace(offset, inserted.size(), out);  // has the room
    throw;
  }
}

// Reads from the first statement on until it meets the beginning of one that the edit left alone. `moved` is how far
// what stands behind the edit has moved, modulo the size of the type.
void SyntaxTree::readAgain(Index first, Index behind, std::size_t editEnd, std::size_t moved,
                           std::string_view former)
{
  std::vector<Record> records;
  records.reserve(m_records.size() + 16);
  records.assign(m_records.begin(), m_records.begin() + first);
  std::size_t offset = m_records[first].offset;
  std::uint32_t line = m_records[first].line;
  Index met = first;
  const auto old = [&](Index index) { return m_records[index].offset + moved; };
  for (;;) {
    while (met < size() && (m_records[met].offset < editEnd || old(met) < offset))
      ++met;
    if (offset >= m_text.size() || (met < size() && old(met) == offset))
      break;
    records.push_back(readRecord(offset, line));
  }
  if (offset >= m_text.size())
    met = size();
  keepIds(first, std::min(behind, met), former, records, offset);
  appendMoved(records, met, moved, line);
  adopt(std::move(records), first, met);
}

// The records behind the edit, the one for the end of the text among them.
void SyntaxTree::appendMoved(std::vector<Record>& records, Index met, std::size_t moved,
                             std::uint32_t line) const
{
  const std::size_t begin = records.size();
  records.insert(records.end(), m_records.begin() + met, m_records.end());
  const std::uint32_t linesMoved = line - m_records[met].line;
  for (std::size_t i = begin; i < records.size(); ++i) {
    records[i].offset += static_cast<std::uint32_t>(moved);
    records[i].line += linesMoved;
  }
}

// Statements at either end of what was read again whose bytes are as they were are the same statements.
void SyntaxTree::keepIds(Index first, Index behind, std::string_view former, std::vector<Record>& records,
                         std::size_t end) const
{
  const std::size_t base = m_records[first].offset;
  const auto formerText = [&](std::size_t index) {
    return former.substr(m_records[index].offset - base,
                         m_records[index + 1].offset - m_records[index].offset);
  };
  const auto freshText = [&](std::size_t index) {
    const std::size_t next = index + 1 < records.size() ? records[index + 1].offset : end;
    return std::string_view(m_text).substr(records[index].offset, next - records[index].offset);
  };
  std::size_t front = first;
  for (; front < behind && front < records.size() && formerText(front) == freshText(front); ++front)
    records[front].id = m_records[front].id;
  for (std::size_t was = behind, is = records.size();
       was > front && is > front && formerText(was - 1) == freshText(is - 1); --was, --is)
    records[is - 1].id = m_records[was - 1].id;
}

// Blocks are matched again only when the statements read again are not of the same kinds as before.
void SyntaxTree::adopt(std::vector<Record> records, Index first, Index met)
{
  bool same = records.size() == m_records.size();
  for (Index i = first; same && i < met; ++i) {
    const Record& was = m_records[i];
    Record& is = records[i];
    same = was.kind == is.kind && was.traits == is.traits && was.indent == is.indent;
    is.parent = was.parent;
    is.last = was.last;
    is.closed = was.closed;
    is.faults = was.faults;
  }
  if (!same)
    matchBlocks(records);
  m_records = std::move(records);
}

// ------------------------------------------------------------------------------------------------------ questions

SyntaxTree::Node SyntaxTree::operator[](Index index) const
{
  const Record& record = m_records[index];
  const Record& following = m_records[index + 1];
  return {record.kind,
          record.faults,
          record.closed,
          record.offset,
          following.offset - record.offset,
          record.line,
          following.line - record.line,
          record.parent,
          record.last,
          record.id};
}

std::string_view SyntaxTree::source(Index index) const
{
  const std::size_t offset = m_records[index].offset;
  return std::string_view(m_text).substr(offset, m_records[index + 1].offset - offset);
}

SyntaxTree::Index SyntaxTree::at(std::size_t offset) const
{
  if (size() == 0)
    return none;
  const auto behind =
      std::upper_bound(m_records.begin(), m_records.end() - 1, offset,
                       [](std::size_t place, const Record& record) { return place < record.offset; });
  return static_cast<Index>(behind - m_records.begin() - 1);
}

SyntaxTree::Index SyntaxTree::atLine(std::size_t line) const
{
  if (line == 0 || line >= m_records.back().line)
    return none;
  const auto behind =
      std::upper_bound(m_records.begin(), m_records.end() - 1, line,
                       [](std::size_t number, const Record& record) { return number < record.line; });
  return static_cast<Index>(behind - m_records.begin() - 1);
}

SyntaxTree::Position SyntaxTree::position(std::size_t offset) const
{
  if (size() == 0)
    return {1, 1};
  offset = std::min(offset, m_text.size());
  const Record& record = m_records[at(offset)];
  Position position{record.line, 1};
  std::size_t begin = record.offset;
  for (std::size_t end = m_text.find('\n', begin); end < offset; end = m_text.find('\n', begin)) {
    ++position.line;
    begin = end + 1;
  }
  position.column = offset - begin + 1;
  return position;
}

SyntaxTree::Index SyntaxTree::firstChild(Index parent) const
{
  if (parent == none)
    return size() == 0 ? none : 0;
  return m_records[parent].last > parent ? parent + 1 : none;
}

SyntaxTree::Index SyntaxTree::next(Index index) const
{
  const Record& record = m_records[index];
  const Index following = record.last + 1;
  const Index behind = record.parent == none ? size() - 1 : m_records[record.parent].last;
  return following <= behind ? following : none;
}

SyntaxTree::Statement SyntaxTree::read(Index index, std::string& room) const
{
  const std::size_t end = m_records[index + 1].offset;
  std::string joined;
  const std::string_view whole =
      syntax::joinStatement(m_text, m_records[index].offset, end, syntax::Blanks::single, joined, nullptr);
  room.clear();
  if (m_reading == Reading::library)
    room = whole;
  else
    StringUtilities::appendSimplified(room, whole);
  const Line line = MiniKSLParser::scan(room);
  Statement statement{m_records[index].kind, false, line.text, {}, {}};
  if (statement.kind == Kind::header) {
    const lexical::Header header = lexical::readHeader(line.text);
    statement.replace = header.replace;
    statement.first = header.type;
    statement.rest = header.name;
  } else if (statement.kind == Kind::parameter) {
    const lexical::Parameter parameter = lexical::readParameter(line.text, line.mark);
    statement.first = parameter.name;
    statement.rest = parameter.value;
  } else if (statement.kind == Kind::action) {
    const std::string_view action = trimmed(line.text.substr(1));
    const std::size_t wordEnd =
        static_cast<std::size_t>(std::find_if(action.begin(), action.end(), isSpace) - action.begin());
    statement.first = action.substr(0, wordEnd);
    statement.rest = trimmed(action.substr(wordEnd));
  }
  return statement;
}

}  // namespace orv
