// What is wrong with a text, and what explains a count of END that is off.
#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVSyntax.h"
#include "platform/ORVUtilities.h"
#include "platform/src/parse/lexical.h"
#include "StatementText.h"

#include <algorithm>
#include <map>

namespace orv {

using StringUtilities::trimmed;
using Index = SyntaxTree::Index;
using Kind = SyntaxTree::Kind;
using Node = SyntaxTree::Node;
using Reason = SyntaxNote::Reason;
using Report = SyntaxTree::Report;

namespace {

// Where the statement itself stands on its first line, and on no more than that.
template <class Item>
void point(const SyntaxTree& tree, Index index, Item& item)
{
  const Node node = tree[index];
  const std::string_view line = lexical::lineAt(tree.text(), node.offset).text;
  std::string_view said = trimmed(StringUtilities::withoutComment(line));
  if (said.empty())
    said = line;
  item.node = index;
  item.offset = static_cast<std::size_t>(said.data() - tree.text().data());
  item.size = said.size();
}

std::string badNameMessage(const SyntaxTree::Statement& header, bool inRules)
{
  char character = lexical::forbiddenCharacter(header.first, inRules);
  const std::string_view name = character ? header.first : header.rest;
  if (!character)
    character = lexical::forbiddenCharacter(name, inRules);
  return _("Object name '%s' must not contain '%s'.", name, std::string_view(&character, 1));
}

void reportNode(const SyntaxTree& tree, Index index, bool inRules, std::vector<Report>& out)
{
  const Node node = tree[index];
  std::string room;
  const SyntaxTree::Statement statement = tree.read(index, room);
  Report report{};
  point(tree, index, report);
  const auto add = [&](std::string message) {
    out.push_back(report);
    out.back().message = std::move(message);
  };
  if (node.faults & (SyntaxTree::noStatement | SyntaxTree::outsideBlock))
    add(_("Syntax error in KSL line: '%s'.", trimmed(room)));
  if (node.faults & SyntaxTree::badName)
    add(badNameMessage(statement, inRules));
  if (node.faults & SyntaxTree::notAllowed)
    add(_("Action line in KSL library: '%s'.", StringUtilities::simplifyWhitespace(room)));
}

}  // namespace

std::vector<Report> SyntaxTree::reports() const
{
  std::vector<Report> out;
  if (!isFaulty())
    return out;
  bool surplus = m_depth < 0;
  for (Index i = 0; m_reading == Reading::library && !surplus && i < size(); ++i)
    surplus = (m_records[i].faults & surplusEnd) != 0;
  if (surplus)
    out.push_back({none, m_text.size(), 0, _("Too many END statements in KSL.")});
  else if (m_depth > 0)
    out.push_back({none, m_text.size(), 0, _("Not enough END statements in KSL.")});
  std::string room;
  for (Index top = firstChild(none); top != none; top = next(top)) {
    const bool rules = m_records[top].kind == Kind::header && read(top, room).first == "RULES";
    for (Index i = top; i <= m_records[top].last; ++i)
      if (m_records[i].faults)
        reportNode(*this, i, rules && i != top, out);
  }
  return out;
}

// ---------------------------------------------------------------------------------------------------- explanations

namespace {

class Explainer {
 public:
  Explainer(const SyntaxTree& tree, const std::function<bool(std::string_view)>& isType)
      : m_tree(tree),
        m_isType(isType)
  {}

  std::vector<SyntaxNote> explain()
  {
    noteFirst([this](Index index) { return noteNoStatement(index); });
    if (m_isType)
      noteFirst([this](Index index) { return noteUnknownType(index); });
    noteFirst([this](Index index) { return noteSwallowed(index); });
    const bool clear = !m_notes.empty();
    m_endShift = endShift();
    for (Index i = 0; i < m_tree.size(); ++i)
      if (m_tree[i].faults & SyntaxTree::leftOpen)
        noteLeftOpen(i, SyntaxTree::none);
    for (Index i = 0; i < m_tree.size(); ++i)
      if (m_tree[i].faults & SyntaxTree::surplusEnd)
        noteSurplus(i);
    if (!clear && !isIndented())
      noteFirstMisplaced();
    // Where there are too many END, those come before the blocks that indentation alone calls open.
    const bool tooMany = m_tree.missingEnds() < 0;
    std::stable_partition(m_notes.begin(), m_notes.end(), [=](const SyntaxNote& note) {
      const bool surplus = note.reason == Reason::surplusEnd || note.reason == Reason::noHeader;
      return tooMany ? note.reason != Reason::leftOpen : !surplus;
    });
    return std::move(m_notes);
  }

