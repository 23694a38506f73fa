#include "database/QuantityScanner.h"

#include "platform/ORVUtilities.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <string>
#include <system_error>

namespace orv {

namespace {

struct Notation {
  std::string_view digits;
  std::string_view exponentLetters;
  std::chars_format format;
  int bitsOrDigits;  // what one place is worth in the unit of the exponent
};

constexpr std::string_view decimalDigits = "0123456789";
constexpr Notation decimal = {decimalDigits, "eE", std::chars_format::general, 1};
constexpr Notation hexadecimal = {"0123456789abcdefABCDEF", "pP", std::chars_format::hex, 4};

std::string_view withoutLeadingBlanks(std::string_view text)
{
  while (!text.empty() && StringUtilities::isSpace(text.front()))
    text.remove_prefix(1);
  return text;
}

bool isBlank(std::string_view text)
{
  return withoutLeadingBlanks(text).empty();
}

bool isOneOf(std::string_view text, std::size_t at, std::string_view characters)
{
  return at < text.size() && characters.find(text[at]) != std::string_view::npos;
}

// The end of a run of these characters.
std::size_t skip(std::string_view text, std::size_t at, std::string_view characters)
{
  while (isOneOf(text, at, characters))
    ++at;
  return at;
}

// Takes a sign away; true for a minus.
bool takeSign(std::string_view& text)
{
  const bool negative = isOneOf(text, 0, "-");
  if (negative || isOneOf(text, 0, "+"))
    text.remove_prefix(1);
  return negative;
}

bool takeHexPrefix(std::string_view& text)
{
  if (!isOneOf(text, 0, "0") || !isOneOf(text, 1, "xX"))
    return false;
  text.remove_prefix(2);
  return true;
}

// Length of the numeral that the text begins with, 0 when there is none.
std::size_t numeralLength(std::string_view text, const Notation& notation)
{
  std::size_t end = skip(text, 0, notation.digits);
  std::size_t digits = end;
  if (isOneOf(text, end, ".")) {
    const std::size_t fraction = end + 1;
    end = skip(text, fraction, notation.digits);
    digits += end - fraction;
  }
  if (digits == 0)
    return 0;
  if (!isOneOf(text, end, notation.exponentLetters))
    return end;
  const std::size_t exponent = isOneOf(text, end + 1, "+-") ? end + 2 : end + 1;
  end = skip(text, exponent, decimalDigits);
  return end > exponent ? end : 0;
}

double exponentOf(std::string_view text)
{
  const bool negative = takeSign(text);
  long long exponent = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), exponent);
  const double magnitude = read.ec == std::errc::result_out_of_range ? std::numeric_limits<double>::max()
                                                                     : static_cast<double>(exponent);
  return negative ? -magnitude : magnitude;
}

// Of a numeral out of the range of double: whether it is too big, not too small.
bool isTooBig(std::string_view numeral, const Notation& notation)
{
  const std::size_t letter = numeral.find_first_of(notation.exponentLetters);
  const std::string_view mantissa = numeral.substr(0, letter);
  const std::size_t first = mantissa.find_first_not_of("0.");
  if (first == std::string_view::npos)
    return false;
  const double point = static_cast<double>(std::min(mantissa.find('.'), mantissa.size()));
  const double places = point - static_cast<double>(first);
  const double exponent = letter == std::string_view::npos ? 0 : exponentOf(numeral.substr(letter + 1));
  return places * notation.bitsOrDigits + exponent > 0;
}

double valueOf(std::string_view numeral, const Notation& notation)
{
  double value = 0;
  const auto read = std::from_chars(numeral.data(), numeral.data() + numeral.size(), value, notation.format);
  if (read.ec == std::errc::result_out_of_range)
    return isTooBig(numeral, notation) ? std::numeric_limits<double>::infinity() : 0;
  return value;
}

// Takes a number away from the front of the text.
std::optional<double> takeNumber(std::string_view& text)
{
  text = withoutLeadingBlanks(text);
  const bool negative = takeSign(text);
  const Notation& notation = takeHexPrefix(text) ? hexadecimal : decimal;
  const std::size_t length = numeralLength(text, notation);
  if (length == 0)
    return std::nullopt;
  const double value = valueOf(text.substr(0, length), notation);
  text.remove_prefix(length);
  return negative ? -value : value;
}

}  // namespace

std::optional<Quantity> scanQuantity(std::string_view text)
{
  const std::optional<double> number = takeNumber(text);
  if (!number)
    return std::nullopt;
  text = withoutLeadingBlanks(text);
  if (text.empty())
    return Quantity(*number);
  if (text.front() != '[')
    return std::nullopt;
  text = withoutLeadingBlanks(text.substr(1));
  const std::size_t close = text.find(']');
  if (close == std::string_view::npos || !isBlank(text.substr(close + 1)))
    return std::nullopt;
  return Quantity(*number, std::string(text.substr(0, close)));
}

std::optional<int> scanInt(std::string_view text) noexcept
{
  text = StringUtilities::trimmed(text);
  if (isOneOf(text, 0, "+") && isOneOf(text, 1, decimalDigits))
    text.remove_prefix(1);
  int value = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, value);
  if (read.ec != std::errc() || read.ptr != end)
    return std::nullopt;
  return value;
}

}  // namespace orv
