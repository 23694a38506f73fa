#include "StoreTree.h"

#include <algorithm>
#include <utility>

namespace orv::store {

namespace {

constexpr std::size_t smallNode = 24;  // up to so many parameters are searched one by one
constexpr std::size_t firstIndexSize = 64;
constexpr std::size_t usualLimit = 64;  // a sibling's number of parameters is a good guess up to here

}  // namespace

std::string_view lastComponent(const SharedText& path)
{
  const std::string_view component = path.component();
  return component.substr(component.starts_with('/') ? 1 : 0);
}

std::string_view typeOf(std::string_view component)
{
  return component.substr(0, component.find(':'));
}

std::string_view nameOf(std::string_view component)
{
  const std::size_t colon = component.find(':');
  return colon == std::string_view::npos ? component : component.substr(colon + 1);
}

Tree::Tree() : m_slots(firstIndexSize) {}

Tree::~Tree()
{
  destroyBelow(&m_root);
}

// -------------------------------------------------------------------------------------------------------- nodes

template <class Accept>
Node* Tree::findIf(std::uint32_t hash, Accept accept) const
{
  const std::size_t mask = m_slots.size() - 1;
  for (std::size_t at = hash & mask; m_slots[at].node; at = (at + 1) & mask) {
    if (m_slots[at].hash == hash && accept(*m_slots[at].node))
      return m_slots[at].node;
  }
  return nullptr;
}

Node* Tree::find(std::string_view path, std::uint32_t hash) const
{
  if (path.empty())
    return const_cast<Node*>(&m_root);
  return findIf(hash, [path](const Node& node) { return node.path == path; });
}

Node* Tree::find(const SharedText& path) const
{
  if (m_lastNode && m_lastPath.same(path))
    return m_lastNode;
  if (path.empty())
    return const_cast<Node*>(&m_root);
  Node* node = findIf(path.hash(), [&path](const Node& other) { return other.path == path; });
  if (node) {
    m_lastPath = path;
    m_lastNode = node;
  }
  return node;
}

Node* Tree::findParent(const SharedText& path) const
{
  return path.isLong() ? find(path.parent()) : find(PathUtils::parentPath(path.str()));
}

Node* Tree::findBelow(const Node* parent, std::string_view component) const
{
  return findIf(parent->path.hashBelow(component), [&](const Node& node) {
    return node.parent == parent && node.path.component() == component;
  });
}

Node* Tree::create(Node* parent, SharedText path, ParamRun params)
{
  if ((m_size + 1) * 3 > m_slots.size() * 2)
    growIndex();
  auto node = std::make_unique<Node>();
  const bool isOwn = path.size() <= SharedText::longestWhole || path.parent().same(parent->path);
  node->path = isOwn ? std::move(path) : parent->path.below(path.component());
  node->parent = parent;
  if (!params.empty())
    node->nextPlace = params.place(params.size() - 1) + 1;
  node->params = std::move(params);
  if (node->params.size() > smallNode)
    makeParamIndex(node.get());
  link(node.get());
  insertIndex(node.get());
  return node.release();
}

void Tree::remove(Node* node) noexcept
{
  if (node == &m_root)
    return destroyBelow(node);
  detach(node);
  destroy(node);
}

// Top first; children in their order.
template <class Visit>
void Tree::forEachFrom(Node* top, Visit visit) noexcept
{
  for (Node* at = top; at;) {
    visit(at);
    if (at->firstChild) {
      at = at->firstChild;
      continue;
    }
    while (at != top && !at->next)
      at = at->parent;
    at = at == top ? nullptr : at->next;
  }
}

void Tree::detach(Node* node) noexcept
{
  ++m_removals;
  m_lastNode = nullptr;
  m_lastPath = SharedText();
  forEachFrom(node, [this](Node* at) { eraseIndex(at); });
  unlink(node);
}

void Tree::attach(Node* node) noexcept
{
  Node* parent = node->parent;
  (node->previous ? node->previous->next : parent->firstChild) = node;
  (node->next ? node->next->previous : parent->lastChild) = node;
  forEachFrom(node, [this](Node* at) { insertIndex(at); });
}

void Tree::moveLast(Node* node) noexcept
{
  unlink(node);
  node->next = nullptr;
  link(node);
}

void Tree::destroy(Node* node) noexcept
{
  for (Node* at = node; at;) {
    if (at->firstChild) {
      at = std::exchange(at->firstChild, nullptr);
      continue;
    }
    Node* const parent = at == node ? nullptr : at->parent;
    Node* const after = at == node ? nullptr : at->next;
    delete at;
    at = after ? after : parent;
  }
}

void Tree::destroyBelow(Node* node) noexcept
{
  while (Node* child = node->firstChild) {
    detach(child);
    destroy(child);
  }
}

void Tree::link(Node* node) noexcept
{
  Node* parent = node->parent;
  node->place = parent->nextPlace++;
  node->previous = parent->lastChild;
  (parent->lastChild ? parent->lastChild->next : parent->firstChild) = node;
  parent->lastChild = node;
}

void Tree::unlink(Node* node) noexcept
{
  Node* parent = node->parent;
  (node->previous ? node->previous->next : parent->firstChild) = node->next;
  (node->next ? node->next->previous : parent->lastChild) = node->previous;
}

// -------------------------------------------------------------------------------------------------------- index

void Tree::growIndex()
{
  std::vector<Slot> old(m_slots.size() * 2);
  old.swap(m_slots);
  const std::size_t mask = m_slots.size() - 1;
  for (const Slot& slot : old) {
    if (!slot.node)
      continue;
    std::size_t at = slot.hash & mask;
    while (m_slots[at].node)
      at = (at + 1) & mask;
    m_slots[at] = slot;
  }
}

void Tree::insertIndex(Node* node) noexcept
{
  const std::uint32_t hash = node->path.hash();
  const std::size_t mask = m_slots.size() - 1;
  std::size_t at = hash & mask;
  while (m_slots[at].node)
    at = (at + 1) & mask;
  m_slots[at] = {hash, node};
  ++m_size;
}

// Closes the gap by moving later entries of the run back, so that a search never meets a hole that was an
// entry.
void Tree::eraseIndex(const Node* node) noexcept
{
  const std::size_t mask = m_slots.size() - 1;
  std::size_t gap = node->path.hash() & mask;
  while (m_slots[gap].node != node)
    gap = (gap + 1) & mask;
  for (std::size_t at = (gap + 1) & mask; m_slots[at].node; at = (at + 1) & mask) {
    const std::size_t home = m_slots[at].hash & mask;
    if (((at - home) & mask) < ((at - gap) & mask))
      continue;
    m_slots[gap] = m_slots[at];
    gap = at;
  }
  m_slots[gap] = Slot();
  --m_size;
}

// --------------------------------------------------------------------------------------------------- parameters

std::size_t Tree::findParam(const Node* node, const SharedText& name) const
{
  if (node->paramIndex) {
    const auto found = node->paramIndex->find(name.id());
    return found == node->paramIndex->end() ? none : found->second;
  }
  const std::size_t size = node->params.size();
  for (std::size_t i = 0; i < size; ++i) {
    if (node->params.name(i).same(name))
      return i;
  }
  return none;
}

void Tree::appendParam(Node* node, const SharedText& name, SharedText&& value)
{
  ParamRun& params = node->params;
  if (params.empty() && node->previous)  // siblings are alike
    params.reserve(std::min(node->previous->params.size(), usualLimit));
  const void* id = name.id();
  if (!node->paramIndex && params.size() == smallNode)
    makeParamIndex(node);
  if (node->paramIndex)
    node->paramIndex->emplace(id, static_cast<std::uint32_t>(params.size()));
  try {
    params.append({name, std::move(value), node->nextPlace});
  } catch (...) {
    if (node->paramIndex)
      node->paramIndex->erase(id);
    throw;
  }
  ++node->nextPlace;
}

// From here on nobody else shows its parameters, so each can be written at a constant cost.
void Tree::makeParamIndex(Node* node)
{
  auto index = std::make_unique<std::unordered_map<const void*, std::uint32_t>>();
  for (std::size_t i = 0; i < node->params.size(); ++i)
    index->emplace(node->params.name(i).id(), static_cast<std::uint32_t>(i));
  node->params.unshare();
  node->paramIndex = std::move(index);
}

void Tree::changeParam(Node* node, std::size_t param, SharedText value)
{
  node->params.setValue(param, std::move(value));
}

void Tree::removeParam(Node* node, std::size_t param)
{
  ParamRun& params = node->params;
  if (!node->paramIndex)
    return params.erase(param);
  node->paramIndex->erase(params.name(param).id());
  Param& hole = params.own(param);
  hole.name = SharedText();
  hole.value = SharedText();
  ++node->holes;
  dropHoles(node);
  if (2 * node->holes > params.size())
    closeHoles(node);
}

void Tree::dropNewestParam(Node* node) noexcept
{
  if (node->paramIndex)
    node->paramIndex->erase(node->params.name(node->params.size() - 1).id());
  node->params.truncate(node->params.size() - 1);
  dropHoles(node);
}

// At the end.
void Tree::dropHoles(Node* node) noexcept
{
  std::size_t size = node->params.size();
  for (; size > 0 && node->params.name(size - 1).empty(); --size)
    --node->holes;
  if (size < node->params.size())
    node->params.truncate(size);
}

namespace {

// Of the first parameter that does not stand before a place.
std::size_t indexOfPlace(const ParamRun& params, std::uint32_t place)
{
  std::size_t first = 0;
  for (std::size_t count = params.size(); count > 0;) {
    const std::size_t half = count / 2;
    const bool isBefore = params.place(first + half) < place;
    first += isBefore ? half + 1 : 0;
    count = isBefore ? count - half - 1 : half;
  }
  return first;
}

}  // namespace

void Tree::restoreParam(Node* node, Param param)
{
  ParamRun& params = node->params;
  const std::size_t index = indexOfPlace(params, param.place);
  if (node->paramIndex)
    node->paramIndex->emplace(param.name.id(), static_cast<std::uint32_t>(index));
  if (index < params.size() && params.place(index) == param.place) {  // the hole that it left
    params.own(index) = std::move(param);
    --node->holes;
    return;
  }
  params.insert(index, std::move(param));
  for (std::size_t i = index + 1; node->paramIndex && i < params.size(); ++i) {
    if (!params.name(i).empty())
      node->paramIndex->find(params.name(i).id())->second = static_cast<std::uint32_t>(i);
  }
}

void Tree::closeHoles(Node* node) noexcept
{
  node->params.dropNameless();
  node->holes = 0;
  for (std::size_t i = 0; i < node->params.size(); ++i)
    node->paramIndex->find(node->params.name(i).id())->second = static_cast<std::uint32_t>(i);
}

SharedText Tree::intern(std::string_view text)
{
  const auto found = m_names.find(text);
  return found != m_names.end() ? *found : *m_names.emplace(text).first;
}

SharedText Tree::internNext(const Node* node, std::string_view text)
{
  const std::size_t at = node->params.size();
  const Node* const like = node->previous;
  const bool isAlike = like && at < like->params.size() && like->params.name(at) == text;
  return isAlike ? like->params.name(at) : intern(text);
}

SharedText Tree::intern(const SharedText& text)
{
  SharedText& recent =
      m_recentNames[(reinterpret_cast<std::uintptr_t>(text.id()) >> 4) % m_recentNames.size()];
  if (!recent.same(text)) {
    const auto found = m_names.find(text);
    const SharedText interned = found != m_names.end() ? *found : *m_names.insert(text).first;
    if (!interned.same(text))
      return interned;
    recent = interned;
  }
  return text;
}

SharedText Tree::findInterned(std::string_view text) const
{
  const auto found = m_names.find(text);
  return found == m_names.end() ? SharedText() : *found;
}

}  // namespace orv::store
