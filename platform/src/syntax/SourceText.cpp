#include "platform/ORVSourceText.h"
#include "platform/ORVUtilities.h"
#include "platform/src/parse/lexical.h"

#include <algorithm>
#include <cctype>

namespace orv {

using Kind = SyntaxTree::Kind;
using Leaf = SyntaxTree::Leaf;
using LeafKind = SyntaxTree::LeafKind;

namespace {

std::string keyOf(std::string_view path, std::string_view parameter)
{
  std::string key(path);
  if (!parameter.empty())
    key.append("\n").append(parameter);
  return key;
}

bool isWord(char c)
{
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

// Where the words stand, whole when they do somewhere.
std::size_t findWords(std::string_view text, std::string_view words)
{
  if (words.empty())
    return std::string_view::npos;
  for (std::size_t at = text.find(words); at != std::string_view::npos; at = text.find(words, at + 1)) {
    const std::size_t behind = at + words.size();
    const bool begins = at == 0 || !isWord(text[at - 1]) || !isWord(words.front());
    if (begins && (behind == text.size() || !isWord(text[behind]) || !isWord(words.back())))
      return at;
  }
  return text.find(words);
}

// A blank behind the mark of an action, or none, is the same.
std::string_view withoutMark(std::string_view statement)
{
  const std::string_view text = StringUtilities::trimmed(statement);
  return text.starts_with('>') ? StringUtilities::trimmed(text.substr(1)) : text;
}

bool says(LeafKind kind)
{
  return kind != LeafKind::blank && kind != LeafKind::lineEnd && kind != LeafKind::comment
         && kind != LeafKind::continuation;
}

}  // namespace

SourceText::SourceText(std::string name, std::string text, SyntaxTree::Reading reading,
                       AppendComponent append, std::size_t firstLine)
    : m_name(std::move(name)),
      m_tree(std::move(text), reading),
      m_append(std::move(append)),
      m_firstLine(firstLine)
{}

void SourceText::makeEntries() const
{
  std::string room;
  std::string path;
  std::vector<std::pair<Index, std::size_t>> open;  // headers, and how long the path is without them
  const std::hash<std::string_view> hash;
  for (Index i = 0; i < m_tree.size(); ++i) {
    const SyntaxTree::Node node = m_tree[i];
    if (node.kind != Kind::header && node.kind != Kind::parameter)
      continue;
    for (; !open.empty() && open.back().first != node.parent; open.pop_back())
      path.resize(open.back().second);
    const SyntaxTree::Statement statement = m_tree.read(i, room);
    if (node.kind == Kind::parameter) {
      m_entries.emplace_back(hash(keyOf(path, statement.first)), i);
      continue;
    }
    open.emplace_back(i, path.size());
    m_append(path, statement.first, statement.rest);
    m_entries.emplace_back(hash(path), i);
  }
  std::sort(m_entries.begin(), m_entries.end());
}

// none when nobody has the key.
SourceText::Index SourceText::lastOf(const std::string& key, Index behind) const
{
  const std::size_t hash = std::hash<std::string_view>()(key);
  const auto next = std::lower_bound(m_entries.begin(), m_entries.end(), Entry(hash, behind));
  if (next == m_entries.begin() || std::prev(next)->first != hash)
    return SyntaxTree::none;
  return std::prev(next)->second;
}

bool SourceText::placeObject(Diagnostic& error, std::size_t lastLine) const
{
  if (error.object.empty() || m_tree.size() == 0)
    return false;
  if (m_entries.empty())
    makeEntries();
  const Index last = m_tree.atLine(lastLine);
  const Index behind = last == SyntaxTree::none ? m_tree.size() : last + 1;
  Index at = SyntaxTree::none;
  if (!error.parameter.empty())
    at = lastOf(keyOf(error.object, error.parameter), behind);
  if (at == SyntaxTree::none) {
    at = lastOf(error.object, behind);
    if (at != SyntaxTree::none && error.parameter.empty())
      at = holderOf(error.subject, at);
  }
  if (at == SyntaxTree::none)
    return false;
  placeNode(error, at);
  return true;
}

// The header itself when it is it, or nobody is.
SourceText::Index SourceText::holderOf(const std::string& subject, Index header) const
{
  std::string room;
  if (subject.empty() || findWords(m_tree.read(header, room).text, subject) != std::string_view::npos)
    return header;
  for (Index i = m_tree.firstChild(header); i != SyntaxTree::none; i = m_tree.next(i))
    if (m_tree[i].kind == Kind::parameter
        && findWords(m_tree.read(i, room).rest, subject) != std::string_view::npos)
      return i;
  return header;
}

bool SourceText::placeLine(Diagnostic& error, std::size_t line) const
{
  Index at = m_tree.atLine(line);
  if (at == SyntaxTree::none)
    return false;
  const SyntaxTree::Node node = m_tree[at];
  if (node.kind == Kind::end && node.parent != SyntaxTree::none)
    at = node.parent;
  placeNode(error, at);
  return true;
}

bool SourceText::placeText(Diagnostic& error, std::string_view statement) const
{
  const std::string_view wanted = withoutMark(StringUtilities::withoutComment(statement));
  std::string room;
  for (Index i = 0; i < m_tree.size(); ++i) {
    if (withoutMark(m_tree.read(i, room).text) != wanted)
      continue;
    placeNode(error, i);
    return true;
  }
  return false;
}

void SourceText::placeNode(Diagnostic& error, Index index) const
{
  std::vector<Leaf> leaves;
  m_tree.leaves(index, leaves);
  const std::string_view text = m_tree.text();
  const Kind kind = m_tree[index].kind;
  // A parameter that is no parameter is meant itself, any other by its value.
  const bool skipsName = kind == Kind::parameter && error.subject != error.parameter;
  const LeafKind mainLeaf = error.parameter.empty() ? LeafKind::error : LeafKind::value;
  for (const Leaf& leaf : leaves) {
    if (!says(leaf.kind) || (skipsName && leaf.kind == LeafKind::parameter))
      continue;
    const std::size_t at = findWords(text.substr(leaf.offset, leaf.size), error.subject);
    if (at != std::string_view::npos)
      return placeBytes(error, leaf.offset + at, error.subject.size());
  }
  for (const Leaf& leaf : leaves)
    if (leaf.kind == mainLeaf)
      return placeBytes(error, leaf.offset, leaf.size);
  const auto first =
      std::find_if(leaves.begin(), leaves.end(), [](const Leaf& leaf) { return says(leaf.kind); });
  if (first == leaves.end())
    return placeBytes(error, m_tree[index].offset, 0);
  const std::string_view line = lexical::lineAt(text, first->offset).text;
  placeBytes(error, first->offset, StringUtilities::trimmed(StringUtilities::withoutComment(line)).size());
}

void SourceText::placeEnds(Diagnostic& error, const std::function<bool(std::string_view)>& isType) const
{
  constexpr std::size_t most = 4;  // those behind follow from the first, as a rule
  const std::vector<SyntaxNote> causes = explainEnds(m_tree, isType);
  placeBytes(error, causes.empty() ? m_tree.text().size() : causes.front().offset,
             causes.empty() ? 0 : causes.front().size);
  for (std::size_t i = 0; i < std::min(causes.size(), most); ++i) {
    Diagnostic place;
    placeBytes(place, causes[i].offset, causes[i].size);
    error.notes.push_back({place.line, place.column, causes[i].message});
    if (causes[i].reason != SyntaxNote::Reason::leftOpen || causes[i].next == SyntaxTree::none)
      continue;
    placeNode(place, causes[i].next);
    error.notes.push_back({place.line, place.column, "The next one begins here."});
  }
}

void SourceText::placeBytes(Diagnostic& error, std::size_t offset, std::size_t size) const
{
  const SyntaxTree::Position position = m_tree.position(offset);
  const std::string_view text = m_tree.text();
  const std::size_t begin = offset - (position.column - 1);
  error.source = m_name;
  error.line = position.line + m_firstLine - 1;
  error.column = position.column;
  error.lineText = lexical::lineAt(text, begin).text;
  error.length = std::min(size, error.lineText.size() - std::min(error.lineText.size(), position.column - 1));
}

}  // namespace orv
