#include "database/ParamLayout.h"

#include <algorithm>
#include <utility>

namespace orv {

namespace {

// Who sets a parameter looks for it several times in a row. Only where to look first: what stands there is compared.
struct LastFound {
  const ParamLayout* layout = nullptr;
  std::size_t slot = 0;
};
LastFound lastFound;

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
  if (lastFound.layout == this && holds(m_entries, lastFound.slot, name))
    return lastFound.slot;
  const std::size_t slot = lowerBound(name);
  if (!holds(m_entries, slot, name))
    return npos;
  lastFound = {this, slot};
  return slot;
}

std::size_t ParamLayout::insert(std::shared_ptr<const ParamDefinition> prototype)
{
  const std::string_view name = prototype->getName();
  const std::size_t slot = lowerBound(name);
  m_entries.insert(m_entries.begin() + static_cast<std::ptrdiff_t>(slot), Entry{name, std::move(prototype)});
  return slot;
}

}  // namespace orv
