#include "rules/RulesValidator.h"

#include "platform/ORVError.h"
#include "platform/ORVExpressions.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "database/ObjectFactory.h"
#include "database/PreferredUnits.h"
#include "database/QuantityScanner.h"

#include <algorithm>
#include <optional>

namespace orv {

namespace {

// The units of a number, or of an expression that names nothing; nothing when they cannot be known.
std::optional<std::string> unitsOf(const std::string& text)
{
  if (const std::optional<Quantity> quantity = scanQuantity(text))
    return quantity->getUnits();
  ExpressionDef expression(text);
  expression.parse({});
  if (!expression.getNames().empty() || !expression.getUnknownFunctions().empty())
    return std::nullopt;
  return expression.evaluate({}).getQuantity().getUnits();
}

std::string whyNoNumber(const std::string& item, const ParamDefinition& param)
{
  const std::optional<std::string> units = unitsOf(item);
  if (!units || units->empty())
    return {};
  const UnitDimensions dimensions(*units);
  if (param.getType().starts_with("Integer"))
    return dimensions.isDimensionless() ? std::string() : _("An integer has no units.");
  if (PreferredUnits::areThoseOfVariable(param.getName()))
    return {};
  const std::vector<std::string> defaults = ParamDefinition::splitValue(param.getDefaultValue());
  const std::optional<Quantity> usual = defaults.empty() ? std::nullopt : scanQuantity(defaults.front());
  // A zero without units may be one of anything.
  const bool isKnown = usual && (usual->hasUnits() || usual->getValue() != 0);
  if (!isKnown || UnitDimensions(usual->getUnits()) == dimensions)
    return {};
  return _("The units are not those of the default, '%s'.", param.getDefaultValue());
}

std::string whyNoNumbers(const std::string& value, const ParamDefinition& param)
{
  const bool isList = param.getType().ends_with("List") || param.typeIs("Real Triplet");
  const std::vector<std::string> items = isList ? ParamDefinition::splitValue(value) : std::vector{value};
  if (param.typeIs("Real Triplet") && items.size() != 3)
    return _("A triplet has three numbers, not %d.", items.size());
  try {
    for (const std::string& item : items)
      if (std::string reason = whyNoNumber(item, param); !reason.empty())
        return reason;
  } catch (const Error& error) {
    const Diagnostic* more = error.getDiagnostic().get();
    const bool isMeant = more && !more->suggestion.empty();
    return isMeant ? _("%s Did you mean '%s'?", error.getMessage(), more->suggestion) : error.getMessage();
  }
  return {};
}

std::string typeOf(std::string_view path)
{
  return KSLPath(path.substr(PathUtils::parentPath(path).size())).getLastType();
}

}  // namespace

std::string RulesValidator::whyRefused(std::string_view type, const std::string& param,
                                       const std::string& value) const
{
  static constexpr std::string_view numbers[] = {"Real",    "Real Triplet", "Real List",
                                                 "Integer", "Integer List", "Quantity"};
  const KSLObject* prototype = ObjectFactory::instance()->findPrototype(type);
  const ParamDefinition* definition = prototype ? prototype->lookUpParam(param) : nullptr;
  if (!definition || value.empty() || !definition->getRemoteType().empty()
      || definition->getAllowedValues().contains(value))
    return {};
  if (definition->typeIs("Logical")) {
    bool isTruth = true;
    StringUtilities::isTrue(value, isTruth);
    return isTruth ? std::string() : _("It is neither true nor false.");
  }
  const bool isNumber =
      std::find(std::begin(numbers), std::end(numbers), definition->getType()) != std::end(numbers);
  return isNumber ? whyNoNumbers(value, *definition) : std::string();
}

void RulesValidator::checkObject(const std::string& path) const
{
  const std::string type = typeOf(path);
  const KSLObject* prototype = ObjectFactory::instance()->findPrototype(type);
  if (!prototype)
    return;
  const char* const kind = prototype->isSingleton() ? "SINGLETON" : "OBJECT";
  const std::vector<std::string> parents =
      m_store.getStringList(_("/RULES/%s:%s/Allowed Parent List", kind, type));
  const std::string_view above = PathUtils::parentPath(path);
  const std::string parent = above.empty() ? std::string() : typeOf(above);
  if (parents.empty() || std::find(parents.begin(), parents.end(), parent) != parents.end())
    return;
  ErrorMsg warning("KSLAPI", "validateKSLData",
                   _("Object '%s' does not stand in an object of type %s.", path,
                     StringUtilities::vectorToString(parents, " or ")),
                   errorType::warning);
  warning.setDiagnostic(std::make_shared<const Diagnostic>(Diagnostic{.object = path}));
  ErrorProgressReporter::instance()->reportError(warning);
}

std::vector<std::string> RulesValidator::typeNames() const
{
  return ObjectFactory::instance()->getObjectTypes();
}

}  // namespace orv
