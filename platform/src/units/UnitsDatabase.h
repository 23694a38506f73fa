// The database of units and the texts parsed with it. The only place that knows the units package behind it.
#pragma once

#include "platform/ORVException.h"
#include "platform/ORVUnits.h"

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

class UnitDictionary;

// A unit as a linear scale over base units: base = scale * (value + offset).
struct ParsedUnits {
  UnitDimensions dimensions;
  double scale = 1;
  double offset = 0;
};

class UnitsDatabase {
 public:
  // Loaded at first use and freed at exit. Throws internal::error when the data is missing; the next call
  // tries again.
  static UnitsDatabase& instance();
  ~UnitsDatabase();
  UnitsDatabase(const UnitsDatabase&) = delete;
  UnitsDatabase& operator=(const UnitsDatabase&) = delete;

  // Nothing when the text is not recognized. Blanks around it do not count; the empty text is the pure
  // number.
  std::optional<ParsedUnits> parse(std::string_view units);
  const UnitDictionary& dictionary() const;

 private:
  struct System;  // the loaded database
  UnitsDatabase();
  std::optional<ParsedUnits> parseNew(std::string_view units) const;

  std::unique_ptr<System> m_system;
  std::map<std::string, ParsedUnits, std::less<>> m_parsed;  // emptied when it is full
};

// The text of units in the words of the database; UnitNames and ExactUnits have the tables. Nothing when it
// holds what the database would misread: names that would surprise, fractions as exponents ("m^0.5" would pass
// as a number), exponents that overflow, a NUL.
std::optional<std::string> translateUnits(std::string_view units, const UnitDictionary& dictionary);

// The message about units that parse() does not take.
std::string notRecognized(std::string_view units);
// What goes with it: the word that nobody knows, and the one that was meant.
Diagnostic unknownUnits(const std::string& units);

}  // namespace orv
