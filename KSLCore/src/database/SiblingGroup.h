// The children of one type below one object.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace orv {

class KSLObject;

// Keeps the order of addition. Each child remembers its slot, so that removal needs no search; a removed one
// leaves a gap, and gaps are closed when they are more than half. All operations amortised O(1).
class SiblingGroup {
 public:
  bool empty() const { return m_live == 0; }
  std::size_t size() const { return m_live; }
  std::uint32_t append(KSLObject* child);  // the slot
  // `slotOf` gives a child's remembered slot as a reference. False when the child is not here.
  template <class SlotOf>
  bool remove(KSLObject* child, SlotOf slotOf);
  KSLObject* first();  // REQUIRES: not empty

  template <class Visit>
  void forEach(Visit visit) const
  {
    for (KSLObject* child : m_slots) {
      if (child)
        visit(child);
    }
  }

 private:
  template <class SlotOf>
  void closeGaps(SlotOf slotOf);

  std::vector<KSLObject*> m_slots;  // null is a gap
  std::size_t m_live = 0;
  std::size_t m_first = 0;  // no child stands before this slot
};

inline std::uint32_t SiblingGroup::append(KSLObject* child)
{
  m_slots.push_back(child);
  ++m_live;
  return static_cast<std::uint32_t>(m_slots.size() - 1);
}

inline KSLObject* SiblingGroup::first()
{
  while (!m_slots[m_first])
    ++m_first;
  return m_slots[m_first];
}

template <class SlotOf>
bool SiblingGroup::remove(KSLObject* child, SlotOf slotOf)
{
  std::size_t slot = slotOf(*child);
  if (slot >= m_slots.size() || m_slots[slot] != child)  // it remembers its slot in another tree
    slot = static_cast<std::size_t>(std::find(m_slots.begin(), m_slots.end(), child) - m_slots.begin());
  if (slot == m_slots.size())
    return false;
  m_slots[slot] = nullptr;
  --m_live;
  if (m_slots.size() > 32 && m_live * 2 < m_slots.size())
    closeGaps(slotOf);
  return true;
}

template <class SlotOf>
void SiblingGroup::closeGaps(SlotOf slotOf)
{
  std::size_t to = 0;
  for (KSLObject* child : m_slots) {
    if (!child)
      continue;
    slotOf(*child) = static_cast<std::uint32_t>(to);
    m_slots[to++] = child;
  }
  m_slots.resize(to);
  m_first = 0;
}

}  // namespace orv
