// Whether what is written as KSL text can be read back from it.
#pragma once

#include "platform/ORVException.h"

#include <string>
#include <string_view>

namespace orv {

// False for a value with a "#" outside double quotes, which readers take for a comment, and for one with white space
// other than single blanks between words, which they simplify. Values that came as text are readable; values set by
// programs may not be.
bool isReadable(std::string_view value) noexcept;

// data::invalid of type 8, "Value of parameter '%s' of object '%s' cannot be read back."; and reports it of a value that is
// not readable.
data::invalid unreadable(const char* className, const char* function, const std::string& object,
                         const std::string& parameter);
void reportUnreadable(const char* className, const char* function, const std::string& object,
                      const std::string& parameter, std::string_view value);

}  // namespace orv
