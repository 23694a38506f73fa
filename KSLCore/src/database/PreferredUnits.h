// The units in which people want to see an object's parameters.
#pragma once

#include "platform/ORVUnits.h"
#include "database/ParamFilter.h"

#include <map>
#include <string>
#include <string_view>

namespace orv {

class KSLObject;

class PreferredUnits {
 public:
  // As KSLObject::getParams, for the kinds of the filter.
  static std::map<std::string, std::string> valuesOf(const KSLObject& object, ParamFilter filter,
                                                     UnitSystemTypes::UnitsType units, bool difference);
  // Empty where nothing is preferred. The names "Min", "Max", "Value" and so on tie this to colour maps and
  // probes, on purpose: these types hold values of a variable that another parameter names.
  static std::string ofParameter(const KSLObject& object, const std::string& name);
  // Whether the parameter has one of these names: its dimension is that of a variable, not that of its default.
  static bool areThoseOfVariable(std::string_view name);
};

}  // namespace orv
