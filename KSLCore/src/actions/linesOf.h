#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orv {

// The lines of a text without their ends, LF or CR LF; behind the last end there is none.
std::vector<std::string> linesOf(std::string_view text);

}  // namespace orv
