#include "platform/ORVCommonUnits.h"
#include "platform/ORVUtilities.h"
#include "UnitsDatabase.h"

#include <algorithm>
#include <cctype>

namespace orv {

// The database does not list its own.
const std::vector<std::string>& commonUnits()
{
  static const std::vector<std::string>& units = *new std::vector<std::string>{
      "m",     "mm",     "cm",     "km",     "um",      "inch",    "in",     "foot",    "ft",        "feet",
      "yard",  "mile",   "meter",  "metre",  "s",       "ms",      "second", "min",     "minute",    "hour",
      "day",   "year",   "kg",     "g",      "mg",      "gram",    "tonne",  "lb",      "pound",     "N",
      "kN",    "newton", "Pa",     "kPa",    "MPa",     "GPa",     "pascal", "bar",     "mbar",      "psi",
      "atm",   "torr",   "mmHg",   "K",      "kelvin",  "degC",    "degF",   "degR",    "C",         "F",
      "J",     "kJ",     "MJ",     "joule",  "W",       "kW",      "MW",     "watt",    "Hz",        "kHz",
      "hertz", "rad",    "radian", "degree", "degrees", "mol",     "kmol",   "mole",    "A",         "V",
      "volt",  "ohm",    "litre",  "liter",  "gallon",  "percent", "rpm",    "celsius", "fahrenheit"};
  return units;
}

Diagnostic unknownUnits(const std::string& units)
{
  const auto isLetter = [](char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; };
  for (auto at = units.begin(); (at = std::find_if(at, units.end(), isLetter)) != units.end();) {
    const auto end = std::find_if_not(at, units.end(), isLetter);
    const std::string word(at, end);
    if (!UnitsConverter::isValid(word)) {
      Diagnostic result = oneOf(word, commonUnits());
      result.valid.clear();  // there are many more
      return result;
    }
    at = end;
  }
  return {.subject = units};
}

}  // namespace orv
