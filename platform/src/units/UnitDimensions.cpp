#include "UnitsDatabase.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace orv {

namespace {

constexpr std::array<std::string_view, UnitDimensions::count> symbols = {"kg", "m", "rad", "s",
                                                                         "K",  "A", "mol", "cd"};
constexpr std::size_t angle = 2;

// Exponents that a computation made, such as thrice a third, still count as whole.
bool isNear(double a, double b)
{
  return std::abs(a - b) <= 1e-9 * std::max({1.0, std::abs(a), std::abs(b)});
}

void appendFactor(std::string& out, std::string_view symbol, double exponent)
{
  if (isNear(exponent, 0))
    return;
  if (!out.empty())
    out += ' ';
  out += symbol;
  if (isNear(exponent, 1))
    return;
  if (double whole = std::round(exponent); isNear(exponent, whole))
    exponent = whole;
  char digits[32];
  auto end = std::to_chars(std::begin(digits), std::end(digits), exponent).ptr;
  out.append("^").append(digits, end);
}

}  // namespace

UnitDimensions::UnitDimensions(std::string_view units)
{
  std::optional<ParsedUnits> parsed = UnitsDatabase::instance().parse(units);
  if (!parsed)
    throw diagnosed(data::invalid("UnitsConverter", "parse", notRecognized(units)),
                    unknownUnits(std::string(units)));
  *this = parsed->dimensions;
}

bool UnitDimensions::isDimensionless() const
{
  return *this == UnitDimensions();
}

UnitDimensions UnitDimensions::operator*(const UnitDimensions& other) const
{
  UnitDimensions result;
  for (std::size_t i = 0; i < count; ++i)
    result.m_exponents[i] = m_exponents[i] + other.m_exponents[i];
  return result;
}

UnitDimensions UnitDimensions::operator/(const UnitDimensions& other) const
{
  return *this * other.power(-1);
}

UnitDimensions UnitDimensions::power(double exponent) const
{
  UnitDimensions result;
  for (std::size_t i = 0; i < count; ++i)
    result.m_exponents[i] = m_exponents[i] * exponent;
  return result;
}

bool UnitDimensions::operator==(const UnitDimensions& other) const
{
  for (std::size_t i = 0; i < count; ++i) {
    if (i != angle && !isNear(m_exponents[i], other.m_exponents[i]))
      return false;
  }
  return true;
}

std::string UnitDimensions::toUnits() const
{
  if (isDimensionless())
    return {};
  std::string out;
  for (std::size_t i = 0; i < count; ++i)
    appendFactor(out, symbols[i], m_exponents[i]);
  return out;
}

}  // namespace orv
