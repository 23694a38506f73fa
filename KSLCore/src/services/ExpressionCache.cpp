#include "services/ExpressionCache.h"

#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"

#include <algorithm>
#include <utility>

namespace orv {

using Entry = ExpressionCache::Entry;

// --------------------------------------------------------------------------------------------------- looking up

Entry* ExpressionCache::find(std::string_view name) const
{
  const auto found = m_entries.find(name);
  return found == m_entries.end() ? nullptr : found->second.get();
}

Entry* ExpressionCache::findDefined(std::string_view name) const
{
  Entry* entry = find(name);
  return entry && entry->defined ? entry : nullptr;
}

// Made when it is not there.
Entry& ExpressionCache::use(const std::string& name)
{
  if (Entry* known = find(name))
    return *known;
  auto entry = std::make_unique<Entry>();
  entry->name = name;
  return *m_entries.emplace(name, std::move(entry)).first->second;
}

// Takes an entry away that nobody needs.
void ExpressionCache::drop(Entry& entry) noexcept
{
  if (!entry.defined && !entry.scheduler && entry.users.empty())
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

void ExpressionCache::dropScheduler(const std::string& name) noexcept
{
  Entry* entry = find(name);
  entry->scheduler.reset();
  drop(*entry);
}

void ExpressionCache::clear()
{
  for (const auto& [name, entry] : m_entries)
    entry->valid = false;
  m_counts = {};
}

// ----------------------------------------------------------------------------------------------------- changing

// The entry and all that use it. Who is out of date has told its users already.
void ExpressionCache::invalidate(Entry& start) noexcept
{
  start.valid = false;
  start.next = nullptr;
  Entry* waiting = &start;
  while (waiting) {
    Entry* entry = std::exchange(waiting, waiting->next);
    for (Entry* user : entry->users) {
      if (!user->valid)
        continue;
      user->valid = false;
      user->next = waiting;
      waiting = user;
    }
  }
}

ExpressionCache::Change::Change(ExpressionCache& cache, const std::string& name, ExpressionDef expression)
    : m_cache(cache),
      m_entry(cache.use(name)),
      m_expression(std::move(expression))
{
  ScopeGuard undo([this] { end(); });
  prepare();
  undo.dismiss();
  exchange();
}

ExpressionCache::Change::~Change()
{
  if (!m_kept)
    exchange();
  else
    m_newScheduler = false;
  end();
}

// What may fail.
void ExpressionCache::Change::prepare()
{
  if (!m_entry.scheduler) {
    m_entry.scheduler =
        std::make_unique<SchedulerObject>(m_cache.m_owner->getPath(), m_cache.m_owner, m_entry.name);
    m_newScheduler = true;
  }
  if (m_expression.getText().empty())
    return;
  for (const std::string& name : m_expression.getNames()) {
    m_uses.push_back(&m_cache.use(name));
    m_uses.back()->users.insert(&m_entry);
  }
}

void ExpressionCache::Change::exchange() noexcept
{
  m_entry.uses.swap(m_uses);
  std::swap(m_entry.expression, m_expression);
  m_entry.defined = !m_entry.expression.getText().empty();
  invalidate(m_entry);
}

// The names that only the text out of force uses lose a user.
void ExpressionCache::Change::end() noexcept
{
  for (Entry* used : m_entry.uses)
    used->stays = true;
  for (Entry* used : m_uses) {
    if (used->stays)
      continue;
    used->users.erase(&m_entry);
    if (used != &m_entry)
      m_cache.drop(*used);
  }
  for (Entry* used : m_entry.uses)
    used->stays = false;
  if (m_newScheduler)
    m_entry.scheduler.reset();
  m_cache.drop(m_entry);
}

}  // namespace orv
