// Differences between objects, for people and programs.
#pragma once

#include "session/Planner.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

// "+ /CUT:b" and what it sets, "~ /CUT:a" and "Offset: 0 [m] -> 25 [cm]", "- /CUT:c"; green, yellow and red when
// coloured.
std::string changeText(const std::vector<orv::Plan::Object>& objects, bool coloured);
// "1 added, 2 changed, 0 deleted".
std::string countText(const std::vector<orv::Plan::Object>& objects);
// [{"path", "change": "added", "parameters": [{"name", "before", "after"}]}]
nlohmann::ordered_json changeJson(const std::vector<orv::Plan::Object>& objects);
