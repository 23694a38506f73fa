#include "rules/NameIndex.h"

#include "database/ObjectDB.h"
#include "rules/NameLink.h"
#include "rules/computing.h"

#include <algorithm>
#include <functional>

namespace orv {

// Links of objects that stand outside the database may live on.
NameIndex::~NameIndex()
{
  while (m_firstDue)
    removeDue(*m_firstDue);
  m_table.forEach([](Use* last) {
    for (Use* use = last; use; use = use->next)
      use->link = nullptr;
  });
}

NameIndex& NameIndex::of(ObjectDB& database)
{
  if (!database.getWatch())
    database.setWatch(std::make_unique<NameIndex>());
  return static_cast<NameIndex&>(*database.getWatch());
}

NameIndex* NameIndex::current() noexcept
{
  const ObjectDB* database = ObjectDB::current();
  return database ? static_cast<NameIndex*>(database->getWatch()) : nullptr;
}

// ---------------------------------------------------------------------------------------------- what comes and goes

namespace {

// An object's own questions to its children are not in the index: it has few links.
template <class Visit>
void forEachLinkOf(const KSLObject* place, std::string_view name, Visit visit)
{
  GenericKSLObject* computing = place->hasPath() ? orv::computing(const_cast<KSLObject*>(place)) : nullptr;
  if (!computing)
    return;
  computing->linkPlainTexts(name);
  computing->nameLinks().forEach([name, &visit](NameLink& link) {
    if (link.text().find(name) != std::string::npos)
      visit(link);
  });
}

}  // namespace

void NameIndex::changed(const KSLObject* place, std::string_view name) noexcept
{
  forEachUser(place, name, [this](NameLink& link) { link.noteChange(m_transaction != nullptr); });
}

void NameIndex::objectAdded(KSLObject& object) noexcept
{
  const KSLObject* place = object.getParentObject();
  changed(place, object.getName());
  forEachLinkOf(place, object.getName(),
                [this](NameLink& link) { link.noteChange(m_transaction != nullptr); });
  if (const GenericKSLObject* computing = orv::computing(&object))
    computing->forEachDefinedName([this](const std::string& name) { changed(nullptr, name); });
}

void NameIndex::objectGoing(KSLObject& object) noexcept
{
  const auto lose = [&object, byCommand = m_transaction != nullptr](NameLink& link) {
    link.lose(object, byCommand);
    link.noteChange(byCommand);
  };
  const KSLObject* place = object.getParentObject();
  forEachUser(place, object.getName(), lose);
  forEachLinkOf(place, {}, lose);
  if (const GenericKSLObject* computing = orv::computing(&object))
    computing->forEachDefinedName([&](const std::string& name) { forEachUser(nullptr, name, lose); });
}

// ------------------------------------------------------------------------------------------------------------- due

void NameIndex::addDue(NameLink& link) noexcept
{
  if (link.m_dueIn)
    return;
  link.m_dueIn = this;
  link.m_number = nextNumber();
  link.owner().countDue(1);
  link.m_previousDue = m_lastDue;
  link.m_nextDue = nullptr;
  (m_lastDue ? m_lastDue->m_nextDue : m_firstDue) = &link;
  m_lastDue = &link;
  ++m_dueCount;
  m_linkedDue = m_linkedDue || !link.targets().empty();
}

void NameIndex::removeDue(NameLink& link) noexcept
{
  if (!link.m_dueIn)
    return;
  link.m_dueIn = nullptr;
  link.owner().countDue(-1);
  (link.m_previousDue ? link.m_previousDue->m_nextDue : m_firstDue) = link.m_nextDue;
  (link.m_nextDue ? link.m_nextDue->m_previousDue : m_lastDue) = link.m_previousDue;
  m_linkedDue = m_linkedDue && m_firstDue;
  --m_dueCount;
}

// ---------------------------------------------------------------------------------------------------------- places

std::uint32_t NameIndex::nextNumber() noexcept
{
  if (!m_firstDue && m_places.empty())
    m_lastNumber = 0;
  return ++m_lastNumber;
}

void NameIndex::keepPlace(const GenericKSLObject& object, const ParamDefinition::Rules& param)
{
  m_places.push_back({&object, &param, nextNumber()});
}

void NameIndex::forgetPlaces(const GenericKSLObject& object) noexcept
{
  if (m_places.empty())
    return;
  try {
    m_places.push_back({&object, nullptr, nextNumber()});
  } catch (...) {
    m_places.clear();  // no memory: faults are told in another order, perhaps
  }
}

// The first since the object's last end; null without. Sorted by object and number.
const NameIndex::Place* NameIndex::firstPlace(const std::vector<Place>& sorted, const NameLink& link)
{
  const auto isBefore = [](const Place& place, const GenericKSLObject* object) {
    return std::less<>()(place.object, object);
  };
  const Place* first = nullptr;
  auto at = std::lower_bound(sorted.begin(), sorted.end(), &link.owner(), isBefore);
  for (; at != sorted.end() && at->object == &link.owner(); ++at) {
    if (!at->param)
      first = nullptr;
    else if (!first && at->param == &link.rules())
      first = &*at;
  }
  return first;
}

void NameIndex::takePlaces()
{
  if (m_madeLate && !m_places.empty() && m_firstDue)
    sortDue();
  m_madeLate = false;
  m_places.clear();
  constexpr std::size_t many = 4096;
  if (m_places.capacity() > many)
    m_places.shrink_to_fit();
}

void NameIndex::sortDue()
{
  std::sort(m_places.begin(), m_places.end(), [](const Place& a, const Place& b) {
    return a.object != b.object ? std::less<>()(a.object, b.object) : a.number < b.number;
  });
  std::vector<NameLink*> due;
  due.reserve(m_dueCount);
  for (NameLink* link = m_firstDue; link; link = link->m_nextDue) {
    if (const Place* place = firstPlace(m_places, *link))
      link->m_number = std::min(link->m_number, place->number);
    due.push_back(link);
  }
  std::sort(due.begin(), due.end(),
            [](const NameLink* a, const NameLink* b) { return a->m_number < b->m_number; });
  m_firstDue = due.front();
  m_lastDue = due.back();
  for (std::size_t i = 0; i < due.size(); ++i) {
    due[i]->m_previousDue = i == 0 ? nullptr : due[i - 1];
    due[i]->m_nextDue = i + 1 == due.size() ? nullptr : due[i + 1];
  }
}

// ------------------------------------------------------------------------------------------------------------ uses

// Built on the constructor without arguments: what is entered when memory runs out is taken out again.
NameUses::NameUses(NameIndex& index, NameLink& link, std::vector<NameQuestion>& asked) : NameUses()
{
  m_index = &index;
  m_uses = asked.empty() ? nullptr : std::make_unique<NameIndex::Use[]>(asked.size());
  for (NameQuestion& question : asked) {
    NameIndex::Use& use = m_uses[m_count];
    use.place = question.place;
    use.name = std::move(question.name);
    use.next = index.m_table.find({use.place, use.name});
    if (use.next) {
      index.m_table.replace(use.next, &use);
      use.next->previous = &use;
    } else {
      index.m_table.insert(&use);
    }
    use.link = &link;
    ++m_count;
  }
}

NameUses::~NameUses()
{
  for (std::size_t i = 0; i < m_count; ++i) {
    NameIndex::Use& use = m_uses[i];
    if (!use.link)  // the index has ended
      continue;
    if (use.next)
      use.next->previous = use.previous;
    if (use.previous)
      use.previous->next = use.next;
    else if (use.next)
      m_index->m_table.replace(&use, use.next);
    else
      m_index->m_table.erase(&use);
  }
}

}  // namespace orv
