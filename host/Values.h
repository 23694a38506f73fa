// Values of objects, for people and programs.
#pragma once

#include "database/ParamFilter.h"

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {
class KSLObject;
class ParamDefinition;
}  // namespace orv

// The items of a value that is a list of numbers, each with units or without; none when one of them is no number.
struct NumberItem {
  double number = 0;
  std::string units;
};
std::optional<std::vector<NumberItem>> numbersIn(const orv::ParamDefinition& param);

// The value with its numbers in these units. Throws what UnitsConverter does.
std::string valueIn(const orv::ParamDefinition& param, const std::string& units);

// {"value": "25 [cm]", "number": 25, "units": "cm"}; of several numbers "numbers", of text "value" alone.
nlohmann::ordered_json toJson(const orv::ParamDefinition& param, const std::string& units = {});

// The parameters that state text shows of an object.
std::vector<const orv::ParamDefinition*> shownParams(const orv::KSLObject& object);

// The objects in a list of paths or names, as state text lists them: each with all below it. Those that do not exist
// are warned of. "/" is all of them.
std::string stateJson(const std::vector<std::string>& lists);

std::string printedJson(const nlohmann::ordered_json& json);
