#include "platform/ORVException.h"
#include "platform/ORVKSLAPI.h"
#include "platform/internal/ChangeGroup.h"

#include <algorithm>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace orv {

// ------------------------------------------------------------------------------------------------------ changes

KSLChange KSLChange::createObject(SharedText path)
{
  return {Kind::createObject, std::move(path), {}, {}, {}};
}

KSLChange KSLChange::deleteObject(SharedText path)
{
  return {Kind::deleteObject, std::move(path), {}, {}, {}};
}

KSLChange KSLChange::createParam(SharedText path, SharedText name, SharedText value)
{
  return {Kind::createParam, std::move(path), std::move(name), std::move(value), {}};
}

KSLChange KSLChange::deleteParam(SharedText path, SharedText name, SharedText value)
{
  return {Kind::deleteParam, std::move(path), std::move(name), std::move(value), {}};
}

KSLChange KSLChange::changeParam(SharedText path, SharedText name, SharedText value, SharedText oldValue)
{
  return {Kind::changeParam, std::move(path), std::move(name), std::move(value), std::move(oldValue)};
}

KSLChange KSLChange::inverse() const
{
  KSLChange change = *this;
  switch (kind) {
    case Kind::createObject:
      change.kind = Kind::deleteObject;
      break;
    case Kind::deleteObject:
      change.kind = Kind::createObject;
      break;
    case Kind::createParam:
      change.kind = Kind::deleteParam;
      break;
    case Kind::deleteParam:
      change.kind = Kind::createParam;
      break;
    case Kind::changeParam:
      std::swap(change.value, change.oldValue);
      break;
  }
  return change;
}

ChangeListModifierIF::~ChangeListModifierIF() = default;

KSLChangeProcessor::~KSLChangeProcessor() = default;

void KSLChangeProcessor::visit(const KSLChange& change)
{
  const WholePath path(change.path);
  switch (change.kind) {
    case KSLChange::Kind::createObject:
      return newObject(path.str());
    case KSLChange::Kind::deleteObject:
      return deletedObject(path.str());
    case KSLChange::Kind::createParam:
      return newParam(path.str(), change.name.str(), change.value.str());
    case KSLChange::Kind::deleteParam:
      return deletedParam(path.str(), change.name.str(), change.value.str());
    case KSLChange::Kind::changeParam:
      return changedParam(path.str(), change.name.str(), change.value.str(), change.oldValue.str());
  }
}

// --------------------------------------------------------------------------------------------------------- list

struct KSLChangeList::Chunk {
  std::vector<ChangeGroup> groups;  // never empty
  std::size_t first;                // change
};

namespace {

// Chunks double up to a size that the allocator is quick with, and every chunk has room for so many groups from then
// on.
constexpr std::size_t firstChunk = 2;
constexpr std::size_t doublings = 3;

std::size_t chunkCapacity(std::size_t chunk)
{
  return firstChunk << std::min(chunk, doublings);
}

}  // namespace

KSLChangeList::KSLChangeList(const std::string& name, ChangeListModifierIF* modifier)
    : KSLChangeList(SharedText(std::string_view(name)), modifier)
{}

KSLChangeList::KSLChangeList(SharedText name, ChangeListModifierIF* modifier)
    : m_name(std::move(name)),
      m_modifier(modifier)
{}

KSLChangeList::KSLChangeList(const KSLChangeList& other) : KSLChangeList(other.m_name, nullptr)
{
  if (!other.empty())
    append(ChangeGroup(*other.first()));
  for (const Chunk& chunk : other.m_chunks) {
    for (const ChangeGroup& group : chunk.groups)
      append(ChangeGroup(group));
  }
  m_modifier = other.m_modifier;
}

KSLChangeList::KSLChangeList(KSLChangeList&& other) noexcept
    : m_name(std::move(other.m_name)),
      m_modifier(other.m_modifier)
{
  swapChanges(other);
}

KSLChangeList& KSLChangeList::operator=(KSLChangeList other) noexcept
{
  std::swap(m_name, other.m_name);
  std::swap(m_modifier, other.m_modifier);
  swapChanges(other);
  return *this;
}

KSLChangeList::~KSLChangeList()
{
  if (!empty())
    dropAll();
}

void KSLChangeList::createObject(const std::string& path)
{
  add(KSLChange::createObject(SharedText(path)));
}

void KSLChangeList::deleteObject(const std::string& path)
{
  add(KSLChange::deleteObject(SharedText(path)));
}

