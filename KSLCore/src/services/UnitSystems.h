// The unit systems that come with the library.
#pragma once

#include "platform/ORVUnits.h"

#include <cstddef>
#include <span>
#include <string_view>

namespace orv {

// A quantity and its units in each system. Its dimensions are those of its SI units.
struct UnitQuantity {
  std::string_view name;
  std::string_view si;
  std::string_view cgs;
  std::string_view english;
};

// In the order in which they are asked for units of a dimension: of quantities of equal dimensions the first
// is the one that a number most likely is.
std::span<const UnitQuantity> unitQuantities() noexcept;
// Null when there is none of this name.
const UnitQuantity* findUnitQuantity(std::string_view name) noexcept;

// For each place of UnitDimensions the quantity whose units stand for it in products. Temperatures are
// differences there.
std::string_view baseQuantity(std::size_t place) noexcept;

}  // namespace orv
