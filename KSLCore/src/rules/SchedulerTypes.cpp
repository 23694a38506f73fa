#include "SchedulerTypes.h"

#include <algorithm>
#include <cstddef>

namespace orv {

namespace {

bool isBefore(const SchedulerTypes::Entry& a, const SchedulerTypes::Entry& b)
{
  return a.type.str() < b.type.str();
}

bool isBeforeText(const SchedulerTypes::Entry& entry, std::string_view type)
{
  return entry.type.str() < type;
}

}  // namespace

std::size_t SchedulerTypes::find(std::string_view type) const noexcept
{
  constexpr std::size_t few = 8;
  if (m_entries.size() <= few) {  // of most types; who sets a parameter comes here
    for (std::size_t i = 0; i < m_entries.size(); ++i)
      if (m_entries[i].type == type)
        return i;
    return npos;
  }
  const auto at = std::lower_bound(m_entries.begin(), m_entries.end(), type, isBeforeText);
  return at != m_entries.end() && at->type == type ? static_cast<std::size_t>(at - m_entries.begin()) : npos;
}

SchedulerTypes::Function* SchedulerTypes::findFunction(std::string_view type)
{
  const std::size_t place = find(type);
  if (place != npos)
    return &m_entries[place].function;
  const auto added = m_added.find(type);
  return added == m_added.end() ? nullptr : &added->second;
}

void SchedulerTypes::insert(const std::string& type)
{
  m_added.emplace(type, Function());
  m_settled = false;
}

bool SchedulerTypes::addLink(const std::string& from, const std::string& to)
{
  Targets& targets = m_links[from];
  const auto [place, isNew] = targets.known.insert(to);
  if (!isNew)
    return false;
  ScopeGuard forget([&targets, at = place] { targets.known.erase(at); });
  targets.inOrder.push_back(to);
  forget.dismiss();
  m_settled = false;
  return true;
}

void SchedulerTypes::settle()
{
  if (m_settled)
    return;
  std::vector<Entry> entries = m_entries;
  for (const auto& [type, function] : m_added)
    entries.push_back({SharedText(type), function});
  std::inplace_merge(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(m_entries.size()),
                     entries.end(), isBefore);
  const auto placeOf = [&entries](const std::string& type) {
    const auto at = std::lower_bound(entries.begin(), entries.end(), type, isBeforeText);
    return at != entries.end() && at->type == type ? static_cast<std::size_t>(at - entries.begin()) : npos;
  };
  std::vector<Link> linked;
  forEachLink([&](const std::string& from, const std::string& to) {
    linked.push_back({placeOf(from), placeOf(to)});
  });
  m_acyclic = findsNoCircle(linked, entries.size());
  m_entries.swap(entries);
  m_linked.swap(linked);
  m_added.clear();
  m_settled = true;
}

// Takes away what nothing leads to, again and again: what is left stands in a circle, or below one.
bool SchedulerTypes::findsNoCircle(const std::vector<Link>& links, std::size_t entries)
{
  const auto isOutside = [](const Link& link) { return link.from == npos || link.to == npos; };
  if (std::any_of(links.begin(), links.end(), isOutside))
    return false;                               // told when an object is made, in the order of the links
  std::vector<std::size_t> first(entries + 1);  // of the links from an entry: they are sorted by it
  std::vector<std::size_t> parents(entries);
  for (const Link& link : links) {
    ++first[link.from + 1];
    ++parents[link.to];
  }
  for (std::size_t i = 1; i < first.size(); ++i)
    first[i] += first[i - 1];
  std::vector<std::size_t> free;
  for (std::size_t i = 0; i < entries; ++i)
    if (parents[i] == 0)
      free.push_back(i);
  for (std::size_t done = 0; done < free.size(); ++done)
    for (std::size_t i = first[free[done]]; i < first[free[done] + 1]; ++i)
      if (--parents[links[i].to] == 0)
        free.push_back(links[i].to);
  return free.size() == entries;
}

}  // namespace orv
