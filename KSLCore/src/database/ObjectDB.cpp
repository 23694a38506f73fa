#include "database/ObjectDB.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVUtilities.h"
#include "platform/internal/ContextLocal.h"
#include "database/DBChangeNotify.h"
#include "database/NamesBeside.h"
#include "database/ObjectHolderImpl.h"
#include "database/PathIndex.h"
#include "database/RootKSLObject.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <optional>

namespace orv {

namespace {

constinit ContextLocal<ObjectDB*> theObjectDB(ContextEnd::objects, &ObjectDB::destroyInstance);

constexpr const char* objectDBClass = "ObjectDB";

bool beginsWithDot(std::string_view path)
{
  return path.starts_with('.') && (path.size() == 1 || path[1] == '/');
}

// True when simplifying would leave the path as it is: no empty component, no ".", no slash at the end.
bool isNormal(std::string_view path)
{
  if ((path.size() > 1 && path.back() == '/') || beginsWithDot(path))
    return false;
  for (std::size_t i = 0; i + 1 < path.size(); ++i) {
    if (path[i] == '/' && (path[i + 1] == '/' || beginsWithDot(path.substr(i + 1))))
      return false;
  }
  return true;
}

void requireText(const std::string& text, const char* function, const char* name)
{
  if (text.empty())
    throw data::invalid(objectDBClass, function, _("Input parameter %s is empty.", name));
}

bool pathBefore(const KSLObject* a, const KSLObject* b)
{
  return a->getSharedPath() < b->getSharedPath();
}

}  // namespace

// -------------------------------------------------------------------------------------------------- delete guard

// Brackets the deletion of one object: it carries the mark, and the observer hears of begin and end.
class ObjectDB::DeleteGuard {
 public:
  DeleteGuard(ObjectDB& database, ObjectHolder* holder)
      : m_database(database),
        m_holder(holder),
        m_path(holder->getObject()->getSharedPath())
  {
    KSLObject* object = holder->getObject();
    const bool wasPending = object->isPendingDelete();
    if (!m_database.m_changeNotify) {
      object->setPendingDelete(true);
      return;
    }
    m_text.emplace(m_path);
    object->setPendingDelete(true);
    try {
      m_database.m_changeNotify->objectDeleteBegin(object);
    } catch (...) {
      object->setPendingDelete(wasPending);
      throw;
    }
  }

  // An observer's failure has no one to tell here. Those who came after the begin are told nothing.
  ~DeleteGuard()
  {
    const ObjectHolder* left = m_database.m_index->find(PathKey(m_path));
    KSLObject* object = left ? left->getObject() : nullptr;
    if (object)
      object->setPendingDelete(false);
    if (!m_database.m_changeNotify || !m_text)
      return;
    try {
      m_database.m_changeNotify->objectDeleteEnd(m_text->str(), object);
    } catch (...) {}
  }

  DeleteGuard(const DeleteGuard&) = delete;
  DeleteGuard& operator=(const DeleteGuard&) = delete;

  ObjectHolder* holder() const { return m_holder; }

