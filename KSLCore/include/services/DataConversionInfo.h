// What is to be converted when an object's numbers leave for a program with other units.
#pragma once

#include <string>

namespace orv {

struct DataConversionInfo {
  std::string parameter;
  std::string quantity;  // the name of a quantity of the unit system; empty where none is known
  std::string fromUnits;
  std::string toUnits;
  bool difference = false;     // a difference of temperatures: offsets of scales do not count
  int significantDigits = 15;  // of the converted number; 15 hold every decimal number that a double keeps

  bool operator==(const DataConversionInfo& other) const
  {
    return parameter == other.parameter && quantity == other.quantity && fromUnits == other.fromUnits
           && toUnits == other.toUnits && difference == other.difference
           && significantDigits == other.significantDigits;
  }
};

}  // namespace orv
