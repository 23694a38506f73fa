#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "UnitsDatabase.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <tuple>

namespace orv {

namespace {

constexpr std::size_t maxCachedPairs = 4096;

// The decimal number of up to 12 digits that is as near as `tolerance`; else the value, which then stands for
// none.
double decimalNear(double value, double tolerance)
{
  for (int digits = 1; digits <= 12; ++digits) {
    char text[40];
    auto end =
        std::to_chars(std::begin(text), std::end(text), value, std::chars_format::scientific, digits - 1);
    double rounded = value;
    std::from_chars(text, end.ptr, rounded);
    if (std::abs(rounded - value) <= tolerance)
      return rounded;
  }
  return value;
}

// y = factor * x + shift, or its inverse. The factor is at least 1, so that millimetres are divided by 1000,
// not multiplied by an inexact 0.001, and there and back are the same numbers. Both are rounded to the
// decimal numbers they stand for within what computing them loses: 100 C is 212 F, not 211.99999999999986.
class Conversion {
 public:
  Conversion(const ParsedUnits& from, const ParsedUnits& to)
      : m_inverse(std::abs(from.scale) < std::abs(to.scale))
  {
    const ParsedUnits& fine = m_inverse ? from : to;
    const ParsedUnits& coarse = m_inverse ? to : from;
    constexpr double epsilon = std::numeric_limits<double>::epsilon();
    m_factor = coarse.scale / fine.scale;
    m_factor = decimalNear(m_factor, 2 * epsilon * std::abs(m_factor));
    double coarseZero = coarse.offset * m_factor;
    m_shift = coarseZero - fine.offset;
    m_shift = decimalNear(m_shift, 4 * epsilon * (std::abs(coarseZero) + std::abs(fine.offset)));
  }

  double apply(double value, bool difference) const
  {
    if (m_factor == 1 && (m_shift == 0 || difference))
      return value;
    double shift = difference ? 0 : m_shift;
    return m_inverse ? (value - shift) / m_factor : value * m_factor + shift;
  }

 private:
  bool m_inverse;
  double m_factor = 1;
  double m_shift = 0;
};

ParsedUnits parseForConversion(const std::string& units)
{
  std::optional<ParsedUnits> parsed = UnitsDatabase::instance().parse(units);
  if (!parsed)
    throw data::invalid("UnitsConverter", "convertUnits", notRecognized(units));
  return *parsed;
}

// Conversions made so far; emptied when full. What is returned lives until the next call.
const Conversion& findConversion(const std::string& from, const std::string& to)
{
  using Conversions = std::map<std::tuple<std::string, std::string>, Conversion, std::less<>>;
  // Never destroyed: static objects of a host may still use it after main.
  static Conversions& conversions = *new Conversions;
  auto found = conversions.find(std::tie(from, to));
  if (found != conversions.end())
    return found->second;
  ParsedUnits parsedFrom = parseForConversion(from);
  ParsedUnits parsedTo = parseForConversion(to);
  if (parsedFrom.dimensions != parsedTo.dimensions)
    throw data::invalid("UnitsConverter", "convertUnits", _("Cannot convert units '%s' to '%s'.", from, to));
  if (conversions.size() >= maxCachedPairs)
    conversions.clear();
  return conversions.emplace(std::tuple(from, to), Conversion(parsedFrom, parsedTo)).first->second;
}

}  // namespace

void UnitsConverter::convertUnits(const std::string& from, const std::string& to, double value, double& out,
                                  bool difference)
{
  double result = findConversion(from, to).apply(value, difference);
  if (!std::isfinite(result))
    throw data::invalid("UnitsConverter", "convertUnits",
                        _("Converting %s from units '%s' to '%s' gives no finite number.",
                          StringUtilities::toString(value), from, to));
  out = result;
}

bool UnitsConverter::isValid(std::string_view units)
{
  return UnitsDatabase::instance().parse(units).has_value();
}

std::string UnitsConverter::whyInvalid(std::string_view units)
{
  return isValid(units) ? std::string() : notRecognized(units);
}

bool UnitsConverter::areConvertible(const std::string& from, const std::string& to)
{
  std::optional<ParsedUnits> parsedFrom = UnitsDatabase::instance().parse(from);
  std::optional<ParsedUnits> parsedTo = UnitsDatabase::instance().parse(to);
  return parsedFrom && parsedTo && parsedFrom->dimensions == parsedTo->dimensions;
}

}  // namespace orv
