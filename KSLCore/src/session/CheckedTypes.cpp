#include "CheckedTypes.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "database/FormulaNames.h"
#include "database/ObjectFactory.h"
#include "rules/GenericKSLObject.h"
#include "services/EngineUnitSystemHandler.h"
#include "services/UnitsKSLObject.h"
#include "services/VariableNames.h"
#include "session/TypeCatalogue.h"

#include <algorithm>

namespace orv {

namespace {

CheckedParam checkedParam(const ParamDefinition& param, const GenericKSLObject* owner)
{
  CheckedParam checked(param);
  checked.isExpression = owner && owner->holdsExpression(param);
  const bool mayLink = owner && !checked.isExpression && !param.getRemoteType().empty();
  checked.isFormula = mayLink && FormulaNames::isFormula(param);
  checked.isOptional = mayLink && !checked.isFormula && param.getRules()->remoteOptional;
  checked.isReference = mayLink && !checked.isFormula && !checked.isOptional;
  return checked;
}

std::vector<std::pair<std::string, std::string>> linksOf(const std::string& type)
{
  const std::vector<std::string> list = TypeCatalogue::listOf(type, "Scheduler Links");
  std::vector<std::pair<std::string, std::string>> links;
  for (std::size_t i = 0; i + 1 < list.size(); i += 2)
    links.emplace_back(list[i], list[i + 1]);
  return links;
}

// Those that the context rule lists as its values.
bool isInAllContexts(const CheckedType& type, const ParamDefinition& param)
{
  if (type.contextRule.empty() || param.isInternal())
    return true;
  const ObjectRules& rules = *type.prototype->getObjectRules();
  const ParamDefinition* rule = type.prototype->lookUpParam(type.contextRule);
  if (!rule || rule->getRules()->allowedInOrder.empty())
    return false;
  try {
    const std::vector<std::string>& contexts = rule->getRules()->allowedInOrder;
    return rules.isParamAllowed(param.getName()) && rules.isParamAllowed(param.getName(), type.defaultContext)
           && std::all_of(contexts.begin(), contexts.end(), [&](const std::string& context) {
                return rules.isParamAllowed(param.getName(), context);
              });
  } catch (const data::invalid&) {
    return false;  // it is to be asked each time
  }
}

std::vector<std::string> valueSchedulersOf(const CheckedType& type)
{
  const ParamDefinition& value = *type.prototype->lookUpParam(VariableNames::valueParameter);
  if (VariableNames::isComputed(value))
    return type.schedulers;
  return type.hasScheduler(value.getLocalType()) ? std::vector{value.getLocalType()}
                                                 : std::vector<std::string>();
}

std::unique_ptr<CheckedType> checkedType(const KSLObject& prototype)
{
  auto type = std::make_unique<CheckedType>();
  type->prototype = &prototype;
  type->computing = dynamic_cast<const GenericKSLObject*>(&prototype);
  type->name = prototype.getType();
  type->takesAnyParam = type->computing && type->computing->definesNames();
  type->isVariable = prototype.isA("variable") && prototype.hasParam(VariableNames::valueParameter);
  type->parents = TypeCatalogue::listOf(type->name, "Allowed Parent List");
  if (type->computing) {
    type->schedulers = TypeCatalogue::listOf(type->name, "Scheduler");
    type->links = linksOf(type->name);
  }
  if (type->isVariable)
    type->valueSchedulers = valueSchedulersOf(*type);
  if (const ObjectRules* rules = prototype.getObjectRules(); rules && rules->hasContextRule()) {
    type->contextRule = rules->getContextRuleName();
    const ParamDefinition* rule = prototype.lookUpParam(type->contextRule);
    type->defaultContext = rule ? rule->getValue() : std::string();
  }
  prototype.forEachParam([&](const ParamDefinition& param) {
    CheckedParam& checked =
        type->params.emplace(param.getName(), checkedParam(param, type->computing)).first->second;
    checked.inAllContexts = isInAllContexts(*type, param);
  });
  return type;
}

}  // namespace

const CheckedParam* CheckedType::findParam(std::string_view param) const
{
  const auto found = params.find(param);
  return found == params.end() ? nullptr : &found->second;
}

bool CheckedType::hasScheduler(std::string_view scheduler) const
{
  return std::find(schedulers.begin(), schedulers.end(), scheduler) != schedulers.end();
}

std::vector<std::string> CheckedType::paramNames() const
{
  return prototype->getParamNames(externalParams);
}

const CheckedType* CheckedTypes::find(std::string_view name)
{
  const auto found = m_types.find(name);
  if (found != m_types.end())
    return found->second.get();
  const KSLObject* prototype = ObjectFactory::instance()->findPrototype(name);
  return m_types.emplace(std::string(name), prototype ? checkedType(*prototype) : nullptr)
      .first->second.get();
}

std::string whyNoPreference(const CheckedType& type, const std::string& param, const std::string& value)
{
  if (value.empty() || !dynamic_cast<const UnitsKSLObject*>(type.prototype))
    return {};
  if (param == "Unit System") {
    const std::vector<std::string>& names = EngineUnitSystemHandler::getUnitSystemNames();
    const bool isKnown = std::find(names.begin(), names.end(), value) != names.end();
    return isKnown ? std::string()
                   : _("The unit systems are %s.", StringUtilities::vectorToString(names, ", "));
  }
  const std::vector<std::string> quantities = EngineUnitSystemHandler::getQuantityNames();
  if (std::find(quantities.begin(), quantities.end(), param) != quantities.end())
    return EngineUnitSystemHandler::whyNoUnitsOf(param, value);
  if (param != "Variable Dimensions")
    return {};
  for (const auto& [name, dimension] :
       ParamDefinition::createNameValueMap(StringUtilities::splitValue(value))) {
    if (name.empty() || dimension.empty())
      return _("Each item should have the format: name=dimension.");
    try {
      EngineUnitSystemHandler::parseDimensions(dimension);
    } catch (const data::invalid& error) {
      return error.getMessage();
    }
  }
  return {};
}

}  // namespace orv
