#include "actions/stateTypes.h"

#include <algorithm>
#include <map>

namespace orv {

bool isNeverSaved(std::string_view type)
{
  static const std::set<std::string, std::less<>> types{"ROOT",
                                                        "RULES",
                                                        "SYMBOL",
                                                        "STATE",
                                                        "SESSION",
                                                        "ANIMATION",
                                                        "KEYFRAME",
                                                        "EXPRESSION EVALUATOR",
                                                        "EXPRESSION PREVIEW",
                                                        "INTERNAL POINT",
                                                        "INTERNAL POINT CLOUD",
                                                        "INTERNAL TABLE",
                                                        "INTERNAL COMMENT",
                                                        "DOMAIN GROUP"};
  return types.contains(type);
}

const std::set<std::string, std::less<>>& resultsDefinedTypes()
{
  static const std::set<std::string, std::less<>> types{"BOUNDARY",
                                                        "COMPOSITE",
                                                        "COMPOSITE INTER BLOCK",
                                                        "COMPOSITE PERIODIC",
                                                        "DOMAIN",
                                                        "PRIMITIVE2D",
                                                        "PRIMITIVE3D",
                                                        "RES PARTICLE TRACK",
                                                        "ROOT",
                                                        "RULES",
                                                        "SCALAR VARIABLE",
                                                        "SUBDOMAIN",
                                                        "VECTOR VARIABLE",
                                                        "WIREFRAME"};
  return types;
}

bool isResultsDefined(std::string_view type)
{
  return resultsDefinedTypes().contains(type);
}

bool isSavedParam(std::string_view type, std::string_view param)
{
  static const std::multimap<std::string, std::string, std::less<>> unsaved{
      {"BOUNDARY", "Domain List"},           {"COMPOSITE", "Domain List"},
      {"COMPOSITE INTER BLOCK", "Domain List"}, {"COMPOSITE PERIODIC", "Domain List"},
      {"PRIMITIVE2D", "Domain List"},        {"PRIMITIVE3D", "Domain List"}};
  const auto [first, last] = unsaved.equal_range(type);
  return std::none_of(first, last, [param](const auto& entry) { return entry.second == param; });
}

}  // namespace orv
