// What helps with names that mean nothing, or too much.
#pragma once

#include "platform/ORVException.h"

#include <string>
#include <string_view>
#include <vector>

namespace orv {

class KSLObject;

// Suggests the path, or name at top level, of an object that is there.
Diagnostic unknownObject(const std::string& pathOrName);
// Names them.
Diagnostic severalObjects(std::string_view name, const std::vector<KSLObject*>& candidates);

}  // namespace orv
