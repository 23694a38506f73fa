// Reads the numbers that stand in parameter values.
#pragma once

#include "platform/ORVUnits.h"

#include <optional>
#include <string_view>

namespace orv {

// Both follow no locale and take blanks before, between and behind the parts:
//
//   quantity  = number [ "[" units "]" ]
//   number    = [ "+" | "-" ] ( numeral | "0x" hexadecimal numeral )
//   numeral   = ( digits [ "." [ digits ] ] | "." digits ) [ ( "e" | "p" ) [ "+" | "-" ] digits ]
//   units     = whatever stands before the first "]", without leading blanks; may be empty
//
// An exponent is "e" in a decimal numeral and "p" in a hexadecimal one, and must have its digits: "1e" is no
// number. The words for infinity and not-a-number are none either, so that they stay free for names in
// expressions.

// Empty when the text is no quantity. A number too big for double is an infinity, one too small is zero: the
// text is a quantity all the same, and its reader refuses the value.
std::optional<Quantity> scanQuantity(std::string_view text);

// An optional sign and decimal digits; empty when the text is anything else or does not fit.
std::optional<int> scanInt(std::string_view text) noexcept;

}  // namespace orv
