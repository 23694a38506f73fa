#include "rules/LinkMap.h"

#include "rules/SchedulerObject.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace orv {

namespace {

constexpr std::uint32_t flatLimit = 64;  // entries of one array
constexpr std::size_t chunkLimit = 128;  // entries of one chunk
constexpr std::uint32_t fewEntries = 2;  // room of the smallest array

}  // namespace

// The first place that is not before the key. In chunks it may be one behind the end of a chunk: the place
// where the key would be put.
LinkMap::Place LinkMap::lowerBound(std::uint64_t serial) const noexcept
{
  std::uint32_t chunk = 0;
  if (isChunked()) {
    const auto behind =
        std::upper_bound(m_chunks->begin() + 1, m_chunks->end(), serial,
                         [](std::uint64_t left, const Chunk& right) { return left < right.low; });
    chunk = static_cast<std::uint32_t>(behind - m_chunks->begin() - 1);
  }
  const View in = view(chunk);
  if (in.size != 0 && in.entries[in.size - 1].serial() < serial)
    return {chunk, in.size};
  const Entry* at =
      std::lower_bound(in.entries, in.entries + in.size, serial,
                       [](const Entry& left, std::uint64_t right) { return left.serial() < right; });
  return {chunk, static_cast<std::uint32_t>(at - in.entries)};
}

LinkMap::Entry* LinkMap::find(const SchedulerObject* key) const noexcept
{
  const Place place = lowerBound(key->getSerial());
  const View in = view(place.chunk);
  return place.slot < in.size && in.entries[place.slot].first == key ? in.entries + place.slot : nullptr;
}

int LinkMap::count(const SchedulerObject* key) const noexcept
{
  const Entry* entry = find(key);
  return entry ? entry->count() : 0;
}

SchedulerObject* LinkMap::nextAnywhere(Cursor& cursor) const noexcept
{
  const auto chunks = static_cast<std::uint32_t>(isChunked() ? m_chunks->size() : 1);
  Place place{cursor.m_chunk, cursor.m_slot};
  const auto stillThere = [&] {
    if (place.chunk >= chunks || place.slot == 0)
      return false;
    const View in = view(place.chunk);
    return place.slot <= in.size && in.entries[place.slot - 1].serial() == cursor.m_last;
  };
  if (cursor.m_last != 0 && !stillThere()) {
    place = lowerBound(cursor.m_last);
    const View in = view(place.chunk);
    if (place.slot < in.size && in.entries[place.slot].serial() == cursor.m_last)
      ++place.slot;
  }
  View in = view(place.chunk);
  if (place.slot == in.size) {
    if (++place.chunk >= chunks)
      return nullptr;
    place.slot = 0;
    in = view(place.chunk);
  }
  cursor.m_last = in.entries[place.slot].serial();
  cursor.m_chunk = place.chunk;
  cursor.m_slot = place.slot + 1;
  return in.entries[place.slot].first;
}

bool LinkMap::add(SchedulerObject* key)
{
  const Place place = lowerBound(key->getSerial());
  const View in = view(place.chunk);
  if (place.slot < in.size && in.entries[place.slot].first == key) {
    if (in.entries[place.slot].count() == Entry::mostLinks)
      throw std::length_error("Too many links between two objects.");
    ++in.entries[place.slot].word;
    return false;
  }
  const Entry entry{key, key->getSerial() << Entry::countBits | 1};
  if (!isChunked() && m_size == flatLimit)
    makeChunked();
  if (isChunked())
    insertChunked(place, entry);
  else
    insertFlat(place.slot, entry);
  ++m_size;
  return true;
}

void LinkMap::insertFlat(std::uint32_t slot, const Entry& entry)
{
  if (m_size == m_capacity)
    growFlat();
  Entry* entries = view(0).entries;
  std::copy_backward(entries + slot, entries + m_size, entries + m_size + 1);
  entries[slot] = entry;
}

void LinkMap::growFlat()
{
  const std::uint32_t room = std::max(fewEntries, 2 * m_capacity);
  auto* entries = new Entry[room];
  const View in = view(0);
  std::copy(in.entries, in.entries + in.size, entries);
  if (!isSingle())
    delete[] m_flat;
  m_flat = entries;
  m_capacity = room;
}

// The full array becomes the first chunk, so that places stay what they are.
void LinkMap::makeChunked()
{
  auto chunks = std::make_unique<Chunks>(1);
  chunks->front() = {m_flat->serial(), std::vector<Entry>(m_flat, m_flat + m_size)};
  delete[] m_flat;
  m_chunks = chunks.release();
  m_capacity = chunked;
}

// A full chunk is split; at the very end, where links arrive in creation order, a new one is begun.
void LinkMap::insertChunked(Place place, const Entry& entry)
{
  const auto at = m_chunks->begin() + place.chunk;
  if (at->entries.size() < chunkLimit) {
    at->entries.insert(at->entries.begin() + place.slot, entry);
    return;
  }
  const bool atEnd = place.slot == chunkLimit && place.chunk + 1 == m_chunks->size();
  const std::size_t kept = atEnd ? chunkLimit : chunkLimit / 2;
  Chunk second;
  second.entries.reserve(chunkLimit);
  second.entries.assign(at->entries.begin() + static_cast<std::ptrdiff_t>(kept), at->entries.end());
  if (atEnd)
    second.entries.push_back(entry);
  second.low = second.entries.front().serial();
  const auto behind = m_chunks->insert(at + 1, std::move(second));
  if (atEnd)
    return;
  Chunk& first = *(behind - 1);
  first.entries.resize(kept);
  const bool inFirst = place.slot <= kept;
  insertChunked(inFirst ? place : Place{place.chunk + 1, place.slot - static_cast<std::uint32_t>(kept)},
                entry);
}

bool LinkMap::remove(const SchedulerObject* key) noexcept
{
  Entry* entry = find(key);
  if (!entry)
    return false;
  if (entry->count() > 1) {
    --entry->word;
    return false;
  }
  return erase(key);
}

bool LinkMap::erase(const SchedulerObject* key) noexcept
{
  const Place place = lowerBound(key->getSerial());
  const View in = view(place.chunk);
  if (place.slot >= in.size || in.entries[place.slot].first != key)
    return false;
  if (m_size == 1) {
    clear();
    return true;
  }
  if (isChunked()) {
    Chunk& chunk = (*m_chunks)[place.chunk];
    chunk.entries.erase(chunk.entries.begin() + place.slot);
    if (chunk.entries.empty())
      m_chunks->erase(m_chunks->begin() + place.chunk);
  } else {
    std::copy(in.entries + place.slot + 1, in.entries + in.size, in.entries + place.slot);
  }
  --m_size;
  return true;
}

void LinkMap::clear() noexcept
{
  if (isChunked())
    delete m_chunks;
  else if (!isSingle())
    delete[] m_flat;
  m_single = {};
  m_size = 0;
  m_capacity = 1;
}

}  // namespace orv
