#include "command/DBUpdater.h"

#include "platform/ORVUtilities.h"
#include "database/DataKSLObject.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "database/PathAtHand.h"
#include "database/UndoneObjects.h"
#include "rules/LinkTransaction.h"

#include <typeinfo>
#include <utility>
#include <vector>

namespace orv {

namespace {

// Who refers to the objects of a tree that is being deleted. Unless told to forget it puts that back, for the
// objects that are still there.
class DependentsOfTree {
 public:
  DependentsOfTree(const ObjectDB& database, const KSLObject& top) : m_database(database)
  {
    std::vector<const KSLObject*> waiting{&top};
    while (!waiting.empty()) {
      const KSLObject* object = waiting.back();
      waiting.pop_back();
      if (!object->getDependents().empty())
        m_known.emplace_back(object->getSharedPath(), object->getDependents());
      object->forEachChild([&waiting](const KSLObject* child) { waiting.push_back(child); });
    }
  }
  ~DependentsOfTree()
  {
    for (const auto& [path, dependents] : m_known) {
      for (const Dependent& dependent : dependents)
        putBack(path, dependent);
    }
  }
  DependentsOfTree(const DependentsOfTree&) = delete;
  DependentsOfTree& operator=(const DependentsOfTree&) = delete;

  void forget() noexcept { m_known.clear(); }

 private:
  void putBack(const SharedText& path, const Dependent& dependent) const noexcept
  {
    try {
      KSLObject* object = m_database.getObjectByPath(path);
      KSLObject* holder = m_database.getObjectByPath(dependent.getSharedPath());
      const ParamDefinition* param = holder ? holder->lookUpParam(dependent.getParamName()) : nullptr;
      if (object && param)
        object->addDependent(holder, param);
    } catch (...) {}  // no memory left even for this
  }

  const ObjectDB& m_database;
  std::vector<std::pair<SharedText, DependentSet>> m_known;  // by path
};

// As KSLPath reads a component with the slash before it; nearly all of them stand as they are meant.
std::pair<std::string, std::string> typeAndName(std::string_view component)
{
  const auto isMeant = [](std::string_view text) {
    return !text.empty() && !StringUtilities::isSpace(text.front()) && !StringUtilities::isSpace(text.back())
           && text.front() != '"';
  };
  const std::size_t colon = component.find(':');
  if (colon != std::string_view::npos && component.front() == '/') {
    const std::string_view type = component.substr(1, colon - 1);
    const std::string_view name = component.substr(colon + 1);
    if (isMeant(type) && isMeant(name))
      return {std::string(type), std::string(name)};
  }
  const KSLPath path(component);
  return {path.getLastType(), path.getLastName()};
}

}  // namespace

DBUpdater::~DBUpdater() = default;

// ------------------------------------------------------------------------------------------------------ everything

ObjectDBUpdater::ObjectDBUpdater(ObjectDB* database, DependentUpdates* dependents, LinkTransaction* links)
    : m_database(database),
      m_dependents(dependents),
      m_links(links)
{}

KSLObject* ObjectDBUpdater::find(const SharedText& path)
{
  return m_database->getObjectByPath(path);
}

bool ObjectDBUpdater::hasParentOf(const SharedText& path)
{
  return m_database->hasParentOf(path);
}

bool ObjectDBUpdater::hasObject(const SharedText& path)
{
  const bool isPath = path.isLong() || path.str().starts_with('/');
  return isPath ? find(path) != nullptr : m_database->hasObject(path.str());
}

void ObjectDBUpdater::createObject(const SharedText& path)
{
  const std::string& parent = parentText(path);
  const auto [type, name] = typeAndName(path.component());
  const PathAtHand atHand(path, parent);
  m_database->addObject(ObjectFactory::instance()->createObject(parent, type, name));
}

const std::string& ObjectDBUpdater::parentText(const SharedText& path)
{
  return path.isLong() ? m_longText.of(path.parent()) : m_shortText.assign(PathUtils::parentPath(path.str()));
}

// Whoever refers to the object, or to anything below it, is seen to first.
template <class Remove>
void ObjectDBUpdater::remove(KSLObject& object, Remove remove)
{
  if (!m_links->follow(object))
    object.addToDependentUpdates(m_dependents);
  DependentsOfTree dependents(*m_database, object);
  object.deleteAllDependent();
  remove();
  dependents.forget();
}

void ObjectDBUpdater::deleteObject(const SharedText& path)
{
  if (KSLObject* object = m_database->getObjectByPath(path))
    remove(*object, [&] { m_database->deleteObject(path); });
}

bool ObjectDBUpdater::takeOut(const SharedText& path, const store::ParamRun& params, UndoneObjects& undone)
{
  KSLObject* object = m_database->getObjectByPath(path);
  if (!object || !UndoneObjects::canTake(*m_database, *object, params))
    return false;
  remove(*object, [&] { undone.take(*m_database, *object, params); });
  return true;
}

KSLObject* ObjectDBUpdater::putBack(const SharedText& path, const store::ParamRun& params,
                                    UndoneObjects& undone)
{
  return undone.putBack(*m_database, path, params);
}

bool ObjectDBUpdater::computes(const KSLObject& object) const
{
  return typeid(object) != typeid(DataKSLObject);
}

void ObjectDBUpdater::setParam(const SharedText& path, const std::string& name, const std::string& value)
{
  if (KSLObject* object = find(path))
    object->setWhole(name, value);
}

void ObjectDBUpdater::unsetParam(const SharedText& path, const std::string& name)
{
  if (KSLObject* object = find(path))
    object->unsetParam(name);
}

// Objects that compute mark others when they are set; classes of the host may do anything.
bool ObjectDBUpdater::goesUnseen(const SharedText& path)
{
  const KSLObject* object = find(path);
  return object && typeid(*object) == typeid(DataKSLObject) && !object->isObserved()
         && !m_database->getChangeNotify();
}

std::size_t ObjectDBUpdater::changeCount() const
{
  return m_database->changeCount();
}

// ------------------------------------------------------------------------------------------------------- no action

bool ObjectDBUpdaterNoAction::hasObject(const SharedText& path)
{
  return path.isLong() ? find(path) != nullptr : m_database->hasObject(path.str());
}

void ObjectDBUpdaterNoAction::createObject(const SharedText&) {}

void ObjectDBUpdaterNoAction::deleteObject(const SharedText&) {}

void ObjectDBUpdaterNoAction::setParam(const SharedText& path, const std::string& name,
                                       const std::string& value)
{
  if (KSLObject* object = m_database->getObjectByPath(path))
    object->setWholeWithoutPending(name, value);
}

void ObjectDBUpdaterNoAction::unsetParam(const SharedText&, const std::string&) {}

KSLObject* ObjectDBUpdaterNoAction::find(const SharedText& path)
{
  return m_database->getObjectByPath(path);
}

bool ObjectDBUpdaterNoAction::hasParentOf(const SharedText& path)
{
  return m_database->hasParentOf(path);
}

}  // namespace orv
