#include "actions/stateTypes.h"

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

bool isSavedOfAnyType(std::string_view param)
{
  return param != "Domain List";
}

bool isSavedParam(std::string_view type, std::string_view param)
{
  static const std::set<std::string, std::less<>> types{
      "BOUNDARY", "COMPOSITE", "COMPOSITE INTER BLOCK", "COMPOSITE PERIODIC", "PRIMITIVE2D", "PRIMITIVE3D"};
  return isSavedOfAnyType(param) || !types.contains(type);
}

}  // namespace orv