void KSLChangeList::createParam(const std::string& path, const std::string& name, const std::string& value)
{
  add(KSLChange::createParam(SharedText(path), SharedText(name), SharedText(value)));
}

void KSLChangeList::deleteParam(const std::string& path, const std::string& name, const std::string& value)
{
  add(KSLChange::deleteParam(SharedText(path), SharedText(name), SharedText(value)));
}

void KSLChangeList::changeParam(const std::string& path, const std::string& name, const std::string& newValue,
                                const std::string& oldValue)
{
  add(KSLChange::changeParam(SharedText(path), SharedText(name), SharedText(newValue), SharedText(oldValue)));
}

void KSLChangeList::add(KSLChange change)
{
  if (m_modifier && !m_modifier->modify(change))
    return;
  ChangeGroup* const group = last();
  if (group && group->take(change))
    ++m_size;
  else
    append(ChangeGroup(std::move(change)));
}

ChangeGroup* KSLChangeList::first() noexcept
{
  static_assert(sizeof(ChangeGroup) <= groupSize && alignof(ChangeGroup) <= alignof(void*));
  static_assert(std::is_nothrow_move_constructible_v<ChangeGroup>);
  return std::launder(reinterpret_cast<ChangeGroup*>(m_first));
}

const ChangeGroup* KSLChangeList::first() const noexcept
{
  return std::launder(reinterpret_cast<const ChangeGroup*>(m_first));
}

ChangeGroup* KSLChangeList::last() noexcept
{
  if (!m_chunks.empty())
    return &m_chunks.back().groups.back();
  return empty() ? nullptr : first();
}

ChangeGroup& KSLChangeList::append(ChangeGroup&& group)
{
  const std::size_t changes = group.size();
  if (empty()) {
    m_size = changes;
    return *new (m_first) ChangeGroup(std::move(group));
  }
  if (m_chunks.empty() || m_chunks.back().groups.size() == chunkCapacity(m_chunks.size() - 1)) {
    Chunk chunk{{}, m_size};
    chunk.groups.reserve(chunkCapacity(m_chunks.size()));
    chunk.groups.push_back(std::move(group));
    m_chunks.push_back(std::move(chunk));
  } else {
    m_chunks.back().groups.push_back(std::move(group));
  }
  m_size += changes;
  return m_chunks.back().groups.back();
}

KSLChange KSLChangeList::operator[](std::size_t index) const
{
  ChangeGroups::Cursor cursor(*this);
  const ChangeGroup* const group = cursor.find(index);
  return (*group)[index - cursor.first()];
}

void KSLChangeList::clear()
{
  ++m_cuts;
  if (!empty())
    dropAll();
}

// REQUIRES: there are some.
void KSLChangeList::dropAll() noexcept
{
  std::destroy_at(first());
  m_size = 0;
  if (!m_chunks.empty())
    m_chunks.clear();
}

void KSLChangeList::swapChanges(KSLChangeList& other) noexcept
{
  ++m_cuts;
  ++other.m_cuts;
  if (!empty() && !other.empty()) {
    std::swap(*first(), *other.first());
  } else if (!empty() || !other.empty()) {
    KSLChangeList& from = empty() ? other : *this;
    KSLChangeList& to = empty() ? *this : other;
    new (to.m_first) ChangeGroup(std::move(*from.first()));
    std::destroy_at(from.first());
  }
  std::swap(m_chunks, other.m_chunks);
  std::swap(m_size, other.m_size);
}

void KSLChangeList::truncate(std::size_t size) noexcept
{
  ++m_cuts;
  while (m_size > size) {
    ChangeGroup& group = *last();
    const std::size_t before = m_size - group.size();
    if (before < size) {
      group.truncate(size - before);
      m_size = size;
      return;
    }
    if (before == 0)
      return dropAll();
    m_size = before;
    m_chunks.back().groups.pop_back();
    if (m_chunks.back().groups.empty())
      m_chunks.pop_back();
  }
}

void KSLChangeList::process(Direction direction, KSLChangeProcessor* processor) const
{
  // Each change is a copy: a processor may clear the list that it is being shown.
  ChangeGroups::Cursor cursor(*this);
  const auto show = [&](std::size_t index) {
    const ChangeGroup* const group = cursor.find(index);
    const KSLChange change = (*group)[index - cursor.first()];
    processor->visit(change);
  };
  if (direction == Direction::forward) {
    for (std::size_t i = 0; i < m_size; ++i)
      show(i);
    return;
  }
  for (std::size_t i = m_size; i-- > 0; i = std::min(i, m_size))
    show(i);
}