 private:
  ObjectDB& m_database;
  ObjectHolder* m_holder;
  SharedText m_path;
  std::optional<WholePath> m_text;  // of the path, made while there is memory for it
};

// ------------------------------------------------------------------------------------------------------ instance

ObjectDB* ObjectDB::instance()
{
  ObjectDB*& instance = *theObjectDB;
  if (!instance)
    instance = new ObjectDB;
  return instance;
}

ObjectDB* ObjectDB::current() noexcept
{
  ObjectDB* const instance = *theObjectDB;
  return instance && !instance->m_ending ? instance : nullptr;
}

// Objects that end may still ask the database, so it stays reachable until all are gone.
void ObjectDB::destroyInstance()
{
  ObjectDB*& instance = *theObjectDB;
  delete instance;
  instance = nullptr;
  KSLObject::resetPathNormaliser();
}

ObjectWatch::~ObjectWatch() = default;

ObjectDB::ObjectDB()
    : m_index(std::make_unique<PathIndex>()),
      m_root(std::make_unique<RootKSLObject>()),
      m_rootHolder(std::make_unique<ObjectHolderImpl>(nullptr, m_root.get()))
{
  m_root->setParentChildInfo(m_rootHolder.get());
}

ObjectDB::~ObjectDB()
{
  m_ending = true;
  try {
    registerChangeNotify(nullptr);
    while (KSLObject* child = m_rootHolder->getFirstChild())
      doDeleteObject(holderOf(child));
  } catch (...) {
    reportAssertion("Objects could not be deleted at shut-down.", "KSLCore/src/ObjectDB");
  }
  m_root->setParentChildInfo(nullptr);
}

KSLObject* ObjectDB::getRoot() const
{
  return m_root.get();
}

std::size_t ObjectDB::size() const
{
  return m_index->size();
}

void ObjectDB::supportOldStylePaths()
{
  instance()->m_pathNormaliseFun = PathUtils::normalisePathBwdComp;
}

// ------------------------------------------------------------------------------------------------------- look-up

// "" for the root.
std::string ObjectDB::normalised(const std::string& path) const
{
  std::string normal = StringUtilities::simplifyPath(path);
  if (m_pathNormaliseFun)
    normal = m_pathNormaliseFun(normal);
  if (normal == "/")
    normal.clear();
  return normal;
}

ObjectHolder* ObjectDB::findObjectHolder(const std::string& path) const
{
  if (!m_pathNormaliseFun && path.size() > 1 && isNormal(path))
    return m_index->find(PathKey(path));
  const std::string normal = normalised(path);
  return normal.empty() ? m_rootHolder.get() : m_index->find(PathKey(normal));
}

// Whatever is here has a normal path.
ObjectHolder* ObjectDB::findObjectHolder(const SharedText& path) const
{
  if (m_pathNormaliseFun || path.size() <= 1)
    return findObjectHolder(WholePath(path).str());
  ObjectHolder* const found = m_index->find(PathKey(path));
  return found || isNormalPath(path) ? found : findObjectHolder(WholePath(path).str());
}

// Of a long path only what is not above the one asked for last is read.
bool ObjectDB::isNormalPath(const SharedText& path) const
{
  if (!path.isLong())
    return isNormal(path.str());
  SharedText at = path;
  for (; at.isLong() && !m_index->lastNormal.isSameOrBelow(at); at = at.parent()) {
    if (!isNormal(at.component()))
      return false;
  }
  if (!at.isLong() && !isNormal(at.str()))
    return false;
  m_index->lastNormal = path;
  return true;
}

ObjectHolder* ObjectDB::findParentHolder(const SharedText& path) const
{
  if (path.isLong())
    return findObjectHolder(path.parent());
  const std::string_view parent = PathUtils::parentPath(path.str());
  if (m_pathNormaliseFun || parent.size() <= 1)
    return findObjectHolder(std::string(parent));
  if (m_lastParent && m_lastParent->getObject()->pathIs(parent))
    return m_lastParent;
  ObjectHolder* const found =
      isNormal(parent) ? m_index->find(PathKey(parent)) : findObjectHolder(std::string(parent));
  if (found && found->getObject()->pathIs(parent))
    m_lastParent = found;
  return found;
}

bool ObjectDB::hasObject(const std::string& pathOrName) const
{
  requireText(pathOrName, "hasObject", "path");
  if (!m_pathNormaliseFun && pathOrName.front() == '/' && isNormal(pathOrName))
    return findObjectHolder(pathOrName) != nullptr;
  const std::string normal = StringUtilities::simplifyPath(pathOrName);
  const std::string text = m_pathNormaliseFun ? m_pathNormaliseFun(normal) : normal;
  requireText(text, "hasObject", "path");
  return text.front() == '/' ? findObjectHolder(text) != nullptr : getObjectByName(text) != nullptr;
}

KSLObject* ObjectDB::getObjectByPath(const std::string& path) const
{
  const ObjectHolder* holder = findObjectHolder(path);
  return holder ? holder->getObject() : nullptr;
}

KSLObject* ObjectDB::getObjectByPath(const SharedText& path) const
{
  const ObjectHolder* holder = findObjectHolder(path);
  return holder ? holder->getObject() : nullptr;
}

KSLObject* ObjectDB::getObjectByName(const std::string& name) const
{
  if (name.empty())
    return nullptr;
  const std::vector<KSLObject*> found = m_rootHolder->getChildObjectsByName(name);
  if (found.size() > 1)
    throw diagnosed(data::invalid(objectDBClass, "getObjectByName", _("Object name %s is ambiguous.", name)),
                    severalObjects(name, found));
  return found.empty() ? nullptr : found.front();
}

// ------------------------------------------------------------------------------------------------------ addition

ObjectHolder* ObjectDB::checkedParentOf(const KSLObject* object) const
{
  constexpr const char* function = "addObject";
  const auto requireField = [&](bool isThere, const char* field) {
    if (!isThere)
      throw data::invalid(objectDBClass, function, _("Invalid KSLObject. %s field is empty.", field));
  };
  if (!object)
    throw internal::badParam(objectDBClass, function, _("Null pointer to %s.", "KSLObject"));
  const SharedText& path = object->getSharedPath();
  requireField(!object->getType().empty(), "Type");
  requireField(!object->getName().empty(), "name");
  requireField(!path.empty(), "path");
  const bool isNormal = isNormalPath(path);
  const bool isKey = isNormal && !m_pathNormaliseFun && path.size() > 1;
  if (isKey ? m_index->find(PathKey(path)) : findObjectHolder(path))
    throw data::duplicate(objectDBClass, function,
                          _("KSLObject '%s' (path '%s') already exists.", object->getName(), path.copy()));
  ObjectHolder* parent = findParentHolder(path);
  if (!parent)  // the blank that is missing in this text is missed by nobody: it is compared as it stands
    throw data::invalid(objectDBClass, function,
                        _("Parent of new object ('%s')does not exist in the database.", path.copy()));
  if (!isNormal)
    throw data::invalid(objectDBClass, function, _("Path '%s' is not normal.", path.copy()));
  return parent;
}

void ObjectDB::insert(ObjectHolder* parent, KSLObject* object)
{
  ++m_changes;
  auto holder = std::make_unique<ObjectHolderImpl>(parent, object);
  parent->addChildObject(object);
  ScopeGuard unplace([&] {
    object->setParentChildInfo(nullptr);
    parent->removeChildObject(object);
  });
  object->setParentChildInfo(holder.get());
  m_index->insert(holder.get());
  ScopeGuard unlist([&] {
    m_index->erase(holder.get());
    if (m_lastParent == holder.get())  // an observer has looked
      m_lastParent = nullptr;
  });
  if (m_changeNotify) {
    object->registerObjectChangeNotify(m_changeNotify);
    ScopeGuard unobserve([&] { object->registerObjectChangeNotify(nullptr); });
    m_changeNotify->objectAdded(object);
    unobserve.dismiss();
  }
  unlist.dismiss();
  unplace.dismiss();
  (void)holder.release();  // the index's
  if (m_watch)
    m_watch->objectAdded(*object);
}

void ObjectDB::addObject(KSLObject* object)
{
  insert(checkedParentOf(object), object);
}

KSLObject* ObjectDB::addObject(std::unique_ptr<KSLObject>&& object)
{
  addObject(object.get());
  return object.release();
}

// ------------------------------------------------------------------------------------------------------ deletion

void ObjectDB::deleteObject(const std::string& path)
{
  requireText(path, "deleteObject", "p_path");
  ObjectHolder* holder = findObjectHolder(path);
  if (!holder)
    throw data::notFound(objectDBClass, "deleteObject", _("%s '%s' does not exist.", "KSLObject", path));
  if (!holder->getParentHolder())
    throw internal::error(objectDBClass, "deleteObject",
                          _("Attempt to delete object that has no parent object ('%s')", path));
  doDeleteObject(holder);
}

void ObjectDB::deleteObject(const SharedText& path)
{
  ObjectHolder* holder = findObjectHolder(path);
  if (!holder || !holder->getParentHolder())
    return deleteObject(path.copy());  // which throws
  doDeleteObject(holder);
}

// Always the first child that is left, so that nothing is copied and what an observer does in between cannot
// invalidate a list. Guards end innermost first, by any path.
void ObjectDB::doDeleteObject(ObjectHolder* top)
{
  std::deque<DeleteGuard> open;
  ScopeGuard unwind([&open] {
    while (!open.empty())
      open.pop_back();
  });
  open.emplace_back(*this, top);
  while (!open.empty()) {
    ObjectHolder* holder = open.back().holder();
    const KSLObject* child = holder->getFirstChild();
    if (!child) {
      removeLeaf(holder);
      open.pop_back();
      continue;
    }
    open.emplace_back(*this, holderOf(child));
  }
}

ObjectHolder* ObjectDB::holderOf(const KSLObject* child) const
{
  if (ObjectHolder* holder = m_index->find(PathKey(child->getSharedPath())))
    return holder;
  throw internal::error(objectDBClass, "doDeleteObject",
                        _("%s '%s' does not exist.", "KSLObject", child->getPath()));
}

// From here on nobody finds the object by its path; its own place stays.
void ObjectDB::unlist(ObjectHolder* holder)
{
  ++m_changes;
  if (holder == m_lastParent)
    m_lastParent = nullptr;
  if (m_watch && !m_ending)
    m_watch->objectGoing(*holder->getObject());
  holder->getParentHolder()->removeChildObject(holder->getObject());
  m_index->erase(holder);
}

void ObjectDB::removeLeaf(ObjectHolder* holder)
{
  unlist(holder);
  const std::unique_ptr<ObjectHolder> endingPlace(holder);
  const std::unique_ptr<KSLObject> ending(holder->getObject());
}

void ObjectDB::registerChangeNotify(DBChangeNotify* observer)
{
  if (observer && m_changeNotify)
    throw internal::error(objectDBClass, "registerChangeNotify",
                          _("Attempt to register DBChangeNotify when one is already registered."));
  if (!observer && m_changeNotify)
    m_index->forEach([](ObjectHolder* holder) { holder->getObject()->registerObjectChangeNotify(nullptr); });
  m_changeNotify = observer;
}

// ------------------------------------------------------------------------------------------------------- queries

std::vector<KSLObject*> ObjectDB::getObjectsByType(const std::string& path, const std::string& type) const
{
  requireText(type, "getObjectsByType", "p_type");
  const KSLObject* object = getObjectByPath(path);
  return object ? object->getChildObjectsByType(type) : std::vector<KSLObject*>();
}

std::vector<KSLObject*> ObjectDB::getObjectsByType(const std::string& type) const
{
  return getObjectsByType({}, type);
}

std::vector<KSLObject*> ObjectDB::getObjectsByCategory(const std::string& path,
                                                       const std::string& category) const
{
  requireText(category, "getObjectsByCategory", "p_cat");
  const KSLObject* object = getObjectByPath(path);
  return object ? object->getChildObjectsByCategory(category) : std::vector<KSLObject*>();
}

std::vector<KSLObject*> ObjectDB::getObjectsByCategory(const std::string& category) const
{
  return getObjectsByCategory({}, category);
}

namespace {

// What `text` gives for each object that `accept` takes.
template <class Accept, class Text>
std::vector<std::string> textsOf(const std::vector<KSLObject*>& objects, Accept accept, Text text)
{
  std::vector<std::string> texts;
  for (const KSLObject* object : objects) {
    if (accept(*object))
      texts.push_back(std::invoke(text, *object));
  }
  return texts;
}

bool acceptAll(const KSLObject&)
{
  return true;
}

std::string pathOf(const KSLObject& object)
{
  return object.getSharedPath().copy();
}

}  // namespace

std::vector<std::string> ObjectDB::getNamesByType(const std::string& path, const std::string& type) const
{
  requireText(type, "getNamesByType", "p_type");
  return textsOf(getObjectsByType(path, type), acceptAll, &KSLObject::getName);
}

std::vector<std::string> ObjectDB::getNamesByType(const std::string& type) const
{
  return getNamesByType({}, type);
}

std::vector<std::string> ObjectDB::getNamesByCategory(const std::string& path,
                                                      const std::string& category) const
{
  requireText(category, "getNamesByCategory", "p_cat");
  return textsOf(getObjectsByCategory(path, category), acceptAll, &KSLObject::getName);
}

std::vector<std::string> ObjectDB::getNamesByCategory(const std::string& category) const
{
  return getNamesByCategory({}, category);
}

std::vector<std::string> ObjectDB::pendingDeletion(const std::string& path, const std::string& type,
                                                   const std::string& (KSLObject::*text)() const) const
{
  const KSLObject* object = getObjectByPath(path);
  if (!object)
    return {};
  return textsOf(
      type == "ALL OBJECTS" ? object->getChildObjects() : object->getChildObjectsByType(type),
      [](const KSLObject& child) { return child.isPendingDelete(); }, text);
}

std::vector<std::string> ObjectDB::getNamesPendingDeletion(const std::string& path,
                                                           const std::string& type) const
{
  return pendingDeletion(path, type, &KSLObject::getName);
}

std::vector<std::string> ObjectDB::getNamesPendingDeletion(const std::string& type) const
{
  return getNamesPendingDeletion({}, type);
}

std::vector<std::string> ObjectDB::getPathsPendingDeletion(const std::string& path,
                                                           const std::string& type) const
{
  return pendingDeletion(path, type, &KSLObject::getPath);
}

std::vector<std::string> ObjectDB::getPathsPendingDeletion(const std::string& type) const
{
  return getPathsPendingDeletion({}, type);
}

std::vector<KSLObject*> ObjectDB::getAllObjects() const
{
  std::vector<KSLObject*> objects;
  objects.reserve(m_index->size());
  m_index->forEach([&objects](const ObjectHolder* holder) { objects.push_back(holder->getObject()); });
  std::sort(objects.begin(), objects.end(), pathBefore);
  return objects;
}

std::vector<KSLObject*> ObjectDB::getAllObjectsByCategory(const std::string& category) const
{
  std::vector<KSLObject*> objects = getAllObjects();
  std::erase_if(objects, [&](const KSLObject* object) { return !object->getCategory().isA(category); });
  return objects;
}

std::vector<std::string> ObjectDB::getAllObjectPaths() const
{
  return textsOf(getAllObjects(), acceptAll, pathOf);
}

std::vector<std::string> ObjectDB::getAllObjectPathsByCategory(const std::string& category) const
{
  return textsOf(getAllObjectsByCategory(category), acceptAll, pathOf);
}

void ObjectDB::getObjectsWithParameter(const std::string& paramName,
                                       std::vector<std::pair<std::string, std::string>>& results) const
{
  results.clear();
  m_index->forEach([&](const ObjectHolder* holder) {
    const KSLObject* object = holder->getObject();
    const ParamDefinition* param = object->lookUpParam(paramName);
    if (param && param->getValue().find(',') == std::string::npos)
      results.emplace_back(object->getSharedPath().copy(), param->getValue());
  });
  std::sort(results.begin(), results.end());
}

// -------------------------------------------------------------------------------------------------------- state

std::string ObjectDB::getState(const std::vector<std::string>& pathsOrNames) const
{
  std::string text;
  if (m_index->size() == 0)
    return text;
  if (pathsOrNames.empty()) {
    for (const KSLObject* object : getAllObjects())
      text.append(WholePath(object->getSharedPath()).str()) += '\n';
    return text;
  }
  for (const std::string& item : pathsOrNames) {
    if (!item.empty())
      appendStateOf(item, text);
  }
  return text;
}

void ObjectDB::appendStateOf(const std::string& pathOrName, std::string& text) const
{
  const KSLObject* object =
      pathOrName.front() == '/' ? getObjectByPath(pathOrName) : getObjectByName(pathOrName);
  if (!object) {
    ErrorProgressReporter::instance()->reportError(data::notFound(
        objectDBClass, "getState", _("Object '%s' does not exist.", pathOrName), errorType::warning));
    return;
  }
  text.append(1, '\n').append(51, '-').append(1, '\n');
  object->appendState(text, allParams);
  if (object != m_root.get())  // the root is only a place
    text += object->getSchedulerInfo();
}

}  // namespace orv
