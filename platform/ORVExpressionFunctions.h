// The functions that expressions know.
#pragma once

#include "platform/ORVExport.h"

#include <string>
#include <vector>

namespace orv {

ORV_API std::vector<std::string> expressionFunctionNames();

}  // namespace orv