 private:
  template <class Try>
  void noteFirst(Try tryOne)
  {
    for (Index i = 0; i < m_tree.size(); ++i)
      if (tryOne(i))
        return;
  }

  SyntaxNote& add(Reason reason, Index index, std::string message)
  {
    SyntaxNote note{};
    note.reason = reason;
    note.next = SyntaxTree::none;
    note.message = std::move(message);
    point(m_tree, index, note);
    m_notes.push_back(std::move(note));
    return m_notes.back();
  }

  bool noteNoStatement(Index index)
  {
    if (!(m_tree[index].faults & SyntaxTree::noStatement))
      return false;
    const std::string_view text = m_tree.read(index, m_room).text;
    const bool likeEnd = StringUtilities::toLower(text.substr(0, 3)) == "end";
    if (likeEnd)
      add(Reason::noStatement, index, _("'%s' is no statement; END stands alone and in capitals.", text));
    else if (text.find('=') != std::string_view::npos && text.find(':') < text.find('='))
      add(Reason::noStatement, index,
          _("'%s' is no statement: a header has no '=', and no name a ':'.", text));
    else
      add(Reason::noStatement, index, _("'%s' is no statement.", text));
    return true;
  }

  bool noteUnknownType(Index index)
  {
    if (m_tree[index].kind != Kind::header)
      return false;
    const std::string_view type = m_tree.read(index, m_room).first;
    if (m_isType(type))
      return false;
    add(Reason::unknownType, index, _("No type '%s' is defined, and this line begins a block.", type));
    return true;
  }

  // A line that says END, and any other statement that stands no further right than the line that it continues, or is
  // continued in a comment.
  bool noteSwallowed(Index index)
  {
    const Node node = m_tree[index];
    if (node.lines < 2)
      return false;
    const std::string_view text = m_tree.text();
    lexical::TextLine line = lexical::lineAt(text, node.offset);
    const std::size_t indent = blanksBefore(line.text);
    const bool inComment = StringUtilities::withoutComment(line.text).size() < line.text.size();
    for (std::size_t i = 1; i < node.lines && line.next < text.size(); ++i) {
      line = lexical::lineAt(text, line.next);
      const int type = MiniKSLParser::determineLineType(line.text);
      const bool statement = type != MiniKSLParser::emptyLine && type != MiniKSLParser::otherLineType;
      const bool odd = type == MiniKSLParser::endLine || inComment || blanksBefore(line.text) <= indent;
      if (!statement || !odd)
        continue;
      SyntaxNote& note = add(Reason::swallowed, index,
                             _("'%s' belongs to the line above it, which ends in '\\'.", trimmed(line.text)));
      note.offset = static_cast<std::size_t>(trimmed(line.text).data() - text.data());
      note.size = trimmed(line.text).size();
      return true;
    }
    return false;
  }

  static std::size_t blanksBefore(std::string_view line)
  {
    return static_cast<std::size_t>(std::find_if_not(line.begin(), line.end(), StringUtilities::isSpace)
                                    - line.begin());
  }

  // Where nobody indents, END alone says what is in what, and all goes wrong behind the damage. The first block that is
  // deeper, or less deep, than the blocks of its type before it tells where that is.
  void noteFirstMisplaced()
  {
    std::map<std::string, std::size_t, std::less<>> depthOfType;
    std::vector<std::size_t> depths(m_tree.size());
    Index lastEnd = SyntaxTree::none;
    for (Index i = 0; i < m_tree.size(); ++i) {
      const Node node = m_tree[i];
      depths[i] = node.parent == SyntaxTree::none ? 0 : depths[node.parent] + 1;
      if (node.kind == Kind::end)
        lastEnd = i;
      std::size_t usual = depths[i] + (node.kind == Kind::parameter && depths[i] == 0 ? 1 : 0);
      if (node.kind == Kind::header)
        usual = depthOfType.emplace(m_tree.read(i, m_room).first, depths[i]).first->second;
      if (usual == depths[i])
        continue;
      if (usual < depths[i])
        noteLeftOpen(ancestor(i, depths[i] - usual), i);
      else if (lastEnd != SyntaxTree::none)
        add(Reason::surplusEnd, lastEnd, _("This END closes more than it should, or nothing."));
      std::rotate(m_notes.begin(), m_notes.end() - 1, m_notes.end());
      return;
    }
  }

