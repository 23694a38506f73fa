#include "database/ParamLayout.h"

#include <algorithm>
#include <utility>

namespace orv {

std::size_t ParamLayout::lowerBound(std::string_view name) const
{
  const auto place =
      std::lower_bound(m_entries.begin(), m_entries.end(), name,
                       [](const Entry& entry, std::string_view key) { return entry.name < key; });
  return static_cast<std::size_t>(place - m_entries.begin());
}

std::size_t ParamLayout::find(std::string_view name) const
{
  const std::size_t slot = lowerBound(name);
  return slot < m_entries.size() && m_entries[slot].name == name ? slot : npos;
}

std::size_t ParamLayout::insert(std::shared_ptr<const ParamDefinition> prototype)
{
  const std::string_view name = prototype->getName();
  const std::size_t slot = lowerBound(name);
  m_entries.insert(m_entries.begin() + static_cast<std::ptrdiff_t>(slot), Entry{name, std::move(prototype)});
  return slot;
}

}  // namespace orv
