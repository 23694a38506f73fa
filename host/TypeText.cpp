#include "TypeText.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

using orv::ParamInfo;
using orv::TypeInfo;

namespace {

const std::string& wordFor(const std::string& type)
{
  static const std::map<std::string, std::string> words{{"Real", "number"},
                                                        {"Integer", "whole number"},
                                                        {"Logical", "On or Off"},
                                                        {"Real List", "numbers"},
                                                        {"Integer List", "whole numbers"},
                                                        {"Real Triplet", "three numbers"},
                                                        {"String List", "list"},
                                                        {"string", "text"},
                                                        {"String", "text"},
                                                        {"Expression", "expression"},
                                                        {"Quantity", "number with units"}};
  const auto found = words.find(type);
  return found == words.end() ? type : found->second;
}

bool isList(const ParamInfo& param)
{
  return param.type.size() > 4 && param.type.compare(param.type.size() - 4, 4, "List") == 0;
}

}  // namespace

std::string listed(const std::vector<std::string>& items, const char* last)
{
  std::string text;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i > 0)
      text += i + 1 < items.size() ? ", " : " " + std::string(last) + " ";
    text += items[i];
  }
  return text;
}

std::string kindText(const ParamInfo& param)
{
  if (param.type == "Logical")
    return "On or Off";
  if (!param.remoteType.empty()) {
    const std::string keywords =
        param.allowedValues.empty() ? std::string() : ", or " + listed(param.allowedValues);
    return (isList(param) ? "objects with " : "object with ") + param.remoteType + keywords;
  }
  if (!param.allowedValues.empty())
    return isList(param) ? "any of " + listed(param.allowedValues, "and") : listed(param.allowedValues);
  return param.units.empty() ? wordFor(param.type) : wordFor(param.type) + " in " + param.units;
}

std::string needText(const TypeInfo& type, const ParamInfo& param)
{
  if (param.internal)
    return "result";
  if (param.essential)
    return "always";
  if (!param.essentialIn.empty())
    return "when " + type.contextRule + " is " + listed(param.essentialIn);
  if (!param.optionalIn.empty())
    return "optional, when " + type.contextRule + " is " + listed(param.optionalIn);
  return "optional";
}

std::vector<ParamGroup> groupsOf(const TypeInfo& type)
{
  std::vector<ParamGroup> groups;
  const auto add = [&](const std::string& title, auto belongs, const std::string& context = {}) {
    ParamGroup group{title, context, {}};
    for (const ParamInfo& param : type.params)
      if (belongs(param))
        group.params.push_back(&param);
    if (!group.params.empty())
      groups.push_back(std::move(group));
  };
  const auto isIn = [](const std::vector<std::string>& list, const std::string& item) {
    return std::find(list.begin(), list.end(), item) != list.end();
  };
  add("Parameters", [](const ParamInfo& param) { return param.essential; });
  for (const std::string& context : type.contexts)
    add(
        "When " + type.contextRule + " is " + context,
        [&](const ParamInfo& param) {
          return isIn(param.essentialIn, context) || isIn(param.optionalIn, context);
        },
        context);
  add("Optional", [](const ParamInfo& param) {
    return !param.internal && !param.essential && param.essentialIn.empty() && param.optionalIn.empty();
  });
  add("Results", [](const ParamInfo& param) { return param.internal; });
  return groups;
}

nlohmann::ordered_json toJson(const TypeInfo& type, const ParamInfo& param)
{
  nlohmann::ordered_json json{{"name", param.name},
                              {"type", param.type},
                              {"default", param.defaultValue},
                              {"units", param.units},
                              {"allowed", param.allowedValues},
                              {"category", param.category},
                              {"description", param.description},
                              {"changes", param.localType},
                              {"refersTo", param.remoteType},
                              {"result", param.internal}};
  if (param.internal)
    return json;
  json["essential"] = param.essential;
  if (!type.contexts.empty()) {
    json["essentialIn"] = param.essential ? type.contexts : param.essentialIn;
    json["optionalIn"] = param.optional ? type.contexts : param.optionalIn;
  }
  return json;
}

nlohmann::ordered_json toJson(const TypeInfo& type)
{
  nlohmann::ordered_json json{{"type", type.name},
                              {"singleton", type.singleton},
                              {"description", type.description},
                              {"categories", type.categories},
                              {"computes", type.schedulers},
                              {"parents", type.allowedParents},
                              {"children", type.children}};
  if (!type.contextRule.empty())
    json["context"] = {{"parameter", type.contextRule}, {"values", type.contexts}};
  json["parameters"] = nlohmann::ordered_json::array();
  for (const ParamInfo& param : type.params)
    json["parameters"].push_back(toJson(type, param));
  return json;
}