// ------------------------------------------------------------------------------------------------------- groups

void ChangeGroups::add(KSLChangeList& list, ChangeGroup group)
{
  if (!list.m_modifier) {
    list.append(std::move(group));
    return;
  }
  const std::size_t before = list.size();
  try {
    for (std::size_t i = 0; i < group.size(); ++i)
      list.add(group[i]);
  } catch (...) {
    list.truncate(before);
    throw;
  }
}

void ChangeGroups::addNewest(KSLChangeList& list, const SharedText& path, const store::ParamRun& params)
{
  ChangeGroup* const group = list.m_modifier ? nullptr : list.last();
  if (group && group->take(path, params)) {
    ++list.m_size;
    return;
  }
  ChangeGroup::Listed listed;
  listed.run = params;
  listed.from = static_cast<std::uint32_t>(params.size() - 1);
  listed.ofNode = true;
  add(list, ChangeGroup(path, std::move(listed)));
}

const ChangeGroup* ChangeGroups::only(const KSLChangeList& list) noexcept
{
  return list.empty() || !list.m_chunks.empty() ? nullptr : list.first();
}

void ChangeGroups::cut(KSLChangeList& list, std::size_t change, std::size_t size) noexcept
{
  Cursor cursor(list);
  const ChangeGroup& group = *cursor.find(change);
  if (!assertThat(size > 0 && size <= group.size(), "a group is cut to a part of it",
                  "platform/src/kslapi/KSLChangeList"))
    return;
  const std::size_t less = group.size() - size;
  const_cast<ChangeGroup&>(group).truncate(size);
  ++list.m_cuts;
  list.m_size -= less;
  for (auto chunk = list.m_chunks.rbegin(); chunk != list.m_chunks.rend() && chunk->first > change; ++chunk)
    chunk->first -= less;
}

ChangeGroups::Cursor::Cursor(const KSLChangeList& list) noexcept : m_list(list), m_cuts(list.m_cuts) {}

// Where it was asked last, or beside that; else in the chunk that holds the change.
const ChangeGroup* ChangeGroups::Cursor::find(std::size_t change) noexcept
{
  const auto& chunks = m_list.m_chunks;
  const auto begin = [&] { return m_chunk == 0 ? m_list.first() : chunks[m_chunk - 1].groups.data(); };
  const auto size = [&] { return m_chunk == 0 ? 1 : chunks[m_chunk - 1].groups.size(); };
  const auto isIn = [&] { return change >= m_first && change - m_first < m_at->size(); };
  if (m_at && m_cuts == m_list.m_cuts) {
    if (isIn())
      return m_at;
    if (change < m_first) {
      if (m_at == begin() && m_chunk > 0) {
        --m_chunk;
        m_at = begin() + size();
      }
      if (m_at != begin())
        m_first -= (--m_at)->size();
    } else if (m_at + 1 != begin() + size()) {
      m_first += (m_at++)->size();
    } else if (m_chunk < chunks.size()) {
      m_first += m_at->size();
      ++m_chunk;
      m_at = begin();
    }
    if (isIn())
      return m_at;
  }
  m_cuts = m_list.m_cuts;
  const auto behind = std::upper_bound(chunks.begin(), chunks.end(), change,
                                       [](std::size_t key, const auto& chunk) { return key < chunk.first; });
  m_chunk = static_cast<std::size_t>(behind - chunks.begin());
  m_first = m_chunk == 0 ? 0 : chunks[m_chunk - 1].first;
  for (m_at = begin(); !isIn(); ++m_at)
    m_first += m_at->size();
  return m_at;
}

// --------------------------------------------------------------------------------------------------------- copy

void ChangeListCopyProcessor::newObject(const std::string& path)
{
  m_target.createObject(path);
}

void ChangeListCopyProcessor::deletedObject(const std::string& path)
{
  m_target.deleteObject(path);
}

void ChangeListCopyProcessor::newParam(const std::string& path, const std::string& name,
                                       const std::string& value)
{
  m_target.createParam(path, name, value);
}

void ChangeListCopyProcessor::changedParam(const std::string& path, const std::string& name,
                                           const std::string& newValue, const std::string& oldValue)
{
  m_target.changeParam(path, name, newValue, oldValue);
}

void ChangeListCopyProcessor::deletedParam(const std::string& path, const std::string& name,
                                           const std::string& value)
{
  m_target.deleteParam(path, name, value);
}

void ChangeListCopyProcessor::visit(const KSLChange& change)
{
  m_target.add(change);
}

}  // namespace orv
