#include "command/UpdateProcessor.h"

#include "platform/ORVException.h"
#include "platform/ORVProgress.h"
#include "platform/ORVUtilities.h"
#include "command/DBUpdater.h"

#include <algorithm>
#include <functional>

namespace orv {

// ------------------------------------------------------------------------------------------------ UpdateProcessor

void UpdateProcessor::process(const KSLChangeList& changes)
{
  m_history->reserve(changes.size());
  m_visited = 0;
  m_deletedTop.clear();
  m_room = changes.size();
  const ScopeGuard giveBack([this] { m_history->unreserve(m_room); });
  Progress progress("changes", changes.size());
  m_progress = &progress;
  try {
    changes.process(KSLChangeList::Direction::forward, this);
  } catch (...) {
    recordFailedDeletion(changes);
    throw;
  }
}

// All that may fail comes before the change or is the change itself.
void UpdateProcessor::visit(const KSLChange& change)
{
  m_progress->advance(m_visited++);
  KSLChange inverse = change.inverse();
  const bool wanted = m_history->adjust(inverse);
  KSLChangeProcessor::visit(change);
  if (wanted)
    record(std::move(inverse));
}

void UpdateProcessor::record(KSLChange&& inverse)
{
  m_history->append(std::move(inverse));
  --m_room;
}

// The database deletes a subtree with its top, while the list names the contents one by one behind it. When something
// fails before all of them were visited, the inverses of the rest are recorded too: they have gone, or nobody knows
// how many of them, and replays pass over what is there.
void UpdateProcessor::recordFailedDeletion(const KSLChangeList& changes)
{
  if (m_deletedTop.empty() || m_visited == 0)
    return;
  const auto isDeletion = [](const KSLChange& change) {
    return change.kind == KSLChange::Kind::deleteObject || change.kind == KSLChange::Kind::deleteParam;
  };
  for (std::size_t i = m_visited - 1; i < changes.size(); ++i) {
    if (!isDeletion(changes[i]) || !PathUtils::isSameOrBelow(changes[i].path.str(), m_deletedTop))
      return;
    KSLChange inverse = changes[i].inverse();
    if (m_history->adjust(inverse))
      record(std::move(inverse));
  }
}

void UpdateProcessor::newObject(const std::string& path)
{
  if (m_updater->createsObjects() && !m_updater->hasObject(path))
    m_waiting.push_back({path, false});
}

void UpdateProcessor::deletedObject(const std::string& path)
{
  forget(path);
  if (!m_updater->hasObject(path))
    return;
  m_deletedTop = path;
  m_updater->deleteObject(path);
  m_changed.erase(path);
}

void UpdateProcessor::newParam(const std::string& path, const std::string& name, const std::string& value)
{
  if (m_updater->createsObjects() && !m_updater->hasObject(path)) {
    createWaiting();
    ensureObject(path);
  }
  noteChanged(path);
  m_updater->setParam(path, name, value);
}

void UpdateProcessor::changedParam(const std::string& path, const std::string& name,
                                   const std::string& newValue, const std::string&)
{
  noteChanged(path);
  m_updater->setParam(path, name, newValue);
}

void UpdateProcessor::deletedParam(const std::string& path, const std::string& name, const std::string&)
{
  noteChanged(path);
  m_updater->unsetParam(path, name);
}

void UpdateProcessor::createWaiting()
{
  if (m_waiting.empty())
    return;
  std::vector<Waiting> waiting;
  waiting.swap(m_waiting);
  dropDeleted(waiting);
  for (const Waiting& entry : waiting)
    ensureObject(entry.path);
}

// Leaves the objects that no later deletion takes away.
void UpdateProcessor::dropDeleted(std::vector<Waiting>& waiting)
{
  const auto isDeletion = [](const Waiting& entry) { return entry.deleted; };
  if (std::none_of(waiting.begin(), waiting.end(), isDeletion))
    return;
  std::set<std::string, std::less<>> deleted;
  for (std::size_t i = waiting.size(); i-- > 0;) {
    if (waiting[i].deleted)
      deleted.insert(waiting[i].path);
    for (std::string_view at = waiting[i].path; !at.empty() && !waiting[i].deleted;
         at = PathUtils::parentPath(at))
      waiting[i].deleted = deleted.count(at) > 0;
  }
  waiting.erase(std::remove_if(waiting.begin(), waiting.end(), isDeletion), waiting.end());
}

// Parents first, whatever the order of the changes. What is made here beyond the changes has no inverse of
// its own: the store reports every object that it makes, so its list is complete.
void UpdateProcessor::ensureObject(const std::string& path)
{
  std::vector<std::string> missing;
  for (std::string_view at = PathUtils::parentPath(path); !at.empty(); at = PathUtils::parentPath(at)) {
    std::string ancestor(at);
    if (m_updater->hasObject(ancestor))
      break;
    missing.push_back(std::move(ancestor));
  }
  for (std::size_t i = missing.size(); i-- > 0;)
    create(missing[i]);
  if (!m_updater->hasObject(path))
    create(path);
}

void UpdateProcessor::create(const std::string& path)
{
  m_changed.insert(path);
  m_updater->createObject(path);
}

void UpdateProcessor::forget(const std::string& deletedPath)
{
  m_lastChanged.clear();
  if (!m_waiting.empty())
    m_waiting.push_back({deletedPath, true});
}

void UpdateProcessor::noteChanged(const std::string& path)
{
  if (path == m_lastChanged)
    return;
  if (m_updater->hasObject(path))  // else there is nothing to update
    m_changed.insert(path);
  m_lastChanged = path;
}

// ----------------------------------------------------------------------------------- InternalParamUpdateProcessor

namespace {

constexpr const char* source = "KSLCore/src/Executive";

}  // namespace

void InternalParamUpdateProcessor::newObject(const std::string&)
{
  reportAssertion("Unexpected call to InternalParamChangeProcessor::newObject", source);
}

void InternalParamUpdateProcessor::deletedObject(const std::string&)
{
  reportAssertion("Unexpected call to InternalParamChangeProcessor::deletedObject", source);
}

void InternalParamUpdateProcessor::newParam(const std::string& path, const std::string& name,
                                            const std::string& value)
{
  m_updater->setParam(path, name, value);
  m_changed.insert(path);
}

void InternalParamUpdateProcessor::changedParam(const std::string& path, const std::string& name,
                                                const std::string& newValue, const std::string&)
{
  newParam(path, name, newValue);
}

void InternalParamUpdateProcessor::deletedParam(const std::string&, const std::string&, const std::string&)
{
  reportAssertion("Unexpected call to InternalParamChangeProcessor::deletedParam", source);
}

}  // namespace orv
