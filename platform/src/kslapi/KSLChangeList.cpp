#include "platform/ORVKSLAPI.h"

#include <algorithm>

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
  switch (change.kind) {
    case KSLChange::Kind::createObject:
      return newObject(change.path.str());
    case KSLChange::Kind::deleteObject:
      return deletedObject(change.path.str());
    case KSLChange::Kind::createParam:
      return newParam(change.path.str(), change.name.str(), change.value.str());
    case KSLChange::Kind::deleteParam:
      return deletedParam(change.path.str(), change.name.str(), change.value.str());
    case KSLChange::Kind::changeParam:
      return changedParam(change.path.str(), change.name.str(), change.value.str(), change.oldValue.str());
  }
}

// --------------------------------------------------------------------------------------------------------- list

namespace {

// Chunks double up to a size that the allocator is quick with, and every chunk has lastChunk places from then on.
constexpr std::size_t firstChunk = 3;
constexpr std::size_t doublings = 3;
constexpr std::size_t lastChunk = firstChunk << doublings;
constexpr std::size_t doubledPart = firstChunk * ((std::size_t(1) << doublings) - 1);

std::size_t chunkCapacity(std::size_t chunk)
{
  return chunk < doublings ? firstChunk << chunk : lastChunk;
}

}  // namespace

KSLChangeList::KSLChangeList(std::string name, ChangeListModifierIF* modifier)
    : m_name(std::move(name)),
      m_modifier(modifier)
{}

KSLChangeList::KSLChangeList(const KSLChangeList& other) : m_name(other.m_name), m_modifier(nullptr)
{
  for (std::size_t i = 0; i < other.m_size; ++i)
    add(other[i]);
  m_modifier = other.m_modifier;
}

KSLChangeList::KSLChangeList(KSLChangeList&& other) noexcept
    : m_name(std::move(other.m_name)),
      m_modifier(other.m_modifier),
      m_chunks(std::move(other.m_chunks)),
      m_size(std::exchange(other.m_size, 0))
{
  other.m_chunks.clear();
}

KSLChangeList& KSLChangeList::operator=(KSLChangeList other) noexcept
{
  std::swap(m_name, other.m_name);
  std::swap(m_modifier, other.m_modifier);
  swapChanges(other);
  return *this;
}

KSLChangeList::~KSLChangeList() = default;

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
  if (m_chunks.empty() || m_chunks.back().size() == chunkCapacity(m_chunks.size() - 1)) {
    Chunk chunk;
    chunk.reserve(chunkCapacity(m_chunks.size()));
    m_chunks.push_back(std::move(chunk));
  }
  m_chunks.back().push_back(std::move(change));
  ++m_size;
}

const KSLChange& KSLChangeList::operator[](std::size_t index) const
{
  if (index >= doubledPart) {
    index -= doubledPart;
    return m_chunks[doublings + index / lastChunk][index % lastChunk];
  }
  std::size_t chunk = 0;
  while (index >= chunkCapacity(chunk))
    index -= chunkCapacity(chunk++);
  return m_chunks[chunk][index];
}

void KSLChangeList::clear()
{
  m_size = 0;
  m_chunks.clear();
}

void KSLChangeList::swapChanges(KSLChangeList& other) noexcept
{
  std::swap(m_chunks, other.m_chunks);
  std::swap(m_size, other.m_size);
}

void KSLChangeList::truncate(std::size_t size) noexcept
{
  while (m_size > size) {
    Chunk& chunk = m_chunks.back();
    const std::size_t count = std::min(chunk.size(), m_size - size);
    chunk.erase(chunk.end() - static_cast<std::ptrdiff_t>(count), chunk.end());
    m_size -= count;
    if (chunk.empty())
      m_chunks.pop_back();
  }
}

void KSLChangeList::process(Direction direction, KSLChangeProcessor* processor) const
{
  // Each change is held by a copy: a processor may clear the list that it is being shown.
  if (direction == Direction::forward) {
    for (std::size_t i = 0; i < m_size; ++i) {
      const KSLChange change = (*this)[i];
      processor->visit(change);
    }
    return;
  }
  for (std::size_t i = m_size; i-- > 0; i = std::min(i, m_size)) {
    const KSLChange change = (*this)[i];
    processor->visit(change);
  }
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
