#include "platform/ORVSyntax.h"
#include "platform/ORVUtilities.h"
#include "StatementLayout.h"

#include <algorithm>

namespace orv {

using Index = SyntaxTree::Index;
using Kind = SyntaxTree::Kind;
using syntax::StatementLayout;

namespace {

constexpr std::size_t step = 2;  // columns a level
constexpr std::string_view commentGap = "  ";

std::size_t columnsOf(std::string_view text)
{
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), syntax::isColumn));
}

std::string_view withoutEndBlanks(std::string_view text)
{
  while (!text.empty() && StringUtilities::isSpace(text.back()))
    text.remove_suffix(1);
  return text;
}

class Formatter {
 public:
  Formatter(const SyntaxTree& tree, std::size_t width) : m_tree(tree), m_width(width), m_out(tree.size())
  {
    const std::size_t end = tree.text().find('\n');
    m_lineEnd = end != std::string::npos && end > 0 && tree.text()[end - 1] == '\r' ? "\r\n" : "\n";
  }

  std::vector<std::string> format()
  {
    for (Index i = 0; i < m_tree.size(); ++i)
      writeNode(i);
    alignComments();
    return std::move(m_out);
  }

 private:
  // A line with a comment behind its statement, that may get it in one column with its neighbours.
  struct Remark {
    Index node;
    std::string said;  // with its indentation
    std::string comment;
  };

  void writeNode(Index index)
  {
    const Kind kind = m_tree[index].kind;
    if (kind == Kind::blank) {
      alignComments();
      if (m_begun && m_blank == SyntaxTree::none)
        m_blank = index;
      return;
    }
    if (m_blank != SyntaxTree::none)
      m_out[m_blank] = m_lineEnd;
    m_blank = SyntaxTree::none;
    m_begun = true;
    if (kind == Kind::end && m_depth > 0)
      --m_depth;
    writeStatement(index, kind);
    if (kind == Kind::header)
      ++m_depth;
  }

  void writeStatement(Index index, Kind kind)
  {
    join(index, syntax::Blanks::single, m_read);
    join(index, syntax::Blanks::kept, m_kept);
    StatementLayout layout(m_read, m_kept, kind);
    const std::size_t indent = std::min(step * m_depth, m_width / 2);
    layout.wrap(indent, step, m_width);
    if (layout.lineCount() == 1 && !layout.said(0).empty() && !layout.comment(0).empty()) {
      m_remarks.push_back({index, std::string(indent, ' ').append(withoutEndBlanks(layout.said(0))),
                           std::string(layout.comment(0))});
      return;
    }
    alignComments();
    for (std::size_t line = 0; line < layout.lineCount(); ++line)
      writeLine(index, layout, line, indent + (line == 0 ? 0 : step));
  }

  void join(Index index, syntax::Blanks blanks, StatementLayout::Whole& whole)
  {
    const SyntaxTree::Node node = m_tree[index];
    whole.text = syntax::joinStatement(m_tree.text(), node.offset, node.offset + node.size, blanks,
                                       whole.room, &whole.pieces);
  }

  void writeLine(Index index, const StatementLayout& layout, std::size_t line, std::size_t indent)
  {
    const std::string_view comment = layout.comment(line);
    const std::string_view said = layout.said(line);
    const bool last = line + 1 == layout.lineCount();
    std::string& out = m_out[index];
    out.append(indent, ' ').append(last || !comment.empty() ? withoutEndBlanks(said) : said);
    if (!said.empty() && !comment.empty())
      out += commentGap;
    out += comment;
    if (!last)
      out.append("\\").append(m_lineEnd);
    else
      endStatement(out, layout.lineCount() > 1);
  }

  // The reader would take a last backslash for its own. A blank behind it ends a statement of one line, and only an
  // empty line one of several.
  void endStatement(std::string& out, bool several) const
  {
    if (out.back() == '\\')
      out.append(several ? " \\" + m_lineEnd : " ");
    out += m_lineEnd;
  }

  void alignComments()
  {
    std::size_t column = 0;
    std::size_t comment = 0;
    for (const Remark& remark : m_remarks) {
      column = std::max(column, columnsOf(remark.said));
      comment = std::max(comment, columnsOf(remark.comment));
    }
    const bool aligned = column + commentGap.size() + comment <= m_width;
    for (const Remark& remark : m_remarks) {
      std::string& out = m_out[remark.node];
      out = remark.said;
      if (aligned)
        out.append(column - columnsOf(remark.said), ' ');
      out.append(commentGap).append(remark.comment);
      endStatement(out, false);
    }
    m_remarks.clear();
  }

  const SyntaxTree& m_tree;
  const std::size_t m_width;
  std::vector<std::string> m_out;
  std::string m_lineEnd;
  std::size_t m_depth = 0;
  bool m_begun = false;
  Index m_blank = SyntaxTree::none;  // the first of the empty lines under way
  std::vector<Remark> m_remarks;     // of neighbouring lines
  StatementLayout::Whole m_read;     // reused, like the other
  StatementLayout::Whole m_kept;
};

}  // namespace

std::vector<std::string> formatKSLStatements(const SyntaxTree& tree, std::size_t width)
{
  return Formatter(tree, width).format();
}

std::string formatKSL(const SyntaxTree& tree, std::size_t width)
{
  std::string out;
  out.reserve(tree.text().size());
  for (const std::string& statement : formatKSLStatements(tree, width))
    out += statement;
  return out;
}

}  // namespace orv
