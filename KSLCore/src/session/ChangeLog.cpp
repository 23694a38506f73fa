#include "ChangeLog.h"

#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace orv {

namespace {

using Paths = std::unordered_set<std::string_view>;

bool isBelowAny(std::string_view path, const Paths& tops)
{
  for (; path.size() > 1; path = PathUtils::parentPath(path))
    if (tops.count(path) > 0)
      return true;
  return false;
}

}  // namespace

std::vector<Change> ChangeLog::take()
{
  std::vector<Change> changes = std::exchange(m_changes, {});
  const auto isDeletion = [](const Change& change) { return change.kind == Change::Kind::deleted; };
  if (std::none_of(changes.begin(), changes.end(), isDeletion))
    return changes;
  Paths deletedLater;
  std::vector<bool> drops(changes.size());
  for (std::size_t i = changes.size(); i-- > 0;) {
    drops[i] = isBelowAny(changes[i].path, deletedLater);
    if (!drops[i] && isDeletion(changes[i]))
      deletedLater.insert(changes[i].path);
  }
  std::vector<Change> kept;
  for (std::size_t i = 0; i < changes.size(); ++i)
    if (!drops[i])
      kept.push_back(std::move(changes[i]));
  return kept;
}

void ChangeLog::objectAdded(const KSLObject* object)
{
  m_changes.push_back({Change::Kind::created, object->getPath(), {}, {}, false});
}

void ChangeLog::objectDeleteEnd(const std::string& path, const KSLObject* objectOrNull)
{
  if (!objectOrNull)
    m_changes.push_back({Change::Kind::deleted, path, {}, {}, false});
}

void ChangeLog::paramChanged(const KSLObject* object, const ParamDefinition* param)
{
  m_changes.push_back(
      {Change::Kind::value, object->getPath(), param->getName(), param->getValue(), param->isInternal()});
}

void ChangeLog::paramDeleted(const KSLObject* object, const std::string& paramName)
{
  m_changes.push_back({Change::Kind::removed, object->getPath(), paramName, {}, false});
}

}  // namespace orv
