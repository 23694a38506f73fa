// Statements taken apart into leaves.
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVSyntax.h"
#include "platform/ORVUtilities.h"
#include "platform/src/parse/lexical.h"
#include "StatementText.h"

namespace orv {

using StringUtilities::isSpace;
using StringUtilities::trimmed;
using Leaf = SyntaxTree::Leaf;
using LeafKind = SyntaxTree::LeafKind;

namespace {

// Cuts a whole statement, comment included, into parts that follow each other without gaps.
class Cutter {
 public:
  explicit Cutter(std::string_view whole) : m_whole(whole) {}

  std::vector<Leaf> cut(SyntaxTree::Kind kind)
  {
    const MiniKSLParser::Line line = MiniKSLParser::scan(m_whole);
    const std::size_t comment = StringUtilities::withoutComment(m_whole).size();
    if (!line.text.empty())
      cutStatement(kind, line);
    addBlank(comment);
    if (comment < m_whole.size())
      add(LeafKind::comment, m_whole.substr(comment));
    return std::move(m_leaves);
  }

 private:
  void cutStatement(SyntaxTree::Kind kind, const MiniKSLParser::Line& line)
  {
    switch (kind) {
      case SyntaxTree::Kind::header:
        return cutHeader(line.text);
      case SyntaxTree::Kind::parameter:
        add(LeafKind::parameter, line.text.substr(0, line.mark));
        add(LeafKind::equals, line.text.substr(line.mark, 1));
        return add(LeafKind::value, line.text.substr(line.mark + 1));
      case SyntaxTree::Kind::action:
        return cutAction(line.text);
      case SyntaxTree::Kind::end:
        return add(LeafKind::end, line.text);
      case SyntaxTree::Kind::blank:
      case SyntaxTree::Kind::comment:
      case SyntaxTree::Kind::error:
        return add(LeafKind::error, line.text);
    }
  }

  void cutHeader(std::string_view text)
  {
    std::string_view header = text;
    if (lexical::takeReplaceWord(header))
      add(LeafKind::replace, text.substr(0, text.size() - header.size()));
    const std::size_t colon = header.find(':');
    add(LeafKind::type, header.substr(0, colon));
    add(LeafKind::colon, header.substr(colon, 1));
    add(LeafKind::name, header.substr(colon + 1));
  }

  void cutAction(std::string_view text)
  {
    add(LeafKind::mark, text.substr(0, 1));
    const std::string_view action = trimmed(text.substr(1));
    std::size_t wordEnd = 0;
    while (wordEnd < action.size() && !isSpace(action[wordEnd]))
      ++wordEnd;
    add(LeafKind::word, action.substr(0, wordEnd));
    add(LeafKind::arguments, action.substr(wordEnd));
  }

  // A part of the whole text: what is not white space in it, and the white space before that.
  void add(LeafKind kind, std::string_view part)
  {
    part = trimmed(part);
    if (part.empty())
      return;
    const auto from = static_cast<std::size_t>(part.data() - m_whole.data());
    addBlank(from);
    // White space at the end of a comment is a part of it: nothing comes behind.
    const std::size_t to = kind == LeafKind::comment ? m_whole.size() : from + part.size();
    m_leaves.push_back({kind, from, to - from});
    m_done = to;
  }

  void addBlank(std::size_t to)
  {
    if (to > m_done)
      m_leaves.push_back({LeafKind::blank, m_done, to - m_done});
    m_done = to;
  }

  std::string_view m_whole;
  std::vector<Leaf> m_leaves;
  std::size_t m_done = 0;
};

// Lays the parts of a statement on its lines.
class Placer {
 public:
  Placer(std::string_view text, std::vector<Leaf>& out) : m_text(text), m_out(out) {}

  void place(const std::vector<Leaf>& parts, const std::vector<syntax::Piece>& pieces, std::size_t whole,
             std::size_t end)
  {
    auto part = parts.begin();
    m_done = pieces.front().offset;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
      const bool last = i + 1 == pieces.size();
      const std::size_t joinedEnd = last ? whole : pieces[i + 1].joined;
      const std::size_t shift = pieces[i].offset - pieces[i].joined;
      add(LeafKind::blank, pieces[i].offset);
      std::size_t at = pieces[i].joined;
      while (at < joinedEnd) {
        while (part->offset + part->size <= at)
          ++part;
        at = std::min(part->offset + part->size, joinedEnd);
        add(part->kind, at + shift);
      }
      const std::size_t lineEnd = last ? end : lexical::lineAt(m_text, m_done).next;
      finishLine(lineEnd);
    }
  }

 private:
  // The backslash, white space behind it, and the line end.
  void finishLine(std::size_t end)
  {
    std::size_t textEnd = end;
    if (textEnd > m_done && m_text[textEnd - 1] == '\n')
      --textEnd;
    if (textEnd > m_done && m_text[textEnd - 1] == '\r')
      --textEnd;
    if (m_done < textEnd && m_text[m_done] == '\\')
      add(LeafKind::continuation, m_done + 1);
    add(LeafKind::blank, textEnd);
    add(LeafKind::lineEnd, end);
  }

  void add(LeafKind kind, std::size_t to)
  {
    if (to > m_done)
      m_out.push_back({kind, m_done, to - m_done});
    m_done = to;
  }

  std::string_view m_text;
  std::vector<Leaf>& m_out;
  std::size_t m_done = 0;
};

}  // namespace

void SyntaxTree::leaves(Index index, std::vector<Leaf>& out) const
{
  std::string room;
  std::vector<syntax::Piece> pieces;
  const std::size_t end = m_records[index + 1].offset;
  const std::string_view whole =
      syntax::joinStatement(m_text, m_records[index].offset, end, syntax::Blanks::kept, room, &pieces);
  const std::vector<Leaf> parts = Cutter(whole).cut(m_records[index].kind);
  Placer(m_text, out).place(parts, pieces, whole.size(), end);
}

}  // namespace orv
