#include "command/UpdateProcessor.h"

#include "platform/ORVException.h"
#include "platform/ORVProgress.h"
#include "platform/ORVUtilities.h"
#include "database/ValueAtHand.h"
#include "command/DBUpdater.h"
#include "RecoveryLog.h"

#include <algorithm>
#include <functional>

namespace orv {

// ------------------------------------------------------------------------------------------------ UpdateProcessor

std::size_t UpdateProcessor::process(const KSLChangeList& changes)
{
  m_list = &changes;
  const ScopeGuard end([this] { m_list = nullptr; });
  m_recorded = 0;
  m_goesBefore = 0;
  m_staysBefore = 0;
  std::size_t done = 0;
  Progress progress("changes", changes.size());
  for (m_visited = 0; m_visited < changes.size(); ++m_visited) {
    progress.advance(m_visited);
    const KSLChange change = changes[m_visited];  // the list may be changed meanwhile
    if (!m_log)
      visitNaming(change);
    else if (!m_log->attempt(change.path.str(), change.name.str(), [&] { visit(change); }))
      continue;
    ++done;
  }
  return done;
}

void UpdateProcessor::visit(const KSLChange& change)
{
  if (m_history && (!m_list || m_visited >= m_recorded))
    visitRecorded(change);
  else if (!wentAlong())
    apply(change);
  else if (change.kind == KSLChange::Kind::deleteObject)
    forget(change.path.str());
}

// True for what the list names behind the deletion of an object that it was in, when no object has come or gone since.
bool UpdateProcessor::wentAlong() const
{
  return m_history && m_updater->createsObjects() && m_updater->changeCount() == m_goneCount;
}

// Changes come object by object: what was found out for one parameter holds for the next.
void UpdateProcessor::apply(const KSLChange& change)
{
  const ValueAtHand value(change.value);
  const bool ofParam = !change.name.empty();
  m_sameObject = ofParam && change.path.same(m_objectPath) && m_updater->changeCount() == m_objectCount;
  KSLChangeProcessor::visit(change);
  m_objectPath =
      m_sameObject || (ofParam && m_updater->hasObject(change.path.str())) ? change.path : SharedText();
  m_objectCount = m_updater->changeCount();
}

// As visit; an error tells what it arose from.
void UpdateProcessor::visitNaming(const KSLChange& change)
{
  try {
    visit(change);
  } catch (Error& error) {
    error.concern(change.path.str(), change.name.str());
    throw;
  }
}

void UpdateProcessor::visitRecorded(const KSLChange& change)
{
  const std::size_t before = m_history->size();
  const std::size_t changesBefore = m_updater->changeCount();
  std::size_t after = before;
  try {
    record(change);
    after = m_history->size();
    apply(change);
    m_goneCount = m_updater->changeCount();
  } catch (...) {
    const bool leftNothing =
        change.kind != KSLChange::Kind::deleteObject || m_updater->changeCount() == changesBefore;
    if (leftNothing && (after == before || m_history->size() == after))  // else others have recorded since
      m_history->truncate(before);
    throw;
  }
}

void UpdateProcessor::record(const KSLChange& change)
{
  m_history->add(change.inverse());
  m_recorded = m_visited + 1;
  if (change.kind != KSLChange::Kind::deleteObject || !m_list)
    return;
  const auto goesAlong = [&](const KSLChange& other) {
    return (other.kind == KSLChange::Kind::deleteObject || other.kind == KSLChange::Kind::deleteParam)
           && PathUtils::isSameOrBelow(other.path.str(), change.path.str());
  };
  for (; m_recorded < m_list->size() && goesAlong((*m_list)[m_recorded]); ++m_recorded)
    m_history->add((*m_list)[m_recorded].inverse());
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
  m_updater->deleteObject(path);
}

void UpdateProcessor::newParam(const std::string& path, const std::string& name, const std::string& value)
{
  if (!m_sameObject && m_updater->createsObjects() && !m_updater->hasObject(path)) {
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
  if (!goesNext())
    m_updater->unsetParam(path, name);
}

// True for a parameter that is unset together with all that follow in the list up to the deletion of their object, as
// in the undo of a definition, when nobody could see it meanwhile.
bool UpdateProcessor::goesNext()
{
  if (!m_list || m_log || m_visited < m_staysBefore)
    return false;
  if (m_visited < m_goesBefore)
    return true;
  const SharedText& path = (*m_list)[m_visited].path;
  std::size_t end = m_visited + 1;
  while (end < m_list->size() && (*m_list)[end].kind == KSLChange::Kind::deleteParam
         && (*m_list)[end].path == path)
    ++end;
  const bool goes = end < m_list->size() && (*m_list)[end].kind == KSLChange::Kind::deleteObject
                    && (*m_list)[end].path == path && m_updater->goesUnseen(path.str());
  (goes ? m_goesBefore : m_staysBefore) = end;
  return goes;
}

void UpdateProcessor::createWaiting()
{
  if (m_waiting.empty())
    return;
  dropDeleted(m_waiting);
  std::vector<Waiting> waiting;
  waiting.swap(m_waiting);
  for (const Waiting& entry : waiting) {
    if (m_log)
      m_log->attempt(entry.path, {}, [&] { ensureObject(entry.path); });
    else
      ensureObject(entry.path);
  }
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
  try {
    m_updater->createObject(path);
  } catch (Error& error) {
    error.concern(path);
    throw;
  }
  if (m_log)
    m_log->noteCreated(path);
}

void UpdateProcessor::forget(const std::string& deletedPath)
{
  if (!m_waiting.empty())
    m_waiting.push_back({deletedPath, true});
}

void UpdateProcessor::noteChanged(const std::string& path)
{
  if (m_sameObject || path == m_lastChanged)
    return;
  if (m_updater->hasObject(path))  // else there is nothing to update
    m_changed.insert(path);
  m_lastChanged = path;
}

// ----------------------------------------------------------------------------------- InternalParamUpdateProcessor

namespace {

constexpr const char* updateProcessorSource = "KSLCore/src/Executive";

}  // namespace

void InternalParamUpdateProcessor::newObject(const std::string&)
{
  reportAssertion("Unexpected call to InternalParamChangeProcessor::newObject", updateProcessorSource);
}

void InternalParamUpdateProcessor::deletedObject(const std::string&)
{
  reportAssertion("Unexpected call to InternalParamChangeProcessor::deletedObject", updateProcessorSource);
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
  reportAssertion("Unexpected call to InternalParamChangeProcessor::deletedParam", updateProcessorSource);
}

}  // namespace orv