  Index ancestor(Index index, std::size_t levels) const
  {
    for (; levels > 0; --levels)
      index = m_tree[index].parent;
    return index;
  }

  bool isIndented() const
  {
    for (Index i = 0; i < m_tree.size(); ++i)
      if (m_tree[i].kind != Kind::blank && blanksBefore(m_tree.source(i)) > 0)
        return true;
    return false;
  }

  // Where what comes behind it begins, is found when it is not given.
  void noteLeftOpen(Index header, Index next)
  {
    std::string text(m_tree.read(header, m_room).text);
    SyntaxNote& note = add(Reason::leftOpen, header, _("'%s' has no END.", text));
    note.next = next != SyntaxTree::none ? next : m_tree[header].last + 1;
    while (note.next < m_tree.size() && saysNothing(note.next))
      ++note.next;
    if (note.next >= m_tree.size())
      note.next = SyntaxTree::none;
  }

  bool saysNothing(Index index) const
  {
    return m_tree[index].kind == Kind::blank || m_tree[index].kind == Kind::comment;
  }

  // How much further right END stands than its header here.
  std::size_t endShift() const
  {
    for (Index i = 0; i < m_tree.size(); ++i) {
      const Node node = m_tree[i];
      if (node.kind != Kind::header || !node.closed)
        continue;
      const std::size_t header = blanksBefore(m_tree.source(i));
      const std::size_t end = blanksBefore(m_tree.source(node.last));
      return end > header ? end - header : 0;
    }
    return 0;
  }

  // Where statements before the END stand further right than it, they are a block whose header is missing: what stands
  // before them was meant to be it, if it stands where the END does.
  void noteSurplus(Index end)
  {
    const std::size_t blanks = blanksBefore(m_tree.source(end));
    const std::size_t indent = blanks - std::min(blanks, m_endShift);
    Index first = end;
    Index before = end;  // the first of them is behind this
    while (before > 0) {
      --before;
      if (m_tree[before].kind == Kind::blank)
        continue;
      const std::size_t shift = m_tree[before].kind == Kind::end ? m_endShift : 0;
      if (blanksBefore(m_tree.source(before)) <= indent + shift)
        break;
      first = before;
    }
    if (first == end) {
      add(Reason::surplusEnd, end, _("This END closes nothing."));
      return;
    }
    const Kind kind = m_tree[before].kind;
    const bool meant = before < first && blanksBefore(m_tree.source(before)) == indent
                       && (kind == Kind::parameter || kind == Kind::comment);
    SyntaxNote& note = add(
        Reason::noHeader, meant ? before : first,
        meant ? _("This is no header, and the END in line %d closes nothing.", m_tree[end].line)
              : _("No header stands before this, and the END in line %d closes nothing.", m_tree[end].line));
    note.next = end;
  }

  const SyntaxTree& m_tree;
  const std::function<bool(std::string_view)>& m_isType;
  std::vector<SyntaxNote> m_notes;
  std::size_t m_endShift = 0;
  std::string m_room;
};

}  // namespace

std::vector<SyntaxNote> explainEnds(const SyntaxTree& tree,
                                    const std::function<bool(std::string_view)>& isType)
{
  bool off = tree.missingEnds() != 0;
  for (Index i = 0; !off && i < tree.size(); ++i)
    off = (tree[i].faults & (SyntaxTree::surplusEnd | SyntaxTree::leftOpen)) != 0;
  return off ? Explainer(tree, isType).explain() : std::vector<SyntaxNote>{};
}

}  // namespace orv
