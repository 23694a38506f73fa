// The database of units and the texts parsed with it. The only place that knows the units package behind it.
#pragma once

#include "platform/ORVException.h"
#include "platform/ORVUnits.h"

#include <cstddef>
#include <memory>
#include <mutex>
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
  // Loaded at first use, once for all contexts, and never freed: static objects of a host may still use it after
  // main. Throws internal::error when the data is missing; the next call tries again.
  static UnitsDatabase& instance();
  UnitsDatabase(const UnitsDatabase&) = delete;
  UnitsDatabase& operator=(const UnitsDatabase&) = delete;

  // Nothing when the text is not recognized. Blanks around it do not count; the empty text is the pure
  // number. Each context remembers what it asked for.
  std::optional<ParsedUnits> parse(std::string_view units) const;

  // What it knows of words, for this thread alone while it lives: the package behind it is not for several.
  class Dictionary {
   public:
    explicit Dictionary(const UnitsDatabase& database);
    const UnitDictionary& operator*() const { return m_dictionary; }

   private:
    std::lock_guard<std::mutex> m_lock;
    const UnitDictionary& m_dictionary;
  };

 private:
  struct System;  // the loaded database
  UnitsDatabase();
  ~UnitsDatabase();
  std::optional<ParsedUnits> parseNew(std::string_view units) const;

  std::unique_ptr<System> m_system;
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
