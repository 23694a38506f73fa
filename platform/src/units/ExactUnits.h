// Units with exact definitions of which the database holds six or seven digits, or former values of
// constants.
#pragma once

#include <span>

namespace orv {

struct ExactUnit {
  const char* name;   // any that the database has; its other names follow
  const char* value;  // in units that the database has exactly
};

std::span<const ExactUnit> exactUnits() noexcept;

}  // namespace orv
