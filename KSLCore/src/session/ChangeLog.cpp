#include "ChangeLog.h"

#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "database/ObjectDB.h"

#include <algorithm>
#include <utility>

namespace orv {

std::vector<Change> ChangeLog::take() noexcept
{
  if (!m_deletedAt.empty()) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < m_changes.size(); ++i) {
      if (isDeletedLater(i))
        continue;
      if (kept != i)
        m_changes[kept] = std::move(m_changes[i]);
      ++kept;
    }
    m_changes.erase(m_changes.begin() + static_cast<std::ptrdiff_t>(kept), m_changes.end());
  }
  std::vector<Change> changes = std::move(m_changes);
  clear();
  return changes;
}

void ChangeLog::clear() noexcept
{
  m_changes.clear();
  m_deletions.clear();
  m_deletedAt.clear();
}

bool ChangeLog::isDeletedLater(std::size_t change) const noexcept
{
  for (std::string_view path = m_changes[change].path; path.size() > 1; path = PathUtils::parentPath(path)) {
    const auto deleted = m_deletedAt.find(path);
    if (deleted != m_deletedAt.end() && deleted->second > change + 1)
      return true;
  }
  return false;
}

void ChangeLog::makeRoom()
{
  const std::size_t needed = m_changes.size() + m_deletions.size() + 1;
  if (needed > m_changes.capacity())
    m_changes.reserve(2 * needed);
}

void ChangeLog::add(Change change)
{
  makeRoom();
  m_changes.push_back(std::move(change));
}

void ChangeLog::objectAdded(const KSLObject* object)
{
  add({Change::Kind::created, object->getPath(), {}, {}, false});
}

void ChangeLog::objectDeleteBegin(const KSLObject* object)
{
  makeRoom();
  const std::string& path = object->getPath();
  m_deletedAt.try_emplace(path, 0);
  m_deletions.push_back({Change::Kind::deleted, path, {}, {}, false});
}

void ChangeLog::objectDeleteEnd(const std::string& path, const KSLObject* objectOrNull)
{
  if (m_deletions.empty())
    return;
  Change deletion = std::move(m_deletions.back());
  m_deletions.pop_back();
  if (objectOrNull)
    return;
  m_changes.push_back(std::move(deletion));
  if (const auto known = m_deletedAt.find(path); known != m_deletedAt.end())
    known->second = m_changes.size();
}

void ChangeLog::paramChanged(const KSLObject* object, const ParamDefinition* param)
{
  add({Change::Kind::value, object->getPath(), param->getName(), param->getValue(), param->isInternal()});
}

// Of an object that ends, which has left the database, there is nothing to tell.
void ChangeLog::paramDeleted(const KSLObject* object, const std::string& paramName)
{
  if (!object->isPendingDelete() || ObjectDB::instance()->getObjectByPath(object->getSharedPath()) == object)
    add({Change::Kind::removed, object->getPath(), paramName, {}, false});
}

}  // namespace orv
