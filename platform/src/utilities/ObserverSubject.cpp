#include "platform/ORVUtilities.h"

#include <algorithm>
#include <cxxabi.h>
#include <exception>

namespace orv {

Observer::~Observer() = default;
ObserverSubject::~ObserverSubject() = default;

void ObserverSubject::attach(Observer* observer, int type)
{
  attach(observer, std::set<int>{type});
}

void ObserverSubject::attach(Observer* observer, const std::set<int>& types)
{
  if (!observer)
    return;
  std::set<int> missing = types;
  Entry* known = nullptr;
  for (const auto& entry : m_entries) {
    if (entry->observer != observer)
      continue;
    known = entry.get();
    for (const int type : entry->types)
      missing.erase(type);
  }
  if (missing.empty())
    return;
  // An entry of its own while a notification runs, so that the event under way is not heard half-way through.
  if (known && m_notifying == 0)
    known->types.merge(missing);
  else
    m_entries.push_back(std::make_unique<Entry>(Entry{observer, std::move(missing)}));
}

void ObserverSubject::detach(Observer* observer)
{
  if (!observer)
    return;
  for (const auto& entry : m_entries)
    if (entry->observer == observer)
      entry->observer = nullptr;
  dropDetached();
}

void ObserverSubject::notify(int type)
{
  if (m_entries.empty())
    return;
  ++m_notifying;
  ScopeGuard leave([this] {
    --m_notifying;
    dropDetached();
  });
  std::exception_ptr failure;
  const std::size_t count = m_entries.size();  // entries are only removed when no notification runs
  for (std::size_t i = 0; i < count; ++i) {
    Entry* const entry = m_entries[i].get();
    if (!entry->observer || entry->types.count(type) == 0)
      continue;
    try {
      entry->observer->update(this, type);
#ifdef __GLIBCXX__
    } catch (const abi::__forced_unwind&) {  // the runtime's own, of a cancelled thread
      throw;
#endif
    } catch (...) {
      if (!failure)
        failure = std::current_exception();
    }
  }
  if (failure)
    std::rethrow_exception(failure);
}

void ObserverSubject::dropDetached()
{
  if (m_notifying == 0)
    std::erase_if(m_entries, [](const auto& entry) { return !entry->observer; });
}

}  // namespace orv
