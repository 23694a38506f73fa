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

// The decimal number of up to 12 digits that is as near as `tolerance`, if there is one.
std::optional<double> findDecimal(double value, double tolerance)
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
  return std::nullopt;
}

// y = factor * x + shift, or its inverse. The factor is at least 1, so that millimetres are divided by 1000,
// not multiplied by an inexact 0.001, and there and back are the same numbers; but where the smaller factor
// alone is a decimal number, or what a unit is in base units, it counts: an eV is 1.602176634e-19 J. Factor
// and shift are rounded to the decimal numbers they stand for within what computing them loses: 100 C is 212
// F, not 211.99999999999986.
class Conversion {
 public:
  Conversion(const ParsedUnits& from, const ParsedUnits& to)
      : m_inverse(std::abs(from.scale) < std::abs(to.scale))
  {
    if (isSmallerFactorBetter(m_inverse ? to.scale : from.scale, m_inverse ? from.scale : to.scale))
      m_inverse = !m_inverse;
    const ParsedUnits& fine = m_inverse ? from : to;
    const ParsedUnits& coarse = m_inverse ? to : from;
    const double factor = coarse.scale / fine.scale;
    m_factor = findFactor(factor).value_or(factor);
    const double coarseZero = coarse.offset * m_factor;
    m_shift = coarseZero - fine.offset;
    m_shift =
        findDecimal(m_shift, 4 * epsilon * (std::abs(coarseZero) + std::abs(fine.offset))).value_or(m_shift);
  }

  double apply(double value, bool difference) const
  {
    if (m_factor == 1 && (m_shift == 0 || difference))
      return value;
    double shift = difference ? 0 : m_shift;
    return m_inverse ? (value - shift) / m_factor : value * m_factor + shift;
  }

 private:
  static constexpr double epsilon = std::numeric_limits<double>::epsilon();

  static std::optional<double> findFactor(double factor)
  {
    return findDecimal(factor, 2 * epsilon * std::abs(factor));
  }
  static bool isSmallerFactorBetter(double larger, double smaller)
  {
    return !findFactor(larger / smaller) && (larger == 1 || findFactor(smaller / larger));
  }

  bool m_inverse;
  double m_factor = 1;
  double m_shift = 0;
};

ParsedUnits parseForConversion(const std::string& units)
{
  std::optional<ParsedUnits> parsed = UnitsDatabase::instance().parse(units);
  if (!parsed)
    throw diagnosed(data::invalid("UnitsConverter", "convertUnits", notRecognized(units)),
                    unknownUnits(units));
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
    throw diagnosed(
        data::invalid("UnitsConverter", "convertUnits", _("Cannot convert units '%s' to '%s'.", from, to)),
        {.subject = from});
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

bool UnitsConverter::hasZeroPoint(std::string_view units)
{
  const std::optional<ParsedUnits> parsed = UnitsDatabase::instance().parse(units);
  return parsed && parsed->offset != 0;
}

std::string UnitsConverter::explainAngle(const std::string& from, const std::string& to)
{
  constexpr std::size_t angle = 2;
  const UnitDimensions left(from), right(to);
  if (left.isDimensionless() || left.exponents()[angle] == right.exponents()[angle])
    return {};
  double number = 0;
  convertUnits(from, to, 1, number);
  return _("An angle counts as a number, in radians: 1 [%s] is %s [%s]. A whole turn is 'rev'.", from,
           StringUtilities::toString(number), to);
}

bool UnitsConverter::areConvertible(const std::string& from, const std::string& to)
{
  std::optional<ParsedUnits> parsedFrom = UnitsDatabase::instance().parse(from);
  std::optional<ParsedUnits> parsedTo = UnitsDatabase::instance().parse(to);
  return parsedFrom && parsedTo && parsedFrom->dimensions == parsedTo->dimensions;
}

}  // namespace orv
