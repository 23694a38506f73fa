// The units library: numbers with units, conversion, and the unit system in force.
#pragma once

#include "platform/ORVException.h"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace orv {

namespace UnitSystemTypes {
enum UnitsType { preferred = 0, base = 1, asStored = 2 };
}

// Exponents of the base units kilogram, metre, radian, second, kelvin, ampere, mole and candela, in this
// order. Exponents may be fractions (a square root halves them); texts of units hold whole ones only.
class ORV_API UnitDimensions {
 public:
  static constexpr std::size_t count = 8;
  using Exponents = std::array<double, count>;

  UnitDimensions() = default;  // dimensionless
  // Throws data::invalid, class "UnitsConverter", function "parse", UnitsConverter::whyInvalid.
  explicit UnitDimensions(std::string_view units);
  explicit UnitDimensions(const Exponents& exponents) : m_exponents(exponents) {}

  // No length, mass, time, temperature, current, amount or light; an angle counts as a number here.
  bool isDimensionless() const;
  UnitDimensions operator*(const UnitDimensions& other) const;
  UnitDimensions operator/(const UnitDimensions& other) const;
  UnitDimensions power(double exponent) const;
  bool operator==(const UnitDimensions& other) const;  // up to rounding; an angle counts as a number
  // The product of base units, "m s^-1", "rad s^-1" among them; "" when dimensionless. With a fraction as
  // exponent ("m^0.5") it is for people to read, and the converter does not take it.
  std::string toUnits() const;
  const Exponents& exponents() const { return m_exponents; }

 private:
  Exponents m_exponents{};
};

// A number and its units. No units is a pure number. A difference, such as that of two temperatures, has no
// zero point in whatever units it is shown: 10 K is 18 F then.
class ORV_API Quantity {
 public:
  Quantity() = default;
  explicit Quantity(double value, std::string units = {}, bool difference = false);

  double getValue() const { return m_value; }
  const std::string& getUnits() const { return m_units; }
  bool hasUnits() const { return !m_units.empty(); }
  bool isDifference() const { return m_difference; }

  // The number in the given units. Empty target units, or a quantity without units: the number as it stands.
  // Throws data::invalid, class "UnitsConverter", function "convertUnits", "Cannot convert units '%s' to
  // '%s'." or UnitsConverter::whyInvalid.
  double convertTo(const std::string& units) const;

  // "2.5 [m]"; the number alone without units.
  std::string toString() const;

 private:
  double m_value = 0;
  std::string m_units;
  bool m_difference = false;
};

// Converts numbers between units. Units are those engineers write: "m s^-1", "kg m^-3", "C" (degrees
// Celsius), "F", "K", "rev min^-1", "%". "C" and "F" are never coulomb and farad, and beside other units ("W
// m^-2 C^-1") they are differences. docs/units.md has the names that are taken otherwise than the package
// behind this takes them, and those that are refused. Numbers in units have a decimal point whatever the process locale says.
// Not recognized are texts over 255 characters, fractions as exponents, exponents that multiply to more than
// 4096, and scales that are not linear (logarithms, dates) or shifted by hand ("K @ 273.15"). What was parsed
// once is kept by its context, up to some thousand texts and pairs.
//
// Every operation throws internal::error, class "UnitsConverter", function "loadDatabase", when the database
// of units is not installed; the next call tries again. For several threads, with a context each.
class ORV_API UnitsConverter {
 public:
  // Puts `value`, in units `from`, into `out` in units `to`. With `difference` the offsets of temperature
  // scales do not count. Empty units are a pure number. Equal units give the value bit for bit. Throws as
  // Quantity::convertTo does, and data::invalid "Converting %s from units '%s' to '%s' gives no finite
  // number."; `out` is untouched then.
  static void convertUnits(const std::string& from, const std::string& to, double value, double& out,
                           bool difference = false);
  static bool isValid(std::string_view units);
  // What is wrong with units: "Units '%s' are not recognized.", for a name that would surprise with what to
  // write instead. Empty for valid ones.
  static std::string whyInvalid(std::string_view units);
  // Whether 0 in these units is something else in base units ("C", "psig"): a number alone is a point on a
  // scale then. False for units that are not valid.
  static bool hasZeroPoint(std::string_view units);
  // What a conversion does that may surprise: an angle is counted in radians where the other units have none
  // ("rpm", "Hz"). Empty where nothing does, and between pure numbers and angles alone. Throws as convertUnits
  // does.
  static std::string explainAngle(const std::string& from, const std::string& to);
  // Both are valid and of one dimension; a unit and its reciprocal ("s", "Hz") are not.
  static bool areConvertible(const std::string& from, const std::string& to);
};

// The unit system in force: which units people want to see. The base class prefers none.
class ORV_API UnitSystemHandler {
 public:
  virtual ~UnitSystemHandler();
  virtual std::string getPreferredUnitsForQuantity(const std::string& quantity) const;
  virtual std::string getPreferredUnitsForVariable(const std::string& variable) const;
  // The preferred units of the same dimension; empty for "keep the given ones". The quantity, when not empty,
  // settles between quantities of equal dimension.
  virtual std::string getPreferredUnitsFromUnits(const std::string& units, const std::string& quantity) const;

  // The handler in force; never null. Not owned; null restores the base class's. Returns the one before.
  static UnitSystemHandler* current();
  static UnitSystemHandler* setCurrent(UnitSystemHandler* handler);
};

}  // namespace orv
