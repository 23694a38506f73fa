// The questions that the front door answers from the database and the factory.
#include "platform/ORVError.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "command/KSLCoreAPI.h"

namespace orv {

namespace {

void requireArgument(const std::string& text, const char* function, const char* name)
{
  if (text.empty())
    throw data::invalid("KSLCoreAPI", function, _("Input parameter %s is empty.", name));
}

std::string stateOf(const std::string& path, ParamFilter filter)
{
  requireArgument(path, "getObjectKSL", "p_path");
  const KSLObject* object = ObjectDB::instance()->getObjectByPath(path);
  return object ? object->getState(filter) : std::string();
}

}  // namespace

bool KSLCoreAPI::hasObject(const std::string& path) const
{
  requireArgument(path, "hasObject", "p_path");
  return ObjectDB::instance()->hasObject(path);
}

bool KSLCoreAPI::hasObjectGotParam(const std::string& path, const std::string& param) const
{
  requireArgument(path, "getObjectParamHasParamByPath", "p_path");
  requireArgument(param, "getObjectParamHasParamByPath", "p_param");
  const KSLObject* object = getObjectByPath(path);
  return object && object->hasParam(param);
}

bool KSLCoreAPI::toValidatedPath(std::string& path) const
{
  if (!hasObject(path))
    return false;
  if (getObjectByPath(path))
    return true;
  const KSLObject* object = getTopObjectByName(path);
  if (!object)
    return false;
  path = object->getPath();
  return true;
}

KSLObject* KSLCoreAPI::getObjectByPath(const std::string& path) const
{
  return ObjectDB::instance()->getObjectByPath(path);
}

KSLObject* KSLCoreAPI::getTopObjectByName(const std::string& name) const
{
  return ObjectDB::instance()->getObjectByName(name);
}

std::vector<KSLObject*> KSLCoreAPI::getObjectsByType(const std::string& type) const
{
  return ObjectDB::instance()->getObjectsByType(type);
}

std::vector<KSLObject*> KSLCoreAPI::getTopObjectsByType(const std::string& type) const
{
  return ObjectDB::instance()->getObjectsByType(type);
}

std::vector<KSLObject*> KSLCoreAPI::getChildObjectsByType(const std::string& parentPath,
                                                          const std::string& type) const
{
  return ObjectDB::instance()->getObjectsByType(parentPath, type);
}

std::vector<KSLObject*> KSLCoreAPI::getObjectsByCategory(const std::string& category) const
{
  return ObjectDB::instance()->getAllObjectsByCategory(category);
}

std::vector<KSLObject*> KSLCoreAPI::getTopObjectsByCategory(const std::string& category) const
{
  return ObjectDB::instance()->getObjectsByCategory({}, category);
}

std::vector<KSLObject*> KSLCoreAPI::getChildObjectsByCategory(const std::string& parentPath,
                                                              const std::string& category) const
{
  return ObjectDB::instance()->getObjectsByCategory(parentPath, category);
}

void KSLCoreAPI::getObjectsWithParameter(const std::string& paramName,
                                         std::vector<std::pair<std::string, std::string>>& results) const
{
  ObjectDB::instance()->getObjectsWithParameter(paramName, results);
}

std::string KSLCoreAPI::getObjectKSL(const std::string& path) const
{
  return stateOf(path, allParams);
}

std::string KSLCoreAPI::getObjectExternalKSL(const std::string& path) const
{
  return stateOf(path, externalParams);
}

std::string KSLCoreAPI::getState(const std::vector<std::string>& paths) const
{
  return ObjectDB::instance()->getState(paths);
}

std::string KSLCoreAPI::getState(const std::string& paths) const
{
  return getState(StringUtilities::splitValue(paths));
}

std::map<std::string, std::string> KSLCoreAPI::getObjectParamsByPath(const std::string& path,
                                                                     UnitSystemTypes::UnitsType units,
                                                                     bool difference) const
{
  const KSLObject* object = getObjectByPath(path);
  return object ? object->getParams(units, difference) : std::map<std::string, std::string>();
}

// A prototype's parameters stand at their defaults.
std::map<std::string, std::string> KSLCoreAPI::getParamsForObjectType(const std::string& type,
                                                                      UnitSystemTypes::UnitsType units,
                                                                      bool externalOnly) const
{
  const ObjectFactory* factory = ObjectFactory::instance();
  const KSLObject* prototype = factory->findPrototype(type);
  if (!prototype || units != UnitSystemTypes::preferred)
    return factory->getParamsForObjectType(type, !externalOnly);
  std::map<std::string, std::string> params = prototype->getParams(units, false);
  if (!externalOnly)
    params.merge(prototype->getInternalParams(units, false));
  return params;
}

std::vector<std::string> KSLCoreAPI::getCategories() const
{
  return Category::getCategories();
}

std::vector<std::string> KSLCoreAPI::getObjectTypes() const
{
  return ObjectFactory::instance()->getObjectTypes();
}

std::vector<std::string> KSLCoreAPI::getParamTypes() const
{
  return ObjectFactory::instance()->getParamTypes();
}

std::unique_ptr<KSLObject> KSLCoreAPI::createObject(const std::string& parentPath, const std::string& type,
                                                    const std::string& name) const
{
  return ObjectFactory::instance()->createObject(parentPath, type, name);
}

std::unique_ptr<KSLObject> KSLCoreAPI::createObject(const std::string& type, const std::string& name) const
{
  return ObjectFactory::instance()->createObject(type, name);
}

}  // namespace orv
