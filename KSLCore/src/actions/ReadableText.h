// Whether what is written as KSL text can be read back from it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orv {

// What carries the text to its reader: a text that is processed at once, or a file, which has to be ASCII.
enum class Carrier { text, file };

// False for a value with a "#" outside double quotes, which readers take for a comment, for one with white space other
// than single blanks between words, which they simplify, and in a file for one outside ASCII, which they refuse there.
// Values that came as text are readable but for the last; values set by programs may not be.
bool isReadable(std::string_view value, Carrier carrier) noexcept;

// Reports data::invalid of type 8, "Value of parameter '%s' of object '%s' cannot be read back.", when it is not.
void reportUnreadable(const char* className, const char* function, const std::string& object,
                      const std::string& parameter, std::string_view value, Carrier carrier);

// Whole lines as they can be written: characters outside ASCII become "?" in comments; elsewhere they stay, each such
// value is reported as above, and any other such line as "Line '%s' cannot be read back.".
std::vector<std::string> readableLines(std::vector<std::string> lines, const char* className,
                                       const char* function);

}  // namespace orv
