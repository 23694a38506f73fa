// The edges at one side of a scheduler.
#pragma once

#include "platform/ORVExport.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

namespace orv {

class SchedulerObject;

// An ordered map from schedulers to counts of links, in the order of their serial numbers: what is walked first
// must not hang on where memory was free. Most schedulers have few links: one is held in place, some dozens in
// a sorted array, thousands in sorted chunks. Look-up is O(log n); adding and taking away at most one chunk
// more; a pass over all is a pass over arrays.
class ORV_API LinkMap {
 public:
  // Serial number and count are one word, written and read as a whole: one that is written in parts and then copied
  // makes processors wait.
  struct Entry {
    static constexpr unsigned countBits = 24;
    static constexpr int mostLinks = (1 << countBits) - 1;

    SchedulerObject* first = nullptr;
    std::uint64_t word = 0;

    std::uint64_t serial() const noexcept { return word >> countBits; }        // of the scheduler
    int count() const noexcept { return static_cast<int>(word & mostLinks); }  // links; positive
  };
  static_assert(sizeof(Entry) == 16);
  class const_iterator;

  LinkMap() noexcept : m_single{} {}
  ~LinkMap() { clear(); }
  LinkMap(const LinkMap&) = delete;
  LinkMap& operator=(const LinkMap&) = delete;

  bool empty() const noexcept { return m_size == 0; }
  std::size_t size() const noexcept { return m_size; }
  // The number of links to a scheduler; 0 without an edge.
  int count(const SchedulerObject* key) const noexcept;
  bool contains(const SchedulerObject* key) const noexcept { return count(key) != 0; }
  // Valid until the map changes.
  const_iterator begin() const noexcept;
  const_iterator end() const noexcept;

  // A place in a pass over a map that may change meanwhile: the key last seen, and where it was seen.
  class Cursor {
    friend class LinkMap;
    std::uint64_t m_last = 0;  // its serial number; the first one is 1
    std::uint32_t m_chunk = 0;
    std::uint32_t m_slot = 0;
  };
  // The first key behind the cursor's last one, which becomes its last; null at the end. Keys that come or go
  // during the pass are met or missed by where they stand. O(1) while the neighbourhood stays as it is.
  SchedulerObject* next(Cursor& cursor) const noexcept;

  // Adds one link; true when that made the edge. Unchanged when memory runs out, and by std::length_error, when an edge has
  // `mostLinks` already.
  bool add(SchedulerObject* key);
  // Takes one link away, if there is any; true when the edge went with it.
  bool remove(const SchedulerObject* key) noexcept;
  // Takes an edge away whatever its count; true when there was one.
  bool erase(const SchedulerObject* key) noexcept;
  void clear() noexcept;

 private:
  struct Chunk {
    std::uint64_t low;           // no key of this chunk is before it; not kept for the first one
    std::vector<Entry> entries;  // never empty
  };
  using Chunks = std::vector<Chunk>;
  struct Place {
    std::uint32_t chunk;
    std::uint32_t slot;
  };
  struct View {
    Entry* entries;
    std::uint32_t size;
  };

  bool isSingle() const noexcept { return m_capacity == 1; }
  bool isChunked() const noexcept { return m_capacity == chunked; }
  View view(std::uint32_t chunk) const noexcept;
  Place lowerBound(std::uint64_t serial) const noexcept;
  Entry* find(const SchedulerObject* key) const noexcept;
  SchedulerObject* nextAnywhere(Cursor& cursor) const noexcept;
  void insertFlat(std::uint32_t slot, const Entry& entry);
  void insertChunked(Place place, const Entry& entry);
  void growFlat();
  void makeChunked();

  static constexpr std::uint32_t chunked = 0xFFFFFFFF;

  union {
    Entry m_single;  // capacity 1
    Entry* m_flat;
    Chunks* m_chunks;
  };
  std::uint32_t m_size = 0;
  std::uint32_t m_capacity = 1;
};

class LinkMap::const_iterator {
 public:
  using iterator_category = std::forward_iterator_tag;
  using value_type = Entry;
  using difference_type = std::ptrdiff_t;
  using pointer = const Entry*;
  using reference = const Entry&;

  const_iterator() = default;
  reference operator*() const noexcept { return *m_at; }
  pointer operator->() const noexcept { return m_at; }
  const_iterator& operator++() noexcept
  {
    if (++m_at == m_stop && m_chunk != m_lastChunk)
      enter(m_chunk + 1);
    return *this;
  }
  const_iterator operator++(int) noexcept
  {
    const_iterator before = *this;
    ++*this;
    return before;
  }
  bool operator==(const const_iterator& other) const noexcept { return m_at == other.m_at; }

 private:
  friend class LinkMap;
  const_iterator(const Entry* at, const Entry* stop) : m_at(at), m_stop(stop) {}
  void enter(const Chunk* chunk) noexcept
  {
    m_chunk = chunk;
    m_at = chunk->entries.data();
    m_stop = m_at + chunk->entries.size();
  }

  const Entry* m_at = nullptr;
  const Entry* m_stop = nullptr;
  const Chunk* m_chunk = nullptr;
  const Chunk* m_lastChunk = nullptr;
};

inline LinkMap::const_iterator LinkMap::begin() const noexcept
{
  if (!isChunked()) {
    const View all = view(0);
    return {all.entries, all.entries + all.size};
  }
  const_iterator it;
  it.m_lastChunk = &m_chunks->back();
  it.enter(&m_chunks->front());
  return it;
}

inline LinkMap::const_iterator LinkMap::end() const noexcept
{
  const View last = view(isChunked() ? static_cast<std::uint32_t>(m_chunks->size() - 1) : 0);
  return {last.entries + last.size, last.entries + last.size};
}

inline LinkMap::View LinkMap::view(std::uint32_t chunk) const noexcept
{
  if (isSingle())
    return {const_cast<Entry*>(&m_single), m_size};
  if (!isChunked())
    return {m_flat, m_size};
  std::vector<Entry>& entries = (*m_chunks)[chunk].entries;
  return {entries.data(), static_cast<std::uint32_t>(entries.size())};
}

inline SchedulerObject* LinkMap::next(Cursor& cursor) const noexcept
{
  const std::uint32_t slot = cursor.m_slot;
  if (isChunked() || slot > m_size)
    return nextAnywhere(cursor);
  const Entry* entries = view(0).entries;
  if (slot != 0 && entries[slot - 1].serial() != cursor.m_last)
    return nextAnywhere(cursor);
  if (slot == m_size)
    return nullptr;
  cursor.m_last = entries[slot].serial();
  cursor.m_slot = slot + 1;
  return entries[slot].first;
}

}  // namespace orv
