#include "CheckedTypes.h"

#include "platform/ORVError.h"
#include "platform/ORVExpressions.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectFactory.h"
#include "database/PreferredUnits.h"
#include "database/QuantityScanner.h"
#include "rules/GenericKSLObject.h"
#include "services/EngineUnitSystemHandler.h"
#include "services/UnitsKSLObject.h"
#include "session/TypeCatalogue.h"

#include <algorithm>

namespace orv {

namespace {

using Kind = CheckedParam::Kind;

Kind kindOf(const std::string& type)
{
  static const std::map<std::string, Kind> kinds{
      {"Logical", Kind::logical},      {"Real", Kind::number},          {"Quantity", Kind::number},
      {"Real List", Kind::numbers},    {"Real Triplet", Kind::triplet}, {"Integer", Kind::integer},
      {"Integer List", Kind::integers}};
  const auto found = kinds.find(type);
  return found == kinds.end() ? Kind::text : found->second;
}

CheckedParam checkedParam(const ParamDefinition& param, const GenericKSLObject* owner)
{
  CheckedParam checked;
  checked.definition = &param;
  checked.isExpression = owner && owner->holdsExpression(param);
  checked.isReference =
      owner && !checked.isExpression && !param.getRemoteType().empty() && !param.getRules()->remoteOptional;
  if (param.getRemoteType().empty())
    checked.kind = kindOf(param.getType());
  const std::vector<std::string> items = StringUtilities::splitValue(param.getDefaultValue());
  const std::optional<Quantity> usual = items.empty() ? std::nullopt : scanQuantity(items.front());
  // A zero without units may be one of anything.
  const bool isKnown = usual && (usual->hasUnits() || usual->getValue() != 0)
                       && !PreferredUnits::areThoseOfVariable(param.getName());
  if (isKnown && (!usual->hasUnits() || UnitsConverter::isValid(usual->getUnits()))) {
    checked.units = usual->getUnits();
    checked.dimensions = UnitDimensions(checked.units);
  }
  return checked;
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

std::unique_ptr<CheckedType> checkedType(const KSLObject& prototype)
{
  auto type = std::make_unique<CheckedType>();
  type->prototype = &prototype;
  type->computing = dynamic_cast<const GenericKSLObject*>(&prototype);
  type->name = prototype.getType();
  type->takesAnyParam = type->computing && type->computing->definesNames();
  type->isVariable = prototype.isA("variable") && prototype.hasParam("Value");
  type->parents = TypeCatalogue::listOf(type->name, "Allowed Parent List");
  if (type->computing)
    type->schedulers = TypeCatalogue::listOf(type->name, "Scheduler");
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

std::string whyNoUnits(const CheckedParam& param, const std::string& units)
{
  if (units.empty() || units == param.units)
    return {};
  const bool isInteger = param.kind == Kind::integer || param.kind == Kind::integers;
  if (std::string reason = UnitsConverter::whyInvalid(units); !reason.empty())
    return reason;
  const UnitDimensions dimensions(units);
  if (isInteger)
    return dimensions.isDimensionless() ? std::string() : _("An integer has no units.");
  if (!param.dimensions || *param.dimensions == dimensions)
    return {};
  return _("The units are not those of the default, '%s'.", param.definition->getDefaultValue());
}

// The units of a number, or of an expression that names nothing.
std::string whyNoNumber(const CheckedParam& param, const std::string& item)
{
  if (const std::optional<Quantity> quantity = scanQuantity(item))
    return whyNoUnits(param, quantity->getUnits());
  ExpressionDef expression(item);
  expression.parse();
  if (!expression.getNames().empty() || !expression.getUnknownFunctions().empty())
    return {};
  return whyNoUnits(param, expression.evaluate({}).getQuantity().getUnits());
}

std::string whyNoNumbers(const CheckedParam& param, std::string_view value)
{
  const bool isOne = param.kind == Kind::number || param.kind == Kind::integer;
  const std::vector<std::string> items =
      isOne ? std::vector<std::string>{std::string(value)} : StringUtilities::splitValue(value);
  if (param.kind == Kind::triplet && items.size() != 3)
    return _("A triplet has three numbers, not %d.", items.size());
  for (const std::string& item : items)
    if (std::string reason = whyNoNumber(param, item); !reason.empty())
      return reason;
  return {};
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

std::string whyRefused(const CheckedParam& param, std::string_view value)
{
  if (value.empty() || param.kind == Kind::text)
    return {};
  if (param.kind == Kind::logical) {
    bool isTruth = true;
    StringUtilities::isTrue(value, isTruth);
    return isTruth ? std::string() : _("It is neither true nor false.");
  }
  try {
    return whyNoNumbers(param, value);
  } catch (const Error& error) {
    return error.getMessage();
  }
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
