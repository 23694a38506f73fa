// Where this library stands.
#pragma once

#include <string>

namespace orv {

// The directory of the shared library, or of the program that holds the static one. Empty when the system does not
// tell.
std::string ownDirectory();

}  // namespace orv
