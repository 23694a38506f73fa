// Types as the rules have them, in words.
#pragma once

#include "session/TypeCatalogue.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

// "X, Y or Z"; "or" may be another word.
std::string listed(const std::vector<std::string>& items, const char* last = "or");
// "number, such as 0 [m]", "one of X, Y, Z", "names of objects that compute Geometry".
std::string kindText(const orv::ParamInfo& param);
// "always", "optional", "when Option is Axis Plane", "result".
std::string needText(const orv::TypeInfo& type, const orv::ParamInfo& param);

// Parameters that belong together, with a heading for them: those of every context, those of each, optional ones,
// results. None is empty.
struct ParamGroup {
  std::string title;
  std::string context;  // empty when they are for every context
  std::vector<const orv::ParamInfo*> params;
};
std::vector<ParamGroup> groupsOf(const orv::TypeInfo& type);

nlohmann::ordered_json toJson(const orv::TypeInfo& type);
nlohmann::ordered_json toJson(const orv::TypeInfo& type, const orv::ParamInfo& param);
