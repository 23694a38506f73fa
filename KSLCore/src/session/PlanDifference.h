// What changes between before and after, from the items of a run.
#pragma once

#include "session/Planner.h"

#include <vector>

namespace orv {

// The database holds what is before the steps.
std::vector<Plan::Object> differenceOf(const std::vector<Plan::Step>& steps);

}  // namespace orv
