#include "ChangeText.h"

#include "platform/ORVError.h"
#include "TextTable.h"

#include <algorithm>
#include <nlohmann/json.hpp>

using orv::Plan;

namespace {

struct Look {
  const char* mark;
  const char* word;
  const char* style;
};

const Look& lookOf(Plan::Object::Kind kind)
{
  static const Look added{"+", "added", "32"};
  static const Look changed{"~", "changed", "33"};
  static const Look deleted{"-", "deleted", "31"};
  return kind == Plan::Object::added ? added : kind == Plan::Object::deleted ? deleted : changed;
}

std::string shown(const std::string& value)
{
  return value.empty() ? "(empty)" : value;
}

std::string paramText(Plan::Object::Kind kind, const Plan::Param& param)
{
  if (kind == Plan::Object::added)
    return param.name + " = " + param.after;
  if (kind == Plan::Object::deleted)
    return param.name + " = " + param.before;
  return param.name + ": " + shown(param.before) + " -> " + shown(param.after);
}

}  // namespace

std::string changeText(const std::vector<Plan::Object>& objects, bool coloured)
{
  std::string text;
  for (const Plan::Object& object : objects) {
    const Look& look = lookOf(object.kind);
    text += styled(std::string(look.mark) + " " + object.path, look.style, coloured) + "\n";
    for (const Plan::Param& param : object.params)
      text += "    " + paramText(object.kind, param) + "\n";
  }
  return text;
}

std::string countText(const std::vector<Plan::Object>& objects)
{
  const auto count = [&](Plan::Object::Kind kind) {
    return std::count_if(objects.begin(), objects.end(),
                         [kind](const Plan::Object& object) { return object.kind == kind; });
  };
  return orv::_("%d added, %d changed, %d deleted", count(Plan::Object::added), count(Plan::Object::changed),
                count(Plan::Object::deleted));
}

nlohmann::ordered_json changeJson(const std::vector<Plan::Object>& objects)
{
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  for (const Plan::Object& object : objects) {
    nlohmann::ordered_json params = nlohmann::ordered_json::array();
    for (const Plan::Param& param : object.params) {
      nlohmann::ordered_json json{{"name", param.name}};
      if (object.kind != Plan::Object::added)
        json["before"] = param.before;
      if (object.kind != Plan::Object::deleted)
        json["after"] = param.after;
      params.push_back(std::move(json));
    }
    all.push_back({{"path", object.path}, {"change", lookOf(object.kind).word}, {"parameters", params}});
  }
  return all;
}
