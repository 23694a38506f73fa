#include "command/UpdateProcessor.h"

#include "platform/ORVException.h"
#include "platform/ORVUtilities.h"
#include "command/DBUpdater.h"

namespace orv {

// ------------------------------------------------------------------------------------------------ UpdateProcessor

void UpdateProcessor::visit(const KSLChange& change)
{
  KSLChangeProcessor::visit(change);
  m_history->add(change.inverse());
}

void UpdateProcessor::newObject(const std::string& path)
{
  if (m_updater->hasObject(path))
    return;
  m_waiting.push_back({path, ++m_lastNumber});
  m_waitingNumbers[path] = m_lastNumber;
}

void UpdateProcessor::deletedObject(const std::string& path)
{
  if (m_updater->hasObject(path)) {
    m_updater->deleteObject(path);
    m_deleted.insert(path);
    m_changed.erase(path);
  }
  forget(path);
}

void UpdateProcessor::newParam(const std::string& path, const std::string& name, const std::string& value)
{
  if (path != m_lastPath) {
    if (!m_updater->hasObject(path)) {
      createWaiting();
      ensureObject(path);
    }
    m_lastPath = path;
  }
  m_updater->setParam(path, name, value);
  noteChanged(path);
}

void UpdateProcessor::changedParam(const std::string& path, const std::string& name,
                                   const std::string& newValue, const std::string&)
{
  m_updater->setParam(path, name, newValue);
  noteChanged(path);
}

void UpdateProcessor::deletedParam(const std::string& path, const std::string& name, const std::string&)
{
  m_updater->unsetParam(path, name);
  noteChanged(path);
}

void UpdateProcessor::createWaiting()
{
  std::vector<Waiting> waiting;
  waiting.swap(m_waiting);
  for (const Waiting& entry : waiting) {
    const auto number = m_waitingNumbers.find(entry.path);
    if (number == m_waitingNumbers.end() || number->second != entry.number)
      continue;  // deleted again
    m_waitingNumbers.erase(number);
    ensureObject(entry.path);
  }
}

// Parents first, whatever the order of the changes. What is made here beyond the changes has no inverse of
// its own: the store reports every object that it makes, so its list is complete.
void UpdateProcessor::ensureObject(const std::string& path)
{
  std::vector<std::string> missing;
  for (std::string at = path; !at.empty() && !m_updater->hasObject(at); at = PathUtils::parentPath(at))
    missing.push_back(at);
  for (std::size_t i = missing.size(); i-- > 0;) {
    m_updater->createObject(missing[i]);
    m_changed.insert(missing[i]);
  }
}

void UpdateProcessor::forget(const std::string& deletedPath)
{
  if (PathUtils::isSameOrBelow(m_lastPath, deletedPath))
    m_lastPath.clear();
  m_lastChanged.clear();
  m_waitingNumbers.erase(deletedPath);
  const std::string below = deletedPath + "/";
  for (auto at = m_waitingNumbers.lower_bound(below);
       at != m_waitingNumbers.end() && at->first.compare(0, below.size(), below) == 0;)
    at = m_waitingNumbers.erase(at);
}

void UpdateProcessor::noteChanged(const std::string& path)
{
  if (path == m_lastChanged)
    return;
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
