// A hash index over objects that carry their own keys.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <new>
#include <string_view>
#include <vector>

namespace orv {

// Finds pointers by what the objects behind them own, mostly a text; equal keys are allowed and met in the order of
// insertion. Some 12 to 24 bytes an entry. `KeyOf` is called with a const T& and gives a Key, which must not change
// while the pointer is here.
//
// Open addressing with linear probing: an entry stands at or after its home slot with no gap between, so that
// entries of one key keep their order. Erasing closes the gap instead of leaving a mark.
template <class T, class KeyOf, class Key = std::string_view, class Hash = std::hash<Key>>
class PointerIndex {
 public:
  std::size_t size() const { return m_count; }

  void insert(T* entry)
  {
    if ((m_count + 1) * 4 > m_slots.size() * 3)
      rebuild(m_slots.empty() ? smallest : m_slots.size() * 2);
    place(hashOf(KeyOf()(*entry)), entry);
    ++m_count;
  }

  // The first entry of the key that `accept` takes; null when there is none.
  template <class Accept>
  T* findIf(const Key& key, Accept accept) const
  {
    if (m_count == 0)
      return nullptr;
    const std::uint32_t hash = hashOf(key);
    for (std::size_t at = hash & mask(); m_slots[at]; at = next(at)) {
      if (m_hashes[at] == hash && KeyOf()(*m_slots[at]) == key && accept(m_slots[at]))
        return m_slots[at];
    }
    return nullptr;
  }
  T* find(const Key& key) const
  {
    return findIf(key, [](const T*) { return true; });
  }

  // False when it is not here.
  bool erase(const T* entry)
  {
    if (m_count == 0)
      return false;
    const std::size_t at = slotOf(entry);
    if (!m_slots[at])
      return false;
    closeGap(at);
    --m_count;
    if (m_slots.size() > smallest && m_count * 8 < m_slots.size())
      shrink();
    return true;
  }

  // Another of the same key in its place. REQUIRES: the entry is here.
  void replace(const T* entry, T* by) noexcept { m_slots[slotOf(entry)] = by; }

  template <class Visit>
  void forEach(Visit visit) const
  {
    for (T* entry : m_slots) {
      if (entry)
        visit(entry);
    }
  }

 private:
  static constexpr std::size_t smallest = 32;

  static std::uint32_t hashOf(const Key& key) { return static_cast<std::uint32_t>(Hash()(key)); }
  std::size_t mask() const { return m_slots.size() - 1; }
  std::size_t next(std::size_t at) const { return (at + 1) & mask(); }

  // Where the entry is; a free slot when it is not here.
  std::size_t slotOf(const T* entry) const
  {
    std::size_t at = hashOf(KeyOf()(*entry)) & mask();
    while (m_slots[at] && m_slots[at] != entry)
      at = next(at);
    return at;
  }

  void place(std::uint32_t hash, T* entry)
  {
    std::size_t at = hash & mask();
    while (m_slots[at])
      at = next(at);
    m_slots[at] = entry;
    m_hashes[at] = hash;
  }

  // Moves later entries forward as long as that brings none before its home.
  void closeGap(std::size_t gap)
  {
    for (std::size_t at = next(gap); m_slots[at]; at = next(at)) {
      const std::size_t fromHome = (at - m_hashes[at]) & mask();
      if (fromHome < ((at - gap) & mask()))
        continue;
      m_slots[gap] = m_slots[at];
      m_hashes[gap] = m_hashes[at];
      gap = at;
    }
    m_slots[gap] = nullptr;
  }

  void shrink()
  {
    try {
      rebuild(m_slots.size() / 2);
    } catch (const std::bad_alloc&) {  // the larger table serves as well
    }
  }

  // Starts behind a gap, so that entries which wrapped around the end keep their order.
  void rebuild(std::size_t capacity)
  {
    std::vector<T*> slots(capacity, nullptr);
    std::vector<std::uint32_t> hashes(capacity, 0);
    slots.swap(m_slots);
    hashes.swap(m_hashes);
    std::size_t start = 0;
    while (start < slots.size() && slots[start])
      ++start;
    for (std::size_t step = 0; step < slots.size(); ++step) {
      const std::size_t at = (start + step) & (slots.size() - 1);
      if (slots[at])
        place(hashes[at], slots[at]);
    }
  }

  std::vector<T*> m_slots;  // null is free; a power of two of them, or none
  std::vector<std::uint32_t> m_hashes;
  std::size_t m_count = 0;
};

}  // namespace orv
