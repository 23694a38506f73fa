#include "platform/ORVKSLAPI.h"

#include <algorithm>
#include <array>

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
  switch (kind) {
    case Kind::createObject:
      return deleteObject(path);
    case Kind::deleteObject:
      return createObject(path);
    case Kind::createParam:
      return deleteParam(path, name, value);
    case Kind::deleteParam:
      return createParam(path, name, value);
    case Kind::changeParam:
      return changeParam(path, name, oldValue, value);
  }
  return *this;
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

// Chunk k begins at firstChunk * (2^k - 1) while chunks double, and every chunk has lastChunk places from
// then on.
constexpr std::size_t firstChunk = 4;
constexpr std::size_t doublings = 6;
constexpr std::size_t lastChunk = firstChunk << doublings;
constexpr std::size_t doubledPart = firstChunk * ((std::size_t(1) << doublings) - 1);

std::size_t chunkCapacity(std::size_t chunk)
{
  return chunk < doublings ? firstChunk << chunk : lastChunk;
}

struct Place {
  std::size_t chunk;
  std::size_t offset;
};

Place placeOf(std::size_t index)
{
  if (index >= doubledPart)
    return {doublings + (index - doubledPart) / lastChunk, (index - doubledPart) % lastChunk};
  std::size_t chunk = 0;
  while (index >= chunkCapacity(chunk))
    index -= chunkCapacity(chunk++);
  return {chunk, index};
}

// Whole chunks that were given back, for the lists to come. Lists come and go with every block of a long text, and
// blocks of this size are what the allocator is slow with.
constexpr std::size_t spareLimit = 64;

std::vector<std::vector<KSLChange>>& spareChunks()
{
  static std::vector<std::vector<KSLChange>> spares = [] {
    std::vector<std::vector<KSLChange>> none;
    none.reserve(spareLimit);
    return none;
  }();
  return spares;
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

KSLChangeList::~KSLChangeList()
{
  clear();
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
  if (adjust(change))
    append(std::move(change));
}

void KSLChangeList::append(KSLChange&& change)
{
  if (m_chunks.empty() || m_chunks.back().size() == chunkCapacity(m_chunks.size() - 1))
    addChunk();
  m_chunks.back().push_back(std::move(change));
  ++m_size;
  if (m_promised > 0)
    --m_promised;
}

namespace {

std::vector<KSLChange> makeChunk(std::size_t capacity)
{
  std::vector<KSLChange> chunk;
  std::vector<std::vector<KSLChange>>& spares = spareChunks();
  if (capacity == lastChunk && !spares.empty()) {
    chunk.swap(spares.back());
    spares.pop_back();
  }
  chunk.reserve(capacity);
  return chunk;
}

}  // namespace

void KSLChangeList::addChunk()
{
  if (m_reserved.empty()) {
    m_chunks.push_back(makeChunk(chunkCapacity(m_chunks.size())));
    return;
  }
  m_chunks.push_back(std::move(m_reserved.back()));
  m_reserved.pop_back();
}

// Nested users of one list each keep their room: m_reserved covers all that is promised.
void KSLChangeList::reserve(std::size_t more)
{
  if (more == 0)
    return;
  const std::size_t chunks = placeOf(m_size + m_promised + more - 1).chunk + 1;
  const std::size_t held = m_chunks.size() + m_reserved.size();
  if (chunks > held) {
    m_chunks.reserve(chunks);
    std::vector<Chunk> reserved;
    reserved.reserve(chunks - m_chunks.size());
    for (std::size_t chunk = chunks; chunk-- > held;)
      reserved.push_back(makeChunk(chunkCapacity(chunk)));
    for (Chunk& chunk : m_reserved)
      reserved.push_back(std::move(chunk));
    m_reserved.swap(reserved);
  }
  m_promised += more;
}

void KSLChangeList::unreserve(std::size_t unused)
{
  m_promised -= std::min(unused, m_promised);
  if (m_promised == 0)
    m_reserved.clear();
}

void KSLChangeList::dropChunk() noexcept
{
  std::vector<Chunk>& spares = spareChunks();
  if (m_chunks.back().capacity() >= lastChunk && spares.size() < spareLimit) {
    m_chunks.back().clear();
    spares.push_back(std::move(m_chunks.back()));
  }
  m_chunks.pop_back();
}

const KSLChange& KSLChangeList::operator[](std::size_t index) const
{
  const Place place = placeOf(index);
  return m_chunks[place.chunk][place.offset];
}

KSLChange& KSLChangeList::slot(std::size_t index)
{
  const Place place = placeOf(index);
  return m_chunks[place.chunk][place.offset];
}

void KSLChangeList::clear()
{
  m_size = 0;
  while (!m_chunks.empty())
    dropChunk();
}

void KSLChangeList::swapChanges(KSLChangeList& other) noexcept
{
  std::swap(m_chunks, other.m_chunks);
  std::swap(m_size, other.m_size);
}

void KSLChangeList::truncate(std::size_t size)
{
  if (size == 0)
    return clear();
  while (m_size > size) {
    Chunk& chunk = m_chunks.back();
    const std::size_t count = std::min(chunk.size(), m_size - size);
    chunk.resize(chunk.size() - count);
    m_size -= count;
    if (chunk.empty())
      dropChunk();
  }
}

void KSLChangeList::dropFront(std::size_t count)
{
  if (count >= m_size)
    return clear();
  if (count == 0)
    return;
  for (std::size_t i = count; i < m_size; ++i)
    slot(i - count) = std::move(slot(i));
  truncate(m_size - count);
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
