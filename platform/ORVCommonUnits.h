// Units that people write, for programs that help them to.
#pragma once

#include "platform/ORVExport.h"

#include <string>
#include <vector>

namespace orv {

// The units library takes many more, and products and powers of them all.
ORV_API const std::vector<std::string>& commonUnits();

}  // namespace orv
