#include "CompletionSources.h"

#include "platform/ORVCommonUnits.h"
#include "platform/ORVError.h"
#include "platform/ORVUnits.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "rules/GenericKSLObject.h"
#include "session/TypeCatalogue.h"

#include <filesystem>
#include <optional>
#include <system_error>

using orv::KSLObject;
using orv::ObjectFactory;
using orv::ObjectRules;
using orv::ParamDefinition;

namespace {

// What selects the parameters that an object may have, as the block, its object or its type says; none when the
// rules do not know it, or ask for nothing.
std::optional<ObjectRules::Context> contextOf(const CommandInput::Block& block, const ObjectRules& rules,
                                              const KSLObject& object)
{
  std::string value;
  if (rules.hasContextRule()) {
    const auto set = block.values.find(rules.getContextRuleName());
    const ParamDefinition* param = object.lookUpParam(rules.getContextRuleName());
    if (set != block.values.end())
      value = set->second;
    else if (param)
      value = param->getValue();
  }
  try {
    return rules.findContext(value);
  } catch (const orv::data::invalid&) {
    return std::nullopt;
  }
}

bool calculates(const KSLObject& object, const std::string& schedulerType)
{
  const auto* generic = dynamic_cast<const orv::GenericKSLObject*>(&object);
  return generic && generic->findSchedulerObject(schedulerType);
}

}  // namespace

std::vector<std::string> typeHeaders()
{
  const ObjectFactory* factory = ObjectFactory::instance();
  std::vector<std::string> headers;
  for (const std::string& type : factory->getObjectTypes())
    headers.push_back(type + (factory->findPrototype(type)->isSingleton() ? ":" : ": "));
  return headers;
}

const KSLObject* objectOf(const std::vector<CommandInput::Block>& blocks)
{
  orv::KSLPath path;
  for (const CommandInput::Block& block : blocks)
    path.push(block.type, block.name);
  return orv::ObjectDB::instance()->getObjectByPath(path.getFullPath());
}

std::vector<std::string> parameterNames(const std::vector<CommandInput::Block>& blocks)
{
  const CommandInput::Block& block = blocks.back();
  const KSLObject* object = objectOf(blocks);
  if (!object)
    object = ObjectFactory::instance()->findPrototype(block.type);
  if (!object)
    return {};
  const ObjectRules* rules = object->getObjectRules();
  const auto context = rules ? contextOf(block, *rules, *object) : std::nullopt;
  std::vector<std::string> names;
  for (std::string& name : object->getParamNames(orv::externalParams))
    if (!context || rules->isParamAllowed(name, *context))
      names.push_back(std::move(name));
  return names;
}

const ParamDefinition* parameterOf(const std::vector<CommandInput::Block>& blocks, const std::string& name)
{
  const KSLObject* object = objectOf(blocks);
  if (!object)
    object = ObjectFactory::instance()->findPrototype(blocks.back().type);
  return object ? object->lookUpParam(name) : nullptr;
}

const NamedObjects& NamedObjects::ofDatabase()
{
  static const NamedObjects& objects = *new NamedObjects;
  return objects;
}

std::vector<std::string> NamedObjects::matching(std::string_view typed,
                                                const std::string& schedulerType) const
{
  const bool isPath = !typed.empty() && typed.front() == '/';
  const std::string parentPath(isPath ? orv::PathUtils::parentPath(typed) : std::string_view());
  const KSLObject* parent = orv::ObjectDB::instance()->getObjectByPath(parentPath);
  std::vector<std::string> names;
  if (parent)
    parent->forEachChild([&](const KSLObject* child) {
      if (schedulerType.empty() || calculates(*child, schedulerType))
        names.push_back(isPath ? child->getPath() : child->getName());
    });
  return names;
}

std::vector<std::string> NamedObjects::namesIn(const std::vector<CommandInput::Block>& blocks,
                                               const std::string& type) const
{
  std::vector<std::string> names;
  if (const KSLObject* parent = objectOf(blocks))
    parent->forEachChild([&](const KSLObject* child) {
      if (child->typeIs(type) && !child->isSingleton())
        names.push_back(child->getName());
    });
  return names;
}

std::vector<std::string> NamedObjects::expressions() const
{
  std::vector<std::string> names;
  for (const KSLObject* object : orv::ObjectDB::instance()->getAllObjects())
    if (const auto* computing = dynamic_cast<const orv::GenericKSLObject*>(object);
        computing && computing->definesNames())
      computing->forEachDefinedName([&](const std::string& name) { names.push_back(name); });
  return names;
}

bool takesExpression(const std::vector<CommandInput::Block>& blocks, const ParamDefinition* param)
{
  const KSLObject* prototype = ObjectFactory::instance()->findPrototype(blocks.back().type);
  const auto* computing = dynamic_cast<const orv::GenericKSLObject*>(prototype);
  return computing && (computing->definesNames() || (param && computing->holdsExpression(*param)));
}

std::vector<std::string> unitsOf(const ParamDefinition* param)
{
  const std::string usual = param ? orv::unitsInValue(param->getDefaultValue()) : std::string();
  std::vector<std::string> units;
  for (const std::string& unit : orv::commonUnits())
    if (usual.empty() || orv::UnitsConverter::areConvertible(unit, usual))
      units.push_back(unit);
  if (!usual.empty())
    units.push_back(usual);
  return units;
}

std::vector<std::string> fileNames(std::string_view typed)
{
  namespace fs = std::filesystem;
  const std::size_t slash = typed.rfind('/');
  const std::string folder(typed.substr(0, slash == std::string_view::npos ? 0 : slash + 1));
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator at(folder.empty() ? "." : folder, error), end; !error && at != end;
       at.increment(error)) {
    std::error_code unknown;
    names.push_back(folder + at->path().filename().string() + (at->is_directory(unknown) ? "/" : ""));
  }
  return names;
}
