#include "services/ExpressionCache.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"

#include <algorithm>
#include <utility>

namespace orv {

using Entry = ExpressionCache::Entry;

// --------------------------------------------------------------------------------------------------- looking up

Entry* ExpressionCache::find(std::string_view name)
{
  const auto found = m_entries.find(name);
  return found == m_entries.end() ? nullptr : found->second.get();
}

const Entry* ExpressionCache::find(std::string_view name) const
{
  const auto found = m_entries.find(name);
  return found == m_entries.end() ? nullptr : found->second.get();
}

// Made when it is not there; missing then.
Entry& ExpressionCache::use(const std::string& name)
{
  if (Entry* known = find(name))
    return *known;
  auto entry = std::make_unique<Entry>();
  entry->name = name;
  Entry* made = m_entries.emplace(name, std::move(entry)).first->second.get();
  try {
    m_missing.insert(made);
  } catch (...) {
    m_entries.erase(m_entries.find(name));
    throw;
  }
  return *made;
}

// Takes an entry away that nobody needs.
void ExpressionCache::drop(Entry& entry) noexcept
{
  if (entry.defined || entry.scheduler || !entry.users.empty())
    return;
  m_missing.erase(&entry);
  m_entries.erase(m_entries.find(entry.name));
}

std::vector<std::string> ExpressionCache::usersOf(std::string_view name) const
{
  const Entry* start = find(name);
  std::set<const Entry*> seen;
  std::vector<const Entry*> waiting;
  if (start)
    waiting.push_back(start);
  std::vector<std::string> names;
  while (!waiting.empty()) {
    const Entry* entry = waiting.back();
    waiting.pop_back();
    for (const Entry* user : entry->users) {
      if (!seen.insert(user).second)
        continue;
      names.push_back(user->name);
      waiting.push_back(user);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

// ----------------------------------------------------------------------------------------------------- changing

// The entry and all that use it. Who is out of date has told its users already.
void ExpressionCache::invalidate(Entry& start) noexcept
{
  start.valid = false;
  start.computedIn = 0;
  start.next = nullptr;
  Entry* waiting = &start;
  while (waiting) {
    Entry* entry = std::exchange(waiting, waiting->next);
    for (Entry* user : entry->users) {
      if (!user->valid && user->computedIn == 0)
        continue;
      user->valid = false;
      user->computedIn = 0;
      user->next = waiting;
      waiting = user;
    }
  }
}

void ExpressionCache::clear()
{
  for (const auto& [name, entry] : m_entries) {
    entry->valid = false;
    entry->computedIn = 0;
  }
  m_counts = {};
}

void ExpressionCache::joinMissing(const Mark& mark)
{
  std::vector<std::pair<std::string, std::string>> unjoined;
  unjoined.swap(m_unjoined);
  for (const auto& [userName, usedName] : unjoined) {
    Entry* user = find(userName);
    Entry* used = find(usedName);
    const bool wanted = user && used && used->users.count(user) > 0 && user->scheduler && used->scheduler;
    if (!wanted || used->scheduler->getChildren().contains(user->scheduler.get()))
      continue;
    used->scheduler->addChild(user->scheduler.get(), true);
    if (used->scheduler->getChildren().contains(user->scheduler.get()))
      mark(*user->scheduler);
    else
      m_unjoined.emplace_back(userName, usedName);
  }
}

bool ExpressionCache::joinOutside(const std::function<SchedulerObject*(const std::string& name)>& schedulerOf,
                                  const Mark& mark)
{
  bool complete = true;
  for (const Entry* used : m_missing) {
    SchedulerObject* parent = used->users.empty() ? nullptr : schedulerOf(used->name);
    for (const Entry* user : used->users) {
      if (!parent || !user->scheduler || parent->getChildren().contains(user->scheduler.get()))
        continue;
      parent->addChild(user->scheduler.get(), true);
      mark(*user->scheduler);
      complete = complete && parent->getChildren().contains(user->scheduler.get());
    }
  }
  return complete;
}

// Ends what joinOutside has made for an entry; what is still used is joined again.
void ExpressionCache::partOutside(const Entry& user) noexcept
{
  if (!user.scheduler)
    return;
  const LinkMap& parents = user.scheduler->getParents();
  const auto isOutside = [this](const LinkMap::Entry& edge) { return edge.first->getKSLObject() != m_owner; };
  for (auto edge = std::find_if(parents.begin(), parents.end(), isOutside); edge != parents.end();
       edge = std::find_if(parents.begin(), parents.end(), isOutside))
    edge->first->deleteChild(user.scheduler.get());
}

ExpressionCache::Change::Change(ExpressionCache& cache, const std::string& name, ExpressionDef expression)
    : m_cache(cache),
      m_entry(cache.use(name)),
      m_expression(std::move(expression))
{
  try {
    prepare();
  } catch (...) {
    takeBack();
    throw;
  }
}

ExpressionCache::Change::~Change()
{
  if (!m_committed)
    takeBack();
}

void ExpressionCache::Change::prepare()
{
  if (!m_entry.scheduler) {
    m_entry.scheduler =
        std::make_unique<SchedulerObject>(m_cache.m_owner->getPath(), m_cache.m_owner, m_entry.name);
    m_newScheduler = true;
    for (Entry* user : m_entry.users)
      join(m_entry, *user);
  }
  if (m_expression.getText().empty()) {
    m_cache.m_missing.insert(&m_entry);
    return;
  }
  for (const std::string& name : m_expression.getNames())
    m_uses.push_back(&m_cache.use(name));
  m_sortedUses = m_uses;
  std::sort(m_sortedUses.begin(), m_sortedUses.end());
  m_added.reserve(m_uses.size());
  for (Entry* used : m_uses) {
    join(*used, m_entry);
    if (used->users.insert(&m_entry).second)
      m_added.push_back(used);
  }
}

// A link that a walk of the graph refuses is made later.
void ExpressionCache::Change::join(Entry& used, Entry& user)
{
  if (!used.scheduler || !user.scheduler)
    return;
  SchedulerObject* child = user.scheduler.get();
  const int before = used.scheduler->getChildren().count(child);
  m_joined.reserve(m_joined.size() + 1);
  used.scheduler->addChild(child, true);
  if (used.scheduler->getChildren().count(child) != before)
    m_joined.emplace_back(&used, &user);
  else
    m_cache.m_unjoined.emplace_back(user.name, used.name);
}

void ExpressionCache::Change::takeBack() noexcept
{
  for (const auto& [used, user] : m_joined)
    used->scheduler->deleteChild(user->scheduler.get());
  for (Entry* used : m_added)
    used->users.erase(&m_entry);
  for (Entry* used : m_uses) {
    if (used != &m_entry)
      m_cache.drop(*used);
  }
  if (m_newScheduler)
    m_entry.scheduler.reset();
  if (m_entry.defined)
    m_cache.m_missing.erase(&m_entry);
  m_cache.drop(m_entry);
}

void ExpressionCache::Change::commit() noexcept
{
  m_committed = true;
  m_entry.uses.swap(m_uses);  // m_uses are the former ones now
  std::swap(m_entry.expression, m_expression);
  const bool wasDefined = std::exchange(m_entry.defined, !m_entry.expression.getText().empty());
  if (m_entry.defined)
    m_cache.m_missing.erase(&m_entry);
  if (m_entry.defined && !wasDefined)
    for (const Entry* user : m_entry.users)  // an object of this name may have stood for it
      m_cache.partOutside(*user);
  if (std::any_of(m_uses.begin(), m_uses.end(), [](const Entry* used) { return !used->defined; }))
    m_cache.partOutside(m_entry);
  invalidate(m_entry);
  ++m_cache.m_version;
  for (Entry* used : m_uses) {
    const bool stays = std::binary_search(m_sortedUses.begin(), m_sortedUses.end(), used);
    SchedulerObject* child = m_entry.scheduler.get();
    if (used->scheduler && used->scheduler->getChildren().count(child) > (stays ? 1 : 0))
      used->scheduler->deleteChild(child);
    if (!stays)
      used->users.erase(&m_entry);
    m_cache.drop(*used);
  }
}

// ------------------------------------------------------------------------------------------------------- values

const ExpressionValue& ExpressionCache::valueOf(Entry& entry)
{
  if (m_depth == 0)
    ++m_evaluation;
  ++m_depth;
  const ScopeGuard end([this] { --m_depth; });
  if (isReady(entry))
    ++m_counts.hits;
  else
    bringUpToDate(entry);
  if (entry.error)
    std::rethrow_exception(entry.error);
  return entry.value;
}

// What an entry uses comes before it. An entry that is being computed further out can only be met again through an
// object outside.
void ExpressionCache::bringUpToDate(Entry& start)
{
  struct Frame {
    Entry* entry;
    std::size_t next;
  };
  std::vector<Frame> frames;
  const ScopeGuard end([&frames] {
    for (const Frame& frame : frames)
      frame.entry->computing = false;
  });
  const auto enter = [&](Entry& entry) {
    if (entry.computing)
      throw ksl::cyclicRef(
          "ExpressionsKSLObject", "evaluate",
          _("Tried to make object %s (%s) reference itself.", m_owner->getPath(), entry.name));
    frames.push_back({&entry, 0});
    entry.computing = true;
  };
  enter(start);
  while (!frames.empty()) {
    Entry& entry = *frames.back().entry;
    if (frames.back().next < entry.uses.size()) {
      Entry& used = *entry.uses[frames.back().next++];
      if (!used.defined)
        continue;
      if (isReady(used))
        ++m_counts.hits;
      else
        enter(used);
      continue;
    }
    compute(entry);
    entry.computing = false;
    frames.pop_back();
  }
}

void ExpressionCache::compute(Entry& entry)
{
  ++m_counts.misses;
  entry.error = nullptr;
  entry.outside = std::any_of(entry.uses.begin(), entry.uses.end(),
                              [](const Entry* used) { return !used->defined || used->outside; });
  try {
    entry.value = computed(entry);
  } catch (const Interrupt&) {
    throw;
  } catch (const Error&) {
    entry.error = std::current_exception();
  }
  entry.valid = !entry.outside;
  entry.computedIn = m_evaluation;
}

ExpressionValue ExpressionCache::computed(Entry& entry)
{
  std::vector<const ExpressionValue*> values;
  values.reserve(entry.uses.size());
  std::vector<std::unique_ptr<ExpressionValue>> fromOutside;
  for (const Entry* used : entry.uses) {
    if (used->defined && used->error)
      std::rethrow_exception(used->error);
    if (used->defined) {
      values.push_back(&used->value);
      continue;
    }
    std::optional<ExpressionValue> value = m_outside(used->name, entry.expression, entry.name);
    if (!value)
      throw data::notFound("ExpressionsKSLObject", "evaluate",
                           _("Expression '%s' depends on a variable '%s' which does not exist.",
                             entry.expression.getText(), used->name));
    fromOutside.push_back(std::make_unique<ExpressionValue>(std::move(*value)));
    values.push_back(fromOutside.back().get());
  }
  return entry.expression.evaluate(values, entry.name);
}

}  // namespace orv
