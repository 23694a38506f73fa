// Where this library stands.
#pragma once

#include <string>

namespace orv {

// The directory of the shared library, or of the program that holds the static one. Empty when the system does not
// tell.
std::string ownDirectory();

// Lets libraries that are loaded from now on use what this one offers without being linked with it, also where it was
// loaded for one user alone, as modules of Python are.
void offerToLibraries() noexcept;

}  // namespace orv
