// Parameters of an object as text.
#pragma once

#include <map>
#include <string>

namespace orv {

// The block that sets them. data::invalid, class "Session", function "set", "Value '%s' of parameter '%s' cannot be
// written as text." for what would be read as something else.
std::string blockText(const std::string& path, const std::map<std::string, std::string>& values);

}  // namespace orv
