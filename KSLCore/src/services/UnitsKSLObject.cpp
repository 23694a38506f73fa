#include "services/UnitsKSLObject.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"

#include <algorithm>
#include <utility>

namespace orv {

namespace {

constexpr const char* unitsKSLObjectClass = "UnitsKSLObject";

using Settings = EngineUnitSystemHandler::Settings;

[[noreturn]] void refuse(const KSLObject& object, const ParamDefinition& param, const std::string& reason)
{
  throw diagnosed(data::invalid(unitsKSLObjectClass, "update",
                                _("Parameter '%s' of object '%s' cannot have value '%s'. %s", param.getName(),
                                  object.getPath(), param.getValue(), reason)),
                  {.object = object.getPath(), .parameter = param.getName(), .subject = param.getValue()});
}

std::string readSystem(const KSLObject& object)
{
  const ParamDefinition* param = object.lookUpParam("Unit System");
  if (!param || param->getValue().empty())
    return Settings().system;
  const std::vector<std::string>& names = EngineUnitSystemHandler::getUnitSystemNames();
  if (std::find(names.begin(), names.end(), param->getValue()) == names.end())
    refuse(object, *param, _("The unit systems are %s.", StringUtilities::vectorToString(names, ", ")));
  return param->getValue();
}

std::map<std::string, std::string> readCustomUnits(const KSLObject& object)
{
  std::map<std::string, std::string> units;
  for (std::string& quantity : EngineUnitSystemHandler::getQuantityNames()) {
    const ParamDefinition* param = object.lookUpParam(quantity);
    if (!param)
      continue;
    if (const std::string reason = EngineUnitSystemHandler::whyNoUnitsOf(quantity, param->getValue());
        !reason.empty())
      refuse(object, *param, reason);
    if (!param->getValue().empty())
      units.emplace(std::move(quantity), param->getValue());
  }
  return units;
}

std::map<std::string, UnitDimensions::Exponents> readVariables(const KSLObject& object)
{
  std::map<std::string, UnitDimensions::Exponents> variables;
  const ParamDefinition* param = object.lookUpParam("Variable Dimensions");
  if (!param)
    return variables;
  for (const auto& [name, dimension] : ParamDefinition::createNameValueMap(param->splitValue())) {
    if (name.empty() || dimension.empty())
      refuse(object, *param, _("Each item should have the format: name=dimension."));
    try {
      variables.emplace(name, EngineUnitSystemHandler::parseDimensions(dimension).exponents());
    } catch (const data::invalid& error) {
      refuse(object, *param, error.getMessage());
    }
  }
  return variables;
}

}  // namespace

UnitsKSLObject::UnitsKSLObject() = default;

UnitsKSLObject::~UnitsKSLObject()
{
  if (EngineUnitSystemHandler* handler = EngineUnitSystemHandler::existing()) {
    const ScopeGuard release([this, handler] { handler->release(this); });  // swallows what observers throw
  }
}

void UnitsKSLObject::registerBaseType()
{
  auto prototype = std::make_unique<UnitsKSLObject>();
  registerBaseTypeWithFactory(unitsKSLObjectClass, prototype.get());
  (void)prototype.release();  // the factory's, now that it has taken it
}

std::string UnitsKSLObject::findPath()
{
  if (const EngineUnitSystemHandler* handler = EngineUnitSystemHandler::existing();
      handler && handler->getSource())
    return handler->getSource()->getPath();
  const ObjectFactory* factory = ObjectFactory::instance();
  std::string firstType;
  for (const std::string& type : factory->getObjectTypes()) {
    if (!dynamic_cast<const UnitsKSLObject*>(factory->findPrototype(type)))
      continue;
    const std::vector<KSLObject*> objects = ObjectDB::instance()->getObjectsByType(type);
    if (!objects.empty())
      return objects.front()->getPath();
    if (firstType.empty())
      firstType = type;
  }
  if (firstType.empty())
    return {};
  const bool singleton = factory->findPrototype(firstType)->isSingleton();
  return "/" + firstType + (singleton ? "" : ":" + firstType);
}

KSLObject* UnitsKSLObject::clone() const
{
  auto copy = std::make_unique<UnitsKSLObject>();
  copyInternals(copy.get());
  return copy.release();
}

EngineUnitSystemHandler::Settings UnitsKSLObject::readSettings() const
{
  Settings settings;
  settings.system = readSystem(*this);
  settings.customUnits = readCustomUnits(*this);
  settings.variables = readVariables(*this);
  return settings;
}

void UnitsKSLObject::update()
{
  EngineUnitSystemHandler::instance()->load(readSettings(), this);
  GenericKSLObject::update();
}

}  // namespace orv
