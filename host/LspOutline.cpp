#include "LspOutline.h"

#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "database/ObjectFactory.h"

#include <algorithm>
#include <cctype>

using orv::SyntaxTree;
using Index = SyntaxTree::Index;
using Kind = SyntaxTree::Kind;
using LeafKind = SyntaxTree::LeafKind;

namespace {

// The statement of a node: from its first word on, without its line end.
std::pair<std::size_t, std::size_t> saidAt(const SyntaxTree& tree, Index index)
{
  const std::string_view said = orv::StringUtilities::trimmed(tree.source(index));
  return {static_cast<std::size_t>(said.data() - tree.text().data()), said.size()};
}

LspJson symbolOf(const LspText& text, Index header, std::string& room)
{
  const SyntaxTree& tree = text.tree();
  const SyntaxTree::Statement statement = tree.read(header, room);
  const std::string type(statement.first);
  const std::string name(statement.rest);
  const auto [offset, size] = saidAt(tree, header);
  const auto [lastOffset, lastSize] = saidAt(tree, tree[header].last);
  constexpr int classSymbol = 5;
  constexpr int objectSymbol = 19;
  LspJson symbol{{"name", name.empty() ? (type.empty() ? ":" : type) : name},
                 {"kind", name.empty() ? classSymbol : objectSymbol},
                 {"range", rangeOf(text, offset, lastOffset + lastSize - offset)},
                 {"selectionRange", rangeOf(text, offset, size)},
                 {"children", LspJson::array()}};
  if (!name.empty())
    symbol["detail"] = type;
  return symbol;
}

}  // namespace

LspJson symbolsOf(const LspText& text)
{
  constexpr std::size_t deepest = 100;
  const SyntaxTree& tree = text.tree();
  struct Open {
    LspJson* children;
    Index last;
  };
  LspJson top = LspJson::array();
  std::vector<Open> open{{&top, SyntaxTree::none}};
  std::string room;
  for (Index i = 0; i < tree.size(); ++i) {
    if (tree[i].kind != Kind::header)
      continue;
    while (open.size() > 1 && open.back().last < i)
      open.pop_back();
    LspJson& children = *open.back().children;
    children.push_back(symbolOf(text, i, room));
    if (open.size() < deepest)
      open.push_back({&children.back()["children"], tree[i].last});
  }
  return top;
}

namespace {

class Folding {
 public:
  explicit Folding(const LspText& text) : m_text(text), m_tree(text.tree()) {}

  LspJson ranges()
  {
    Index comment = SyntaxTree::none;
    for (Index i = 0; i < m_tree.size(); ++i) {
      const SyntaxTree::Node node = m_tree[i];
      if (node.kind == Kind::comment) {
        comment = comment == SyntaxTree::none ? i : comment;
        continue;
      }
      if (comment != SyntaxTree::none)
        add(comment, i - 1, "comment");
      comment = SyntaxTree::none;
      if (node.kind == Kind::header)
        add(i, node.last, nullptr);
      else if (node.lines > 1)
        add(i, i, nullptr);
    }
    if (comment != SyntaxTree::none)
      add(comment, m_tree.size() - 1, "comment");
    return std::move(m_ranges);
  }

 private:
  void add(Index first, Index last, const char* kind)
  {
    const auto [offset, size] = saidAt(m_tree, last);
    const std::size_t begin = m_text.positionOf(m_tree[first].offset).line;
    const std::size_t end = m_text.positionOf(offset + size).line;
    if (end <= begin)
      return;
    m_ranges.push_back({{"startLine", begin}, {"endLine", end}});
    if (kind)
      m_ranges.back()["kind"] = kind;
  }

  const LspText& m_text;
  const SyntaxTree& m_tree;
  LspJson m_ranges = LspJson::array();
};

}  // namespace

LspJson foldingOf(const LspText& text)
{
  return Folding(text).ranges();
}

LspJson formatEdits(const LspText& text, std::size_t firstLine, std::size_t lastLine)
{
  const SyntaxTree& tree = text.tree();
  const std::vector<std::string> statements = orv::formatKSLStatements(tree);
  LspJson edits = LspJson::array();
  for (Index i = 0; i < tree.size(); ++i) {
    if (statements[i] == tree.source(i))
      continue;
    const SyntaxTree::Node node = tree[i];
    const std::size_t line = text.positionOf(node.offset).line;
    if (line >= firstLine && line <= lastLine)
      edits.push_back(editOf(text, node.offset, node.size, statements[i]));
  }
  return edits;
}

// ---------------------------------------------------------------------------------------------------------- tokens

namespace {

enum Token {
  typeToken,
  nameToken,
  paramToken,
  wordToken,
  signToken,
  commentToken,
  callToken,
  textToken,
  numberToken,
  memberToken
};

class Tokens {
 public:
  explicit Tokens(const LspText& text) : m_text(text), m_tree(text.tree()) {}

