#include "rules/NameLinks.h"

#include "rules/NameLink.h"

#include <utility>

namespace orv {

NameLink* NameLinks::find(std::string_view name) const noexcept
{
  if (isTree()) {
    const auto found = tree()->find(name);
    return found == tree()->end() ? nullptr : found->second.get();
  }
  NameLink* link = first();
  while (link && link->name() != name)
    link = link->m_sibling;
  return link;
}

NameLink& NameLinks::insert(std::unique_ptr<NameLink> link)
{
  NameLink& inserted = *link;
  std::size_t count = 0;
  for (const NameLink* at = isTree() ? nullptr : first(); at; at = at->m_sibling)
    ++count;
  if (count == most)
    makeTree();
  if (isTree()) {
    tree()->emplace(inserted.name(), std::move(link));
    return inserted;
  }
  NameLink* before = nullptr;
  NameLink* after = first();
  for (; after && after->name() < inserted.name(); after = after->m_sibling)
    before = after;
  inserted.m_sibling = after;
  if (before)
    before->m_sibling = link.release();
  else
    m_word = reinterpret_cast<std::uintptr_t>(link.release());
  return inserted;
}

// The tree is filled with names first: what can fail comes before the list ends.
void NameLinks::makeTree()
{
  auto made = std::make_unique<Tree>();
  for (const NameLink* link = first(); link; link = link->m_sibling)
    made->emplace(link->name(), nullptr);
  NameLink* link = first();
  for (auto& [name, owner] : *made) {  // in the same order
    owner.reset(link);
    link = std::exchange(link->m_sibling, nullptr);
  }
  m_word = reinterpret_cast<std::uintptr_t>(made.release()) | treeBit;
}

// While a link ends nobody asks for it: what it does is its own.
void NameLinks::clear() noexcept
{
  const bool wasTree = isTree();
  Tree* const links = tree();
  NameLink* link = wasTree ? nullptr : first();
  m_word = 0;
  if (wasTree)
    delete links;
  while (link)
    delete std::exchange(link, link->m_sibling);
}

}  // namespace orv
