#include "LspText.h"

#include "actions/FileText.h"
#include "Libraries.h"

#include <algorithm>
#include <utility>

using orv::SyntaxTree;

namespace {

// Of a character that begins here; 1 for what is no UTF-8.
std::size_t bytesAt(std::string_view text, std::size_t at)
{
  const auto lead = static_cast<unsigned char>(text[at]);
  const std::size_t size = lead < 0xC2 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 1;
  if (at + size > text.size())
    return 1;
  for (std::size_t i = 1; i < size; ++i)
    if ((static_cast<unsigned char>(text[at + i]) & 0xC0) != 0x80)
      return 1;
  return size;
}

SyntaxTree::Reading readingOf(const SyntaxTree& tree)
{
  if (tree.text().starts_with(orv::FileText::stateHead))
    return SyntaxTree::Reading::atEnd;
  return isLibrary(tree) ? SyntaxTree::Reading::library : SyntaxTree::Reading::command;
}

SyntaxTree treeOf(std::string text)
{
  SyntaxTree tree(std::move(text));
  const SyntaxTree::Reading reading = readingOf(tree);
  return reading == tree.reading() ? std::move(tree) : SyntaxTree(tree.text(), reading);
}

}  // namespace

LspText::LspText(std::string text) : m_tree(treeOf(std::move(text))), m_starts{0}
{
  appendStarts(0, this->text().size(), m_starts);
}

// Of the lines whose ends lie from `from` on, and which begin at `limit` at the latest.
void LspText::appendStarts(std::size_t from, std::size_t limit, std::vector<std::uint32_t>& starts) const
{
  const std::string& bytes = text();
  for (std::size_t i = bytes.find_first_of("\r\n", from); i < limit; i = bytes.find_first_of("\r\n", i + 1))
    if (bytes[i] == '\n' || i + 1 == bytes.size() || bytes[i + 1] != '\n')
      starts.push_back(static_cast<std::uint32_t>(i + 1));
}

bool LspText::edit(std::size_t offset, std::size_t removed, std::string_view inserted)
{
  offset = std::min(offset, text().size());
  removed = std::min(removed, text().size() - offset);
  m_tree.edit(offset, removed, inserted);
  moveStarts(offset, removed, inserted.size());
  const SyntaxTree::Reading reading = readingOf(m_tree);
  if (reading == m_tree.reading())
    return false;
  m_tree = SyntaxTree(text(), reading);
  return true;
}

// A line end may be made or undone at either side of what was put in, for CR and LF are one together.
void LspText::moveStarts(std::size_t offset, std::size_t removed, std::size_t inserted)
{
  const std::size_t before = offset == 0 ? 0 : offset - 1;
  const auto first = std::upper_bound(m_starts.begin(), m_starts.end(), before) - 1;
  const auto behind = std::upper_bound(first + 1, m_starts.end(), offset + removed + 1);
  std::vector<std::uint32_t> fresh;
  appendStarts(*first, std::min(offset + inserted + 1, text().size()), fresh);
  for (auto start = behind; start != m_starts.end(); ++start)
    *start += static_cast<std::uint32_t>(inserted - removed);
  const auto at = m_starts.erase(first + 1, behind);
  m_starts.insert(at, fresh.begin(), fresh.end());
}

std::size_t LspText::offsetOf(const LspPosition& position) const
{
  if (position.line >= m_starts.size())
    return text().size();
  const std::string_view bytes = text();
  std::size_t at = m_starts[position.line];
  std::size_t end = position.line + 1 < m_starts.size() ? m_starts[position.line + 1] : bytes.size();
  while (end > at && (bytes[end - 1] == '\n' || bytes[end - 1] == '\r'))
    --end;
  for (std::size_t units = 0; at < end;) {
    const std::size_t size = bytesAt(bytes, at);
    units += size == 4 ? 2 : 1;
    if (units > position.character)
      break;
    at += size;
  }
  return at;
}

std::size_t LspText::unitsIn(std::string_view bytes)
{
  std::size_t units = 0;
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t size = bytesAt(bytes, at);
    units += size == 4 ? 2 : 1;
    at += size;
  }
  return units;
}

LspPosition LspText::positionOf(std::size_t offset) const
{
  offset = std::min(offset, text().size());
  const auto line = std::upper_bound(m_starts.begin(), m_starts.end(), offset) - 1;
  LspPosition position{static_cast<std::size_t>(line - m_starts.begin()), 0};
  for (std::size_t at = *line; at < offset;) {
    const std::size_t size = bytesAt(text(), at);
    at += size;
    position.character += at > offset ? 0 : size == 4 ? 2 : 1;
  }
  return position;
}
