#include "database/KSLCoreTreeAndLeafModel.h"

#include "database/KSLObject.h"
#include "database/ObjectDB.h"

namespace orv {

namespace {

const KSLObject* objectAt(const KSLPath& path)
{
  return ObjectDB::instance()->getObjectByPath(path.getFullPath());
}

}  // namespace

KSLCoreTreeAndLeafModel::~KSLCoreTreeAndLeafModel() = default;

bool KSLCoreTreeAndLeafModel::hasObject(const KSLPath& path) const
{
  return objectAt(path) != nullptr;
}

std::vector<KSLPath> KSLCoreTreeAndLeafModel::getChildren(const KSLPath& path) const
{
  std::vector<KSLPath> children;
  if (const KSLObject* object = objectAt(path))
    object->forEachChild([&children](KSLObject* child) { children.emplace_back(child->getPath()); });
  return children;
}

std::vector<std::string> KSLCoreTreeAndLeafModel::getParameterNames(const KSLPath& path) const
{
  const KSLObject* object = objectAt(path);
  return object ? object->getParamNames(externalParams) : std::vector<std::string>();
}

std::string KSLCoreTreeAndLeafModel::getParameterValue(const KSLPath& path, const std::string& name) const
{
  const KSLObject* object = objectAt(path);
  const ParamDefinition* param = object ? object->lookUpParam(name) : nullptr;
  return param ? param->getValue() : std::string();
}

bool KSLCoreTreeAndLeafModel::isSingleton(const KSLPath& path) const
{
  const KSLObject* object = objectAt(path);
  return object && object->isSingleton();
}

}  // namespace orv
