#include "CheckedNames.h"

#include "platform/ORVUtilities.h"
#include "database/FormulaNames.h"

#include <algorithm>
#include <cctype>
#include <tuple>
#include <utility>

namespace orv {

namespace {

bool isOfName(char c)
{
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '.';
}

// The places where a name stands as such: no part of a longer word, of units or of what is in quotes.
template <class Take>
void forEachWord(std::string_view text, std::string_view name, Take take)
{
  char closing = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (closing) {
      closing = text[i] == closing ? 0 : closing;
      continue;
    }
    if (text[i] == '[' || text[i] == '"') {
      closing = text[i] == '[' ? ']' : '"';
      continue;
    }
    const bool isWord = text.substr(i, name.size()) == name && (i == 0 || !isOfName(text[i - 1]))
                        && (i + name.size() == text.size() || !isOfName(text[i + name.size()]));
    if (!isWord)
      continue;
    take(text.substr(i, name.size()));
    i += name.size() - 1;
  }
}

// The items of a list as they are written, blanks round them left out.
std::vector<std::string_view> itemsOf(std::string_view text)
{
  std::vector<std::string_view> items;
  std::size_t begin = 0;
  bool quoted = false;
  for (std::size_t i = 0; i <= text.size(); ++i) {
    if (i < text.size() && text[i] == '"')
      quoted = !quoted;
    if (i < text.size() && (quoted || text[i] != ','))
      continue;
    items.push_back(StringUtilities::trimmed(text.substr(begin, i - begin)));
    begin = i + 1;
  }
  return items;
}

}  // namespace

std::string_view CheckedNames::bytesOf(Index node, LeafKind kind) const
{
  std::vector<SyntaxTree::Leaf> leaves;
  m_tree->leaves(node, leaves);
  std::size_t begin = std::string::npos;
  std::size_t end = 0;
  for (const SyntaxTree::Leaf& leaf : leaves)
    if (leaf.kind == kind) {
      begin = std::min(begin, leaf.offset);
      end = leaf.offset + leaf.size;
    }
  return begin == std::string::npos ? std::string_view()
                                    : std::string_view(m_tree->text()).substr(begin, end - begin);
}

void CheckedNames::add(std::string_view bytes, const std::string& name, bool isExpression, bool isDefinition)
{
  if (bytes.empty())
    return;
  const auto offset = static_cast<std::size_t>(bytes.data() - m_tree->text().data());
  m_names.push_back({m_text, offset, bytes.size(), name, isExpression, isDefinition});
}

void CheckedNames::addHeader(Index node, const std::string& path)
{
  const std::string_view name = bytesOf(node, LeafKind::name);
  add(name.empty() ? bytesOf(node, LeafKind::type) : name, path, false, true);
}

void CheckedNames::addDefined(Index node, const std::string& name)
{
  add(bytesOf(node, LeafKind::parameter), name, true, true);
}

void CheckedNames::addUses(Index node, const std::string& name, bool isExpression, const std::string& target)
{
  forEachWord(bytesOf(node, LeafKind::value), name,
              [&](std::string_view word) { add(word, target, isExpression, false); });
}

void CheckedNames::addFormulaUses(Index node, const std::string& written, std::size_t length,
                                  const std::string& target)
{
  FormulaNames::forEachName(bytesOf(node, LeafKind::value),
                            [&](const std::string& name, std::string_view bytes) {
                              if (name == written)
                                add(bytes.substr(0, length), target, false, false);
                            });
}

void CheckedNames::addItem(Index node, std::size_t item, const std::string& path)
{
  const std::vector<std::string_view> items = itemsOf(bytesOf(node, LeafKind::value));
  if (item < items.size() && items[item].find('\n') == std::string_view::npos)
    add(items[item], path, false, false);
}

void CheckedNames::addArgument(Index node, std::string_view word, const std::string& path)
{
  for (std::string_view item : itemsOf(bytesOf(node, LeafKind::arguments))) {
    if (const std::size_t equals = item.find('='); equals != std::string_view::npos)
      item = StringUtilities::trimmed(item.substr(equals + 1));
    if (item == word)
      add(item, path, false, false);
  }
}

// A value that several parameters' checks look at is told once.
std::vector<NameInText> CheckedNames::take()
{
  const auto key = [](const NameInText& name) { return std::tie(name.text, name.offset, name.size); };
  std::stable_sort(m_names.begin(), m_names.end(),
                   [&](const NameInText& a, const NameInText& b) { return key(a) < key(b); });
  m_names.erase(std::unique(m_names.begin(), m_names.end(),
                            [&](const NameInText& a, const NameInText& b) { return key(a) == key(b); }),
                m_names.end());
  return std::exchange(m_names, {});
}

}  // namespace orv
