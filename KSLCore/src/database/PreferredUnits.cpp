#include "database/PreferredUnits.h"

#include "platform/ORVException.h"
#include "database/KSLObject.h"

namespace orv {

namespace {

std::string textOrEmpty(const KSLObject& object, const char* name)
{
  const ParamDefinition* param = object.lookUpParam(name);
  return param ? param->getValue() : std::string();
}

std::string ofVariable(const std::string& variable)
{
  return variable.empty() ? std::string()
                          : UnitSystemHandler::current()->getPreferredUnitsForVariable(variable);
}

std::string ofColourRange(const KSLObject& object)
{
  const std::string mode = textOrEmpty(object, "Colour Mode");
  if (mode == "Constant" || mode == "Unique")
    return {};
  if (mode == "Time")
    return UnitSystemHandler::current()->getPreferredUnitsForQuantity("Time");
  if (mode == "Use Plot Variable")
    return ofVariable(textOrEmpty(object, "Variable"));
  if (mode == "Variable")
    return ofVariable(textOrEmpty(object, "Colour Variable"));
  return ofVariable(mode);  // any other mode names the variable itself, on purpose
}

std::string converted(const ParamDefinition& param, const std::string& units, bool difference)
{
  try {
    return param.getValue(true, units, difference);
  } catch (const data::invalid&) {  // of another dimension than the units asked for
    return param.getValue();
  }
}

}  // namespace

namespace {

bool isColourRange(std::string_view name)
{
  return name == "Min" || name == "Max";
}

bool isValueOfVariable(std::string_view name)
{
  return name == "Value 1" || name == "Value 2" || name == "Value";
}

}  // namespace

bool PreferredUnits::areThoseOfVariable(std::string_view name)
{
  return isColourRange(name) || isValueOfVariable(name);
}

std::string PreferredUnits::ofParameter(const KSLObject& object, const std::string& name)
{
  if (isColourRange(name))
    return ofColourRange(object);
  return isValueOfVariable(name) ? ofVariable(textOrEmpty(object, "Variable")) : std::string();
}

std::map<std::string, std::string> PreferredUnits::valuesOf(const KSLObject& object, ParamFilter filter,
                                                            UnitSystemTypes::UnitsType units, bool difference)
{
  std::map<std::string, std::string> values;
  const bool convert = units == UnitSystemTypes::preferred;
  const std::string userUnits = convert ? textOrEmpty(object, "User Units") : std::string();
  object.forEachParam([&](const ParamDefinition& param) {
    if (!(filter & (param.isInternal() ? internalParams : externalParams)))
      return;
    const std::string& name = param.getName();
    std::string text = param.getValue();
    if (convert)
      text = converted(param, userUnits.empty() ? ofParameter(object, name) : userUnits, difference);
    values.emplace_hint(values.end(), name, std::move(text));
  });
  return values;
}

}  // namespace orv
