#include "Model.h"

#include "database/KSLObject.h"
#include "database/ObjectDB.h"
#include "command/KSLInterface.h"

#include <algorithm>

namespace orv {

namespace {

// Trees of tests are at most a few thousand levels deep: recursion is fine here.

bool isHidden(const ParamDefinition* param)
{
  return param && (param->typeIs("Internal") || (param->isInternal() && !param->getRemoteType().empty()));
}

std::string lastOf(const std::string& path)
{
  return path.substr(path.rfind('/') + 1);
}

ModelNode readStore(const std::string& path)
{
  const KSLObject* object = ObjectDB::instance()->getObjectByPath(path);
  ModelNode node{lastOf(path), {}, {}};
  for (const KSLAPI::ObjectInfo& info : KSLInterface::instance()->getKSLAPI()->getObjectInfo(path)) {
    if (info.getKind() == "Object" && info.getPath() != "/RULES")
      node.children[info.getType()].push_back(readStore(info.getPath()));
    if (info.getKind() == "Param" && !isHidden(object ? object->lookUpParam(info.getName()) : nullptr))
      node.params[info.getName()] = info.getValue();
  }
  return node;
}

ModelNode readDatabase(const KSLObject* object)
{
  ModelNode node{lastOf(object->getPath()), {}, {}};
  object->forEachChild(
      [&node](KSLObject* child) { node.children[child->getType()].push_back(readDatabase(child)); });
  object->forEachParam([&](const ParamDefinition& param) {
    if (param.hasBeenSet() && !isHidden(&param) && !object->getPath().empty())
      node.params[param.getName()] = param.getValue();
  });
  return node;
}

}  // namespace

ModelNode readStore()
{
  return readStore(std::string());
}

ModelNode readDatabase()
{
  return readDatabase(ObjectDB::instance()->getRoot());
}

ModelNode ModelNode::sorted() const
{
  ModelNode copy{component, params, {}};
  for (const auto& [type, group] : children) {
    std::vector<ModelNode>& target = copy.children[type];
    for (const ModelNode& child : group)
      target.push_back(child.sorted());
    std::ranges::sort(target, {}, &ModelNode::component);
  }
  return copy;
}

std::string ModelNode::toText(const std::string& indent) const
{
  std::string text = component.empty() ? "" : indent + component + "\n";
  for (const auto& [name, value] : params)
    text.append(indent).append("  ").append(name).append(" = ").append(value).append("\n");
  for (const auto& entry : children) {
    for (const ModelNode& child : entry.second)
      text += child.toText(component.empty() ? indent : indent + "  ");
  }
  return text;
}

}  // namespace orv
