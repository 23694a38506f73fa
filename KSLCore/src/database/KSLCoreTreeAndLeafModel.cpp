#include "database/KSLCoreTreeAndLeafModel.h"

#include "database/KSLObject.h"
#include "database/KSLStateLogger.h"
#include "database/ObjectDB.h"
#include "database/StateTraversal.h"

namespace orv {

namespace {

const KSLObject* objectAt(const KSLPath& path)
{
  return ObjectDB::instance()->getObjectByPath(path.getFullPath());
}

// Tells of objects as a reader of any tree knows them.
class SettingsLogger final : public KSLStateLogger {
 public:
  explicit SettingsLogger(TreeVisitor& visitor) : m_visitor(visitor) {}
  void objectBegin(const KSLObject* object) override
  {
    m_visitor.beginObject(object->getPath(), object->getType(), object->getName());
  }
  void parameter(const KSLObject* object, const ParamDefinition* param) override
  {
    m_visitor.parameter(object->getPath(), param->getName(), param->getValue());
  }
  void objectEnd(const KSLObject*) override { m_visitor.endObject(); }

 private:
  TreeVisitor& m_visitor;
};

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

void KSLCoreTreeAndLeafModel::visitSettings(const KSLPath& path, TreeVisitor& visitor) const
{
  const KSLObject* object = objectAt(path);
  if (!object)
    return;
  SettingsLogger logger(visitor);
  StateTraversal::ofSettings(logger).run(*object);
}

}  // namespace orv
