#include "database/ObjectFactory.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/internal/ContextLocal.h"
#include "database/Category.h"

#include <utility>

namespace orv {

namespace {

constinit ContextLocal<ObjectFactory*> theObjectFactory(ContextEnd::types, &ObjectFactory::destroyInstance);

constexpr const char* objectFactoryClass = "ObjectFactory";

template <class T>
void requirePrototype(const T* prototype, const char* function)
{
  if (!prototype)
    throw internal::nullPointer(objectFactoryClass, function,
                                _("Input parameter %s is a null pointer.", "p_prototype"));
}

// Calls the owning form; the pointer stays the caller's when that refuses it.
template <class T, class Add>
void passOn(T* raw, Add add)
{
  std::unique_ptr<T> owner(raw);
  try {
    add(std::move(owner));
  } catch (...) {
    (void)owner.release();
    throw;
  }
}

}  // namespace

ObjectFactory::ObjectFactory() = default;

ObjectFactory::~ObjectFactory() = default;

ObjectFactory* ObjectFactory::instance()
{
  ObjectFactory*& instance = *theObjectFactory;
  if (!instance)
    instance = new ObjectFactory;
  return instance;
}

void ObjectFactory::destroyInstance()
{
  ObjectFactory*& instance = *theObjectFactory;
  delete instance;
  instance = nullptr;
  Category::resetRegistry();
}

void ObjectFactory::registerBaseType(const std::string& name, std::unique_ptr<KSLObject>&& prototype)
{
  requirePrototype(prototype.get(), "registerBaseType");
  if (name.empty())  // "$1" is no directive: the text has been read like this for ever
    throw ksl::error(objectFactoryClass, "registerBaseType",
                     _("Invalid KSLObject. $1 field is empty.", "p_baseType"));
  if (m_baseTypes.count(name))
    throw ksl::error(objectFactoryClass, "registerBaseType",
                     _("Duplicate data: KSLObject base type '%s' already exists.", name));
  auto& place = m_baseTypes[name];
  place = std::move(prototype);
}

void ObjectFactory::registerBaseType(const std::string& name, KSLObject* prototype)
{
  passOn(prototype, [&](std::unique_ptr<KSLObject>&& owner) { registerBaseType(name, std::move(owner)); });
}

std::unique_ptr<KSLObject> ObjectFactory::createBaseType(const std::string& name) const
{
  const auto found = m_baseTypes.find(name);
  if (found == m_baseTypes.end())
    throw data::notFound(objectFactoryClass, "createBaseType", _("Could not find base type: %s", name));
  return std::unique_ptr<KSLObject>(found->second->clone());
}

std::unique_ptr<KSLObject> ObjectFactory::createObject(const std::string& parentPath, const std::string& type,
                                                       const std::string& name) const
{
  const KSLObject* prototype = findPrototype(type);
  if (!prototype)
    throw diagnosed(data::notFound(objectFactoryClass, "createObject", _("Could not find object: %s", type)),
                    oneOf(type, getObjectTypes()));
  std::unique_ptr<KSLObject> object(prototype->clone());
  object->initialize(parentPath, name);
  return object;
}

std::unique_ptr<KSLObject> ObjectFactory::createObject(const std::string& type, const std::string& name) const
{
  return createObject({}, type, name);
}

void ObjectFactory::addObject(std::unique_ptr<KSLObject>&& prototype)
{
  requirePrototype(prototype.get(), "addObject");
  const std::string& type = prototype->getType();
  if (type.empty())
    throw ksl::error(objectFactoryClass, "addObject", _("Invalid KSLObject. $1 field is empty.", "Type"));
  if (m_objects.count(type))
    throw data::duplicate(objectFactoryClass, "addObject",
                          _("Duplicate data: KSLObject type '%s' already exists.", type));
  auto& place = m_objects[type];
  place = std::move(prototype);
}

void ObjectFactory::addObject(KSLObject* prototype)
{
  passOn(prototype, [&](std::unique_ptr<KSLObject>&& owner) { addObject(std::move(owner)); });
}

void ObjectFactory::addParam(std::unique_ptr<ParamDefinition>&& prototype)
{
  requirePrototype(prototype.get(), "addParam");
  const std::string& name = prototype->getName();
  if (m_params.count(name))  // the function word is the objects' one, on purpose
    throw data::duplicate(objectFactoryClass, "addParameter",
                          _("Duplicate data: Parameter '%s' already exists.", name));
  auto& place = m_params[name];
  place = std::move(prototype);
}

void ObjectFactory::addParam(ParamDefinition* prototype)
{
  passOn(prototype, [&](std::unique_ptr<ParamDefinition>&& owner) { addParam(std::move(owner)); });
}

std::unique_ptr<ParamDefinition> ObjectFactory::createParam(const std::string& name) const
{
  const auto found = m_params.find(name);
  if (found == m_params.end())
    throw data::notFound(objectFactoryClass, "createParam", _("Could not find parameter: %s", name));
  return found->second->clone();
}

bool ObjectFactory::hasObject(std::string_view type) const
{
  return findPrototype(type) != nullptr;
}

bool ObjectFactory::hasParam(std::string_view name) const
{
  return m_params.find(name) != m_params.end();
}

const KSLObject* ObjectFactory::findPrototype(std::string_view type) const
{
  const auto found = m_objects.find(type);
  return found == m_objects.end() ? nullptr : found->second.get();
}

const ObjectRules* ObjectFactory::getObjectRules(std::string_view type) const
{
  const KSLObject* prototype = findPrototype(type);
  return prototype ? prototype->getObjectRules() : nullptr;
}

std::vector<std::string> ObjectFactory::getObjectTypes() const
{
  std::vector<std::string> types;
  types.reserve(m_objects.size());
  for (const auto& [type, prototype] : m_objects)
    types.push_back(type);
  return types;
}

std::vector<std::string> ObjectFactory::getTypesByCategory(const std::string& category) const
{
  std::vector<std::string> types;
  for (const auto& [type, prototype] : m_objects) {
    if (prototype->getCategory().isA(category))
      types.push_back(type);
  }
  return types;
}

std::vector<std::string> ObjectFactory::getParamTypes() const
{
  std::vector<std::string> names;
  names.reserve(m_params.size());
  for (const auto& [name, prototype] : m_params)
    names.push_back(name);
  return names;
}

std::map<std::string, std::string> ObjectFactory::getParamsForObjectType(const std::string& type,
                                                                         bool withInternal) const
{
  std::map<std::string, std::string> params;
  const KSLObject* prototype = findPrototype(type);
  if (!prototype)
    return params;
  prototype->forEachParam([&](const ParamDefinition& param) {
    if (withInternal || !param.isInternal())
      params.emplace(param.getName(), param.getDefaultValue());
  });
  return params;
}

std::vector<std::string> ObjectFactory::getFilteredParamNames(const std::string& type,
                                                              ParamFilter filter) const
{
  const KSLObject* prototype = findPrototype(type);
  return prototype ? prototype->getParamNames(filter) : std::vector<std::string>();
}

}  // namespace orv
