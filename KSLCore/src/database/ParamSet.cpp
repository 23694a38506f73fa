#include "database/ParamSet.h"

#include "platform/internal/ParamRun.h"

#include <algorithm>
#include <utility>

namespace orv {

namespace {

// True when a copy of either would look the same.
bool copiesAlike(const ParamDefinition& a, const ParamDefinition& b)
{
  return a.isInternal() == b.isInternal() && a.getShared() == b.getShared() && a.getRules() == b.getRules();
}

constexpr std::size_t firstRoom = 4;

// Room grows with what is written, and never beyond what the type has.
template <class Owns>
void insertAt(Owns& own, typename Owns::iterator place, std::unique_ptr<ParamDefinition> param,
              std::size_t most)
{
  const auto index = place - own.begin();
  if (own.size() == own.capacity())
    own.reserve(std::max(own.size() + 1, std::min(own.empty() ? firstRoom : 2 * own.size() + 2, most)));
  own.insert(own.begin() + index, std::move(param));
}

}  // namespace

ParamDefinition* ParamSet::insertCopy(std::vector<Own>::iterator place, std::size_t slot,
                                      ParamDefinition::NotifyChange* observer)
{
  std::unique_ptr<ParamDefinition> made = (*m_layout)[slot].clone();
  ParamDefinition* param = made.get();
  param->m_slot = static_cast<std::uint32_t>(slot);
  param->setNotifyChange(observer);
  insertAt(m_own, place, std::move(made), m_layout->size());
  return param;
}

std::vector<ParamSet::Own>::const_iterator ParamSet::ownAt(std::size_t slot) const
{
  // Slots rise, so an entry never stands behind its slot; where all are written it stands there.
  if (slot < m_own.size() && m_own[slot]->m_slot == slot)
    return m_own.begin() + static_cast<std::ptrdiff_t>(slot);
  return std::lower_bound(m_own.begin(), m_own.end(), slot,
                          [](const Own& param, std::size_t key) { return param->m_slot < key; });
}

std::vector<ParamSet::Own>::iterator ParamSet::ownAt(std::size_t slot)
{
  return m_own.begin() + (std::as_const(*this).ownAt(slot) - m_own.cbegin());
}

const ParamDefinition& ParamSet::at(std::size_t slot) const
{
  const auto own = ownAt(slot);
  return own != m_own.end() && (*own)->m_slot == slot ? **own : (*m_layout)[slot];
}

const ParamDefinition* ParamSet::find(std::string_view name) const
{
  const std::size_t slot = slotOf(name);
  return slot == ParamLayout::npos ? findAdded(name) : &at(slot);
}

ParamDefinition* ParamSet::findOwn(std::string_view name)
{
  const std::size_t slot = slotOf(name);
  if (slot == ParamLayout::npos)
    return findAdded(name);
  const auto own = ownAt(slot);
  return own != m_own.end() && (*own)->m_slot == slot ? own->get() : nullptr;
}

ParamDefinition* ParamSet::own(std::string_view name, ParamDefinition::NotifyChange* observer)
{
  const std::size_t slot = slotOf(name);
  return slot == ParamLayout::npos ? findAdded(name) : ownSlot(slot, observer);
}

ParamDefinition* ParamSet::ownToSet(std::string_view name, const std::string& value,
                                    ParamDefinition::NotifyChange* observer)
{
  const std::size_t slot = slotOf(name);
  if (slot == ParamLayout::npos) {
    ParamDefinition* const added = findAdded(name);
    if (added)
      added->requireAllowed(value);
    return added;
  }
  const auto place = ownAt(slot);
  if (place != m_own.end() && (*place)->m_slot == slot) {
    (*place)->requireAllowed(value);
    return place->get();
  }
  (*m_layout)[slot].requireAllowed(value);
  return insertCopy(place, slot, observer);
}

ParamDefinition* ParamSet::ownSlot(std::size_t slot, ParamDefinition::NotifyChange* observer)
{
  const auto place = ownAt(slot);
  if (place != m_own.end() && (*place)->m_slot == slot)
    return place->get();
  return insertCopy(place, slot, observer);
}

void ParamSet::insertOwn(std::size_t slot, std::unique_ptr<ParamDefinition> param)
{
  param->m_slot = static_cast<std::uint32_t>(slot);
  insertAt(m_own, ownAt(slot), std::move(param), m_layout->size());
}

ParamLayout& ParamSet::writableLayout()
{
  if (!m_layout)
    m_layout = refcnt_ptr<ParamLayout>(new ParamLayout);
  else if (m_layout->refCount() > 1)
    m_layout = refcnt_ptr<ParamLayout>(new ParamLayout(*m_layout));
  m_layout->m_knowsNaming = false;
  return *m_layout;
}

std::size_t ParamSet::insertSlot(std::shared_ptr<const ParamDefinition> prototype)
{
  const std::size_t slot = writableLayout().insert(std::move(prototype));
  for (auto later = ownAt(slot); later != m_own.end(); ++later)
    ++(*later)->m_slot;
  return slot;
}

void ParamSet::add(std::unique_ptr<ParamDefinition>&& param)
{
  if (!m_added)
    m_added = std::make_unique<Added>();
  const std::string_view name = param->getName();
  m_added->try_emplace(name, std::move(param));
}

ParamSet::Taken ParamSet::take(std::string_view name)
{
  Taken taken;
  const std::size_t slot = slotOf(name);
  if (slot == ParamLayout::npos) {
    if (m_added)
      taken.m_added = m_added->extract(name);
    return taken;
  }
  std::vector<ParamLayout::Entry>& entries = writableLayout().m_entries;
  taken.m_prototype = std::move(entries[slot].prototype);
  entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(slot));
  auto own = ownAt(slot);
  if (own != m_own.end() && (*own)->m_slot == slot) {
    taken.m_own = std::move(*own);
    own = m_own.erase(own);
  }
  for (; own != m_own.end(); ++own)
    --(*own)->m_slot;
  return taken;
}

