#include "database/ParamLayout.h"

#include <algorithm>
#include <utility>

namespace orv {

namespace {

template <class Entries>
bool holds(const Entries& entries, std::size_t slot, std::string_view name)
{
  return slot < entries.size() && entries[slot].name == name;
}

}  // namespace

std::size_t ParamLayout::lowerBound(std::string_view name) const
{
  const auto place =
      std::lower_bound(m_entries.begin(), m_entries.end(), name,
                       [](const Entry& entry, std::string_view key) { return entry.name < key; });
  return static_cast<std::size_t>(place - m_entries.begin());
}

std::size_t ParamLayout::find(std::string_view name) const
{
  if (holds(m_entries, m_lastFound, name))
    return m_lastFound;
  if (m_entries.empty())
    return npos;
  const Entry& last = m_entries[std::min(m_lastFound, m_entries.size() - 1)];
  std::size_t slot = last.follower;
  if (!holds(m_entries, slot, name)) {
    slot = lowerBound(name);
    if (!holds(m_entries, slot, name))
      return npos;
    last.follower = static_cast<std::uint32_t>(slot);
  }
  m_lastFound = slot;
  return slot;
}

const std::vector<std::uint32_t>& ParamLayout::naming() const
{
  if (m_knowsNaming)
    return m_naming;
  std::vector<std::uint32_t> slots;
  for (std::size_t slot = 0; slot < m_entries.size(); ++slot)
    if (m_entries[slot].prototype->mayName())
      slots.push_back(static_cast<std::uint32_t>(slot));
  m_naming.swap(slots);
  m_knowsNaming = true;
  return m_naming;
}

void ParamLayout::append(std::shared_ptr<const ParamDefinition> prototype)
{
  const std::string_view name = prototype->getName();
  m_entries.push_back({name, std::move(prototype)});
}

std::size_t ParamLayout::insert(std::shared_ptr<const ParamDefinition> prototype)
{
  const std::string_view name = prototype->getName();
  const std::size_t slot = lowerBound(name);
  m_entries.insert(m_entries.begin() + static_cast<std::ptrdiff_t>(slot), Entry{name, std::move(prototype)});
  return slot;
}

}  // namespace orv
