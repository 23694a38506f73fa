// Texts of others on the terminal.
#pragma once

#include <string>
#include <string_view>

// The text with control characters but line ends escaped ("\\x1b"), for they could do anything to a terminal, and with
// long lines cut in the middle, where it says how much was left out.
std::string printed(std::string_view text);
