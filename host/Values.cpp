#include "Values.h"

#include "platform/ORVException.h"
#include "platform/ORVUnits.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "database/ObjectDB.h"
#include "ObjectText.h"

#include <algorithm>
#include <nlohmann/json.hpp>

using nlohmann::ordered_json;
using orv::KSLObject;
using orv::ParamDefinition;

namespace {

bool isNumeric(const ParamDefinition& param)
{
  static const std::vector<std::string> types{"Real",         "Real Triplet", "Real List", "Integer",
                                              "Integer List", "Quantity",     "Expression"};
  return std::find(types.begin(), types.end(), param.getType()) != types.end();
}

ordered_json jsonOf(const KSLObject& object)
{
  ordered_json json{{"path", object.getPath()}, {"type", object.getType()}, {"name", object.getName()}};
  ordered_json& params = json["parameters"] = ordered_json::object();
  for (const ParamDefinition* param : shownParams(object))
    params[param->getName()] = toJson(*param);
  return json;
}

// Parents before children, as state text has them.
void append(const KSLObject& top, ordered_json& list)
{
  std::vector<const KSLObject*> waiting{&top};
  while (!waiting.empty()) {
    const KSLObject* object = waiting.back();
    waiting.pop_back();
    if (!object->getPath().empty())
      list.push_back(jsonOf(*object));
    const auto first = static_cast<std::ptrdiff_t>(waiting.size());
    object->forEachChild([&](const KSLObject* child) { waiting.push_back(child); });
    std::reverse(waiting.begin() + first, waiting.end());
  }
}

}  // namespace

std::optional<std::vector<NumberItem>> numbersIn(const ParamDefinition& param)
{
  if (!isNumeric(param) || param.getValue().empty() || !param.isPureNumeric())
    return std::nullopt;
  std::vector<NumberItem> items;
  for (const std::string& text : param.splitValue()) {
    ParamDefinition item("", "", "", "Real", text, "");
    const orv::Quantity quantity = item.getQuantityValue();
    items.push_back({quantity.getValue(), quantity.getUnits()});
  }
  return items;
}

std::string valueIn(const ParamDefinition& param, const std::string& units)
{
  const auto items = units.empty() ? std::nullopt : numbersIn(param);
  if (!items)
    return param.getValue();
  std::string text;
  for (const NumberItem& item : *items)
    text += (text.empty() ? "" : ", ")
            + orv::Quantity(orv::Quantity(item.number, item.units).convertTo(units),
                            item.units.empty() ? std::string() : units)
                  .toString();
  return text;
}

ordered_json toJson(const ParamDefinition& param, const std::string& units)
{
  ordered_json json{{"value", valueIn(param, units)}};
  const auto items = numbersIn(param);
  if (!items)
    return json;
  ordered_json numbers = ordered_json::array();
  std::string shownUnits;
  for (const NumberItem& item : *items) {
    const bool converts = !units.empty() && !item.units.empty();
    numbers.push_back(converts ? orv::Quantity(item.number, item.units).convertTo(units) : item.number);
    if (shownUnits.empty())
      shownUnits = converts ? units : item.units;
  }
  if (items->size() == 1)
    json["number"] = numbers.front();
  else
    json["numbers"] = numbers;
  if (!shownUnits.empty())
    json["units"] = shownUnits;
  return json;
}

std::vector<const ParamDefinition*> shownParams(const KSLObject& object)
{
  std::vector<const ParamDefinition*> params;
  const orv::ObjectRules* rules = object.getObjectRules();
  std::string context;
  if (rules && rules->hasContextRule())
    if (const ParamDefinition* rule = object.lookUpParam(rules->getContextRuleName()))
      context = rule->getValue();
  for (const std::string& name : object.getParamNamesInContext(orv::externalParams)) {
    const ParamDefinition* param = object.lookUpParam(name);
    if (!param->getValue().empty()
        && (param->hasBeenSet() || (rules && rules->isParamEssential(name, context))))
      params.push_back(param);
  }
  return params;
}

std::string stateJson(const std::vector<std::string>& lists)
{
  ordered_json all = ordered_json::array();
  for (const std::string& list : lists)
    for (const std::string& item : orv::StringUtilities::stringToVector(list, ','))
      if (const KSLObject* object = findObject(item))
        append(*object, all);
  return printedJson(all);
}

std::string printedJson(const ordered_json& json)
{
  return json.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}
