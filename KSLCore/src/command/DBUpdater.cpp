#include "command/DBUpdater.h"

#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "rules/GenericKSLObject.h"
#include "rules/LinkBatch.h"

#include <set>
#include <utility>
#include <vector>

namespace orv {

namespace {

// Who refers to the objects of a tree that is being deleted.
class TreeDependents {
 public:
  explicit TreeDependents(const KSLObject& top)
  {
    std::vector<const KSLObject*> waiting{&top};
    while (!waiting.empty()) {
      const KSLObject* object = waiting.back();
      waiting.pop_back();
      if (!object->getDependents().empty())
        m_of.emplace_back(object->getPath(), object->getDependents());
      object->forEachChild([&waiting](const KSLObject* child) { waiting.push_back(child); });
    }
  }

  // What comes back at a path, in the same batch or when it is taken back, has to be referred to anew.
  void tellOfLoss(const ObjectDB& database) const
  {
    for (const auto& [path, dependents] : m_of) {
      for (const Dependent& dependent : dependents) {
        auto* holder = dynamic_cast<GenericKSLObject*>(database.getObjectByPath(dependent.getObjPath()));
        if (holder)
          LinkBatch::noteLostTarget(*holder);
      }
    }
  }

  // To the objects that a failing deletion has left.
  void giveBack(const ObjectDB& database) const
  {
    for (const auto& [path, dependents] : m_of) {
      KSLObject* object = database.getObjectByPath(path);
      for (const Dependent& dependent : dependents) {
        KSLObject* holder = object ? database.getObjectByPath(dependent.getObjPath()) : nullptr;
        const ParamDefinition* param = holder ? holder->lookUpParam(dependent.getParamName()) : nullptr;
        if (param)
          object->addDependent(holder, param);
      }
    }
  }

 private:
  std::vector<std::pair<std::string, std::set<Dependent>>> m_of;  // by path
};

}  // namespace

DBUpdater::~DBUpdater() = default;

// ------------------------------------------------------------------------------------------------------ everything

ObjectDBUpdater::ObjectDBUpdater(ObjectDB* database, DependentUpdates* dependents)
    : m_database(database),
      m_dependents(dependents)
{}

KSLObject* ObjectDBUpdater::find(const std::string& path)
{
  if (m_changesThen == m_database->changeCount() && path == m_lastPath)
    return m_last;
  m_last = m_database->getObjectByPath(path);
  m_lastPath = path;
  m_changesThen = m_database->changeCount();
  return m_last;
}

bool ObjectDBUpdater::hasObject(const std::string& path)
{
  const bool isPath = !path.empty() && path.front() == '/';
  return isPath ? find(path) != nullptr : m_database->hasObject(path);
}

void ObjectDBUpdater::createObject(const std::string& path)
{
  const std::string parent(PathUtils::parentPath(path));
  const KSLPath last(std::string_view(path).substr(parent.size()));
  m_database->addObject(
      ObjectFactory::instance()->createObject(parent, last.getLastType(), last.getLastName()));
}

void ObjectDBUpdater::deleteObject(const std::string& path)
{
  KSLObject* object = m_database->getObjectByPath(path);
  if (!object)
    return;
  object->addToDependentUpdates(m_dependents);
  const TreeDependents dependents(*object);
  dependents.tellOfLoss(*m_database);
  ScopeGuard undo([&] { dependents.giveBack(*m_database); });
  object->deleteAllDependent();
  m_database->deleteObject(path);
  undo.dismiss();
}

void ObjectDBUpdater::setParam(const std::string& path, const std::string& name, const std::string& value)
{
  if (KSLObject* object = find(path))
    object->setValue(name, value);
}

void ObjectDBUpdater::unsetParam(const std::string& path, const std::string& name)
{
  if (KSLObject* object = find(path))
    object->unsetParam(name);
}

// ------------------------------------------------------------------------------------------------------- no action

bool ObjectDBUpdaterNoAction::hasObject(const std::string& path)
{
  return m_database->hasObject(path);
}

void ObjectDBUpdaterNoAction::createObject(const std::string&) {}

void ObjectDBUpdaterNoAction::deleteObject(const std::string&) {}

void ObjectDBUpdaterNoAction::setParam(const std::string& path, const std::string& name,
                                       const std::string& value)
{
  if (KSLObject* object = m_database->getObjectByPath(path))
    object->setValueWithoutPending(name, value);
}

void ObjectDBUpdaterNoAction::unsetParam(const std::string&, const std::string&) {}

}  // namespace orv
