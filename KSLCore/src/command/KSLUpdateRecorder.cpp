#include "command/KSLUpdateRecorder.h"

#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"

namespace orv {

namespace {

KSLUpdateInfo::ParamValStatus statusOf(const ParamDefinition& param)
{
  return {param.getValue(), param.hasBeenSet(), param.isInternal()};
}

}  // namespace

KSLUpdateRecorder::KSLUpdateRecorder() = default;
KSLUpdateRecorder::~KSLUpdateRecorder() = default;

void KSLUpdateRecorder::reset()
{
  if (!m_items.empty())
    m_synchronisedId = m_currentId;
  m_lastType = noUpdate;
  m_items.clear();
  ++m_currentId;
}

std::pair<KSLUpdateInfo::UpdateList::const_iterator, KSLUpdateInfo::UpdateList::const_iterator>
KSLUpdateRecorder::getUpdates() const
{
  return {m_items.begin(), m_items.end()};
}

void KSLUpdateRecorder::objectAdded(const KSLObject* object)
{
  recordState(object->getPath(), *object);
}

void KSLUpdateRecorder::objectDeleteBegin(const KSLObject* object)
{
  const std::string& path = object->getPath();
  if (isCoveredByDeletion(path))
    return;
  m_deletions.push_back(path);
  ScopeGuard forget([this] { m_deletions.pop_back(); });  // who fails at the begin hears of no end
  currentItem(objectDeleteUpdate).objects[path];
  forget.dismiss();
}

void KSLUpdateRecorder::objectDeleteEnd(const std::string& path, const KSLObject* objectOrNull)
{
  if (!m_deletions.empty() && m_deletions.back() == path)
    m_deletions.pop_back();
  if (objectOrNull)
    recordState(path, *objectOrNull);
}

void KSLUpdateRecorder::paramChanged(const KSLObject* object, const ParamDefinition* param)
{
  if (!isCoveredByDeletion(object->getPath()))
    currentItem(paramValueUpdate).objects[object->getPath()][param->getName()] = statusOf(*param);
}

void KSLUpdateRecorder::paramDeleted(const KSLObject* object, const std::string& paramName)
{
  if (!isCoveredByDeletion(object->getPath()))
    currentItem(paramDeleteUpdate).objects[object->getPath()][paramName] = {};
}

// A change of type opens a new item even when one of that type stands further back: items are replayed in
// order.
KSLUpdateInfo::UpdateItem& KSLUpdateRecorder::currentItem(UpdateType type)
{
  if (type != m_lastType) {
    m_items.push_back({type, {}});
    m_lastType = type;
  }
  return m_items.back();
}

// Only the innermost deletion is asked, on purpose.
bool KSLUpdateRecorder::isCoveredByDeletion(std::string_view path) const
{
  if (m_deletions.empty())
    return false;
  const std::string& top = m_deletions.back();
  return path.starts_with(top) && (path.size() == top.size() || path[top.size()] == '/');
}

void KSLUpdateRecorder::recordState(const std::string& path, const KSLObject& object)
{
  ParamValues values;
  object.forEachParam([&values](const ParamDefinition& param) {
    values.emplace_hint(values.end(), param.getName(), statusOf(param));
  });
  ParamValues& recorded = currentItem(paramValueUpdate).objects[path];
  values.merge(recorded);  // names that the object has no longer; all others are newer here
  recorded.swap(values);
}

}  // namespace orv
