// A plan as bytes, to get from one process to another.
#pragma once

#include "session/Planner.h"

#include <string>
#include <string_view>

namespace orv {

std::string packed(const Plan& plan);
// False when the bytes are not whole; those that `packed` gave are.
bool unpack(std::string_view bytes, Plan& plan);

}  // namespace orv