void ParamSet::putBack(Taken&& taken)
{
  if (!taken.m_added.empty()) {
    if (!find(taken.m_added.key()))
      m_added->insert(std::move(taken.m_added));
    return;
  }
  if (find(taken.m_prototype->getName()))
    return;
  if (taken.m_own && m_own.size() == m_own.capacity())
    m_own.reserve(2 * m_own.size() + 2);  // so that inserting it cannot fail
  const std::size_t slot = insertSlot(std::move(taken.m_prototype));
  if (taken.m_own)
    insertOwn(slot, std::move(taken.m_own));
}

void ParamSet::clear() noexcept
{
  m_own.clear();
  m_own.shrink_to_fit();
  m_added.reset();
  m_layout = nullptr;
}

// One pass, whatever their number. Nothing has moved when memory runs out.
void ParamSet::publishAdded()
{
  if (!m_added || m_added->empty())
    return;
  refcnt_ptr<ParamLayout> layout(new ParamLayout);
  struct Place {
    Own* definition;
    std::uint32_t slot;
  };
  std::vector<Place> places;
  std::vector<Own> own;
  places.reserve(m_own.size() + m_added->size());
  own.reserve(places.capacity());
  const auto addOwn = [&](Own& definition) {
    places.push_back({&definition, static_cast<std::uint32_t>(layout->m_entries.size())});
  };
  auto added = m_added->begin();
  const auto mergeAddedBefore = [&](const ParamLayout::Entry* entry) {
    for (; added != m_added->end() && (!entry || added->first < entry->name); ++added) {
      addOwn(added->second);
      layout->append(added->second->clone());
    }
  };
  auto written = m_own.begin();
  for (std::size_t slot = 0; m_layout && slot < m_layout->size(); ++slot) {
    const ParamLayout::Entry& entry = m_layout->m_entries[slot];
    mergeAddedBefore(&entry);
    if (written != m_own.end() && (*written)->m_slot == slot)
      addOwn(*written++);
    layout->m_entries.push_back(entry);
  }
  mergeAddedBefore(nullptr);
  for (const Place& place : places) {
    (*place.definition)->m_slot = place.slot;
    own.push_back(std::move(*place.definition));
  }
  m_own.swap(own);
  m_layout = layout;
  m_added.reset();
}

// Each object that is made comes by here: most are told by what they share.
void ParamSet::publishOwn()
{
  for (const Own& param : m_own) {
    const ParamDefinition& known = (*m_layout)[param->m_slot];
    const bool isKnown = param->m_value.same(known.m_value) && param->m_rules.get() == known.m_rules.get()
                         && param->m_internal == known.m_internal;
    if (isKnown || copiesAlike(*param, known))
      continue;
    std::shared_ptr<const ParamDefinition> prototype = param->clone();
    writableLayout().m_entries[param->m_slot].prototype = std::move(prototype);
  }
}

bool ParamSet::givesLayoutOf(const ParamSet& other)
{
  publishAdded();
  publishOwn();
  return m_layout.get() == other.m_layout.get();
}

bool ParamSet::holdsJust(const store::ParamRun& given) const
{
  if (m_added || !m_layout || m_own.size() != given.size())
    return false;
  for (std::size_t i = 0; i < given.size(); ++i) {
    const std::size_t slot = m_layout->find(given.name(i).str());
    if (slot == ParamLayout::npos)
      return false;
    const auto own = ownAt(slot);
    if (own == m_own.end() || (*own)->m_slot != slot)
      return false;
    const ParamDefinition& param = **own;
    const ParamDefinition& prototype = (*m_layout)[slot];
    if (!param.m_hasBeenSet || param.m_notifyChange || !(param.m_value == given.value(i))
        || param.m_rules.get() != prototype.m_rules.get() || param.m_internal != prototype.m_internal)
      return false;
  }
  return true;
}

void ParamSet::markChanged() noexcept
{
  for (const Own& param : m_own)
    param->m_changed = true;
}

void ParamSet::copyTo(ParamSet& target, bool publish)
{
  publishAdded();
  if (publish)
    publishOwn();
  target.m_layout = m_layout;
  if (publish)
    return;
  for (const Own& param : m_own) {
    if (!copiesAlike(*param, (*m_layout)[param->m_slot]))
      target.insertOwn(param->m_slot, param->clone());
  }
}

}  // namespace orv