  LspJson data(std::size_t firstLine, std::size_t lastLine)
  {
    std::vector<SyntaxTree::Leaf> leaves;
    const std::size_t begin =
        firstLine < m_text.lineCount() ? m_text.lineStart(firstLine) : m_text.text().size();
    const std::size_t end =
        lastLine + 1 < m_text.lineCount() ? m_text.lineStart(lastLine + 1) : m_text.text().size();
    for (Index i = m_tree.at(begin); i < m_tree.size() && m_tree[i].offset < end; ++i) {
      leaves.clear();
      m_tree.leaves(i, leaves);
      for (const SyntaxTree::Leaf& leaf : leaves)
        addLeaf(i, leaf);
    }
    return {{"data", std::move(m_data)}};
  }

 private:
  void addLeaf(Index node, const SyntaxTree::Leaf& leaf)
  {
    switch (leaf.kind) {
      case LeafKind::comment:
        return add(leaf.offset, leaf.size, commentToken);
      case LeafKind::type:
        return isType(leaf) ? add(leaf.offset, leaf.size, typeToken) : void();
      case LeafKind::name:
        return add(leaf.offset, leaf.size, nameToken);
      case LeafKind::parameter:
        return add(leaf.offset, leaf.size, paramToken);
      case LeafKind::replace:
      case LeafKind::end:
        return add(leaf.offset, leaf.size, wordToken);
      case LeafKind::equals:
      case LeafKind::colon:
      case LeafKind::mark:
      case LeafKind::continuation:
        return add(leaf.offset, leaf.size, signToken);
      case LeafKind::word:
        return add(leaf.offset, leaf.size, callToken);
      case LeafKind::value:
        return isMember(node, leaf) ? add(leaf.offset, leaf.size, memberToken) : addPieces(leaf);
      case LeafKind::arguments:
        return addPieces(leaf);
      case LeafKind::blank:
      case LeafKind::lineEnd:
      case LeafKind::error:
        return;
    }
  }

  std::string_view bytesOf(const SyntaxTree::Leaf& leaf) const
  {
    return std::string_view(m_text.text()).substr(leaf.offset, leaf.size);
  }

  bool isType(const SyntaxTree::Leaf& leaf) const
  {
    return bytesOf(leaf) == "RULES" || orv::ObjectFactory::instance()->hasObject(std::string(bytesOf(leaf)));
  }

  // One of the values that the rules list for the parameter.
  bool isMember(Index node, const SyntaxTree::Leaf& leaf)
  {
    const Index parent = m_tree[node].parent;
    if (parent == SyntaxTree::none)
      return false;
    const std::string type(m_tree.read(parent, m_room).first);
    const orv::KSLObject* prototype = orv::ObjectFactory::instance()->findPrototype(type);
    const orv::ParamDefinition* param =
        prototype ? prototype->lookUpParam(std::string(m_tree.read(node, m_room).first)) : nullptr;
    return param && param->getAllowedValues().count(std::string(bytesOf(leaf))) > 0;
  }

  // Texts in quotes and numbers, with their units.
  void addPieces(const SyntaxTree::Leaf& leaf)
  {
    const std::string_view bytes = bytesOf(leaf);
    for (std::size_t i = 0; i < bytes.size();) {
      std::size_t end = i + 1;
      if (bytes[i] == '"') {
        end = std::min(bytes.find('"', end), bytes.size() - 1) + 1;
        add(leaf.offset + i, end - i, textToken);
      } else if (std::isdigit(static_cast<unsigned char>(bytes[i]))) {
        end = std::min(bytes.find_first_not_of("0123456789.eE", i), bytes.size());
        add(leaf.offset + i, end - i, numberToken);
      } else if (std::isalpha(static_cast<unsigned char>(bytes[i])) || bytes[i] == '/' || bytes[i] == '[') {
        const std::string_view behind = bytes[i] == '[' ? "]" : ",+*()";
        end = std::min(bytes.find_first_of(behind, i), bytes.size());
      }
      i = end;
    }
  }

  // The protocol tells tokens of one line each, relative to the one before.
  void add(std::size_t offset, std::size_t size, Token token)
  {
    const LspPosition at = m_text.positionOf(offset);
    const std::size_t units = LspText::unitsIn(std::string_view(m_text.text()).substr(offset, size));
    m_data.insert(m_data.end(), {at.line - m_last.line,
                                 at.line == m_last.line ? at.character - m_last.character : at.character,
                                 units, static_cast<std::size_t>(token), 0});
    m_last = at;
  }

  const LspText& m_text;
  const SyntaxTree& m_tree;
  std::vector<std::size_t> m_data;
  LspPosition m_last;
  std::string m_room;
};

}  // namespace

const std::vector<std::string>& tokenTypes()
{
  static const std::vector<std::string>& types =
      *new std::vector<std::string>{"type",    "variable", "property", "keyword", "operator",
                                    "comment", "function", "string",   "number",  "enumMember"};
  return types;
}

LspJson tokensOf(const LspText& text, std::size_t firstLine, std::size_t lastLine)
{
  return Tokens(text).data(firstLine, lastLine);
}
