#include "SyntaxBlocks.h"

#include <algorithm>

namespace orv {

using Kind = SyntaxTree::Kind;
using Reading = SyntaxTree::Reading;

namespace {

bool saysNothing(Kind kind)
{
  return kind == Kind::blank || kind == Kind::comment;
}

}  // namespace

SyntaxBlocks::SyntaxBlocks(std::vector<Record>& records, Reading reading)
    : m_records(records),
      m_size(static_cast<Index>(records.size() - 1)),
      m_reading(reading)
{}

void SyntaxBlocks::match()
{
  countEnds();
  if (!m_content)
    learnStyle();
  if (m_content || !m_indented)
    matchByEnds();
  else
    matchByIndents();
  while (!m_open.empty())
    close(m_size - 1, false);
  judge();
  if (m_reading == Reading::atEnd)
    m_depth = 0;
}

// As the library does it: for commands the count at the end alone is judged, also when END came too early before.
void SyntaxBlocks::countEnds()
{
  for (Index i = 0; i < m_size; ++i) {
    const Kind kind = m_records[i].kind;
    if (kind == Kind::end)
      m_surplus = --m_depth < 0 || m_surplus;
    else if (kind == Kind::header)
      ++m_depth;
  }
  m_content = m_reading == Reading::atEnd || (m_depth == 0 && !(m_reading == Reading::library && m_surplus));
}

// What stands right behind a header tells how people indent here, and no END that is missing falsifies it.
void SyntaxBlocks::learnStyle()
{
  std::size_t deeper = 0;
  std::size_t contents = 0;
  long deepEnds = 0;
  long shift = 0;
  Index header = SyntaxTree::none;  // of a block that has only parameters so far
  Index last = 0;                   // statement
  bool first = false;
  for (Index i = 0; i < m_size; ++i) {
    const Record& record = m_records[i];
    if (saysNothing(record.kind))
      continue;
    const bool isEnd = record.kind == Kind::end;
    if (header != SyntaxTree::none && first && !isEnd) {
      ++contents;
      deeper += record.indent > m_records[header].indent;
    }
    if (header != SyntaxTree::none && !first && isEnd) {
      const bool aligned = record.indent == m_records[header].indent;
      const bool deep = !aligned && record.indent == m_records[last].indent;
      deepEnds += deep ? 1 : aligned ? -1 : 0;
      shift = deep ? record.indent - m_records[header].indent : shift;
    }
    last = i;
    first = record.kind == Kind::header;
    if (first)
      header = i;
    else if (record.kind != Kind::parameter)
      header = SyntaxTree::none;
  }
  m_indented = contents > 0 && deeper * 10 >= contents * 8;
  m_endShift = deepEnds > 0 ? shift : 0;
}

void SyntaxBlocks::matchByEnds()
{
  for (Index i = 0; i < m_size; ++i) {
    Record& record = m_records[i];
    record.parent = top();
    record.last = i;
    record.closed = false;
    if (record.kind == Kind::header)
      open(i);
    else if (record.kind == Kind::end && !m_open.empty())
      close(i, true);
  }
}

void SyntaxBlocks::matchByIndents()
{
  for (Index i = 0; i < m_size; ++i) {
    m_records[i].last = i;
    m_records[i].closed = false;
    place(i);
    if (!saysNothing(m_records[i].kind))
      m_lastStatement = i;
  }
}

void SyntaxBlocks::place(Index index)
{
  Record& record = m_records[index];
  const long indent = record.indent;
  switch (record.kind) {
    case Kind::end:
      return placeEnd(index);
    case Kind::error:
      return placeError(index);
    case Kind::header:
      leaveOpen(index, indent);
      break;
    case Kind::action:
      if (!standsOverMore(index))
        leaveOpen(index, indent);
      break;
    case Kind::parameter:
      // Parameters are never at the top level: one that stands too far left for that is only badly indented.
      if (!m_open.empty() && m_open.front().indent < indent)
        leaveOpen(index, indent);
      break;
    case Kind::blank:
    case Kind::comment:
      break;
  }
  record.parent = top();
  if (record.kind == Kind::header)
    open(index);
}

void SyntaxBlocks::leaveOpen(Index by, long indent)
{
  if (m_open.empty() || m_open.back().indent < indent)
    return;
  const Index last = m_lastStatement;
  while (!m_open.empty() && m_open.back().indent >= indent)
    close(last, false);
  for (Index i = last + 1; i < by; ++i)  // comments that belong to what comes
    m_records[i].parent = top();
}

void SyntaxBlocks::placeEnd(Index index)
{
  Record& record = m_records[index];
  const long indent = record.indent - m_endShift;
  // How many of the open blocks stand far enough left; columns grow from block to block.
  const auto right = std::partition_point(m_open.begin(), m_open.end(),
                                          [&](const Open& block) { return block.indent <= indent; });
  const bool suits = right != m_open.begin() && (right - 1)->indent == indent;
  record.parent = top();
  if (!suits && (m_open.empty() || m_open.back().indent < indent))
    return;  // closes nothing
  for (auto inner = suits ? m_open.end() - right : 0; inner > 0; --inner)
    close(index - 1, false);
  record.parent = top();
  close(index, true);
}

void SyntaxBlocks::placeError(Index index)
{
  Record& record = m_records[index];
  record.parent = top();
  if ((record.traits & traitLikeEnd) && !m_open.empty() && m_open.back().indent == record.indent)
    return close(index, true);
  if (!standsOverMore(index))
    return;  // else it was meant to be a header
  leaveOpen(index, record.indent);
  record.parent = top();
  open(index);
}

// What comes next stands further right.
bool SyntaxBlocks::standsOverMore(Index index) const
{
  Index next = index + 1;
  while (next < m_size && saysNothing(m_records[next].kind))
    ++next;
  return next < m_size && m_records[next].indent > m_records[index].indent;
}

void SyntaxBlocks::open(Index header)
{
  m_open.push_back({header, m_records[header].indent});
}

void SyntaxBlocks::close(Index last, bool closed)
{
  Record& header = m_records[m_open.back().header];
  header.last = last;
  header.closed = closed;
  m_open.pop_back();
}

void SyntaxBlocks::judge()
{
  Index block = SyntaxTree::none;  // the top-level one under way
  for (Index i = 0; i < m_size; ++i) {
    Record& record = m_records[i];
    if (record.parent == SyntaxTree::none)
      block = SyntaxTree::none;
    const bool inRules = block != SyntaxTree::none && (m_records[block].traits & traitRules);
    record.faults = faultsOf(record, inRules);
    m_faulty = m_faulty || record.faults != 0;
    if (record.parent == SyntaxTree::none && record.last > i)
      block = i;
  }
}

std::uint8_t SyntaxBlocks::faultsOf(const Record& record, bool inRules) const
{
  switch (record.kind) {
    case Kind::header: {
      const bool bad = (record.traits & traitSlash) || (!inRules && (record.traits & traitComma));
      return static_cast<std::uint8_t>((record.traits & traitNameless ? SyntaxTree::noStatement : 0)
                                       | (bad ? SyntaxTree::badName : 0)
                                       | (record.closed || m_content ? 0 : SyntaxTree::leftOpen));
    }
    case Kind::parameter:
      return record.parent == SyntaxTree::none ? SyntaxTree::outsideBlock : 0;
    case Kind::end: {
      const bool closes = record.parent != SyntaxTree::none && m_records[record.parent].closed
                          && &m_records[m_records[record.parent].last] == &record;
      return closes || m_content ? 0 : SyntaxTree::surplusEnd;
    }
    case Kind::action:
      return m_reading == Reading::library ? SyntaxTree::notAllowed : 0;
    case Kind::error:
      return SyntaxTree::noStatement;
    case Kind::blank:
    case Kind::comment:
      return 0;
  }
  return 0;
}

}  // namespace orv
