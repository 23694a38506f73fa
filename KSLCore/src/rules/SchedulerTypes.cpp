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

SchedulerTypes::ParamUse::Kind SchedulerTypes::kindOf(const ParamDefinition::Rules& rules) noexcept
{
  if (rules.type == "Expression")
    return ParamUse::Kind::expression;
  if (!rules.remoteType.empty())
    return ParamUse::Kind::reference;
  return ParamDefinition::isNumberType(rules.type) ? ParamUse::Kind::number : ParamUse::Kind::plain;
}

SchedulerTypes::ParamUse SchedulerTypes::useOf(const ParamDefinition::Rules& rules) const noexcept
{
  if (m_lastUse < m_uses.size()) {
    const KnownUse& last = m_uses[m_lastUse];
    if (last.rules.get() == &rules)
      return last.use;
    if (last.follower < m_uses.size() && m_uses[last.follower].rules.get() == &rules)
      return m_uses[m_lastUse = last.follower].use;
  }
  return lookUpUse(rules);
}

// Parameters that objects have beyond their type come and go: what is known of them is forgotten now and then.
SchedulerTypes::ParamUse SchedulerTypes::lookUpUse(const ParamDefinition::Rules& rules) const noexcept
{
  constexpr std::size_t most = 256;
  auto at = std::find_if(m_uses.begin(), m_uses.end(),
                         [&rules](const KnownUse& known) { return known.rules.get() == &rules; });
  if (at == m_uses.end()) {
    const ParamUse use{find(rules.localType), kindOf(rules)};
    try {
      if (m_uses.size() == most)
        m_uses.clear();
      m_uses.push_back({refcnt_ptr<const ParamDefinition::Rules>(&rules), use, 0});
    } catch (...) {
      return use;
    }
    at = m_uses.end() - 1;
  }
  const auto place = static_cast<std::uint32_t>(at - m_uses.begin());
  if (m_lastUse < m_uses.size())
    m_uses[m_lastUse].follower = place;
  m_lastUse = place;
  return at->use;
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
  m_uses.clear();
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
