#include "services/UnitSystems.h"

#include <algorithm>
#include <array>

namespace orv {

namespace {

constexpr UnitQuantity quantities[] = {
    {"Length", "m", "cm", "ft"},
    {"Mass", "kg", "g", "lb"},
    {"Time", "s", "s", "s"},
    {"Temperature", "K", "K", "F"},
    {"Temperature Difference", "K", "K", "degR"},
    {"Angle", "rad", "rad", "degree"},
    {"Electric Current", "A", "A", "A"},
    {"Amount of Substance", "mol", "mol", "mol"},
    {"Luminous Intensity", "cd", "cd", "cd"},
    {"Area", "m^2", "cm^2", "ft^2"},
    {"Volume", "m^3", "cm^3", "ft^3"},
    {"Velocity", "m s^-1", "cm s^-1", "ft s^-1"},
    {"Acceleration", "m s^-2", "cm s^-2", "ft s^-2"},
    {"Frequency", "s^-1", "s^-1", "s^-1"},
    {"Angular Velocity", "rad s^-1", "rad s^-1", "rev min^-1"},
    {"Density", "kg m^-3", "g cm^-3", "lb ft^-3"},
    {"Mass Flow", "kg s^-1", "g s^-1", "lb s^-1"},
    {"Volume Flow", "m^3 s^-1", "cm^3 s^-1", "ft^3 s^-1"},
    {"Force", "N", "dyne", "lbf"},
    {"Pressure", "Pa", "dyne cm^-2", "psi"},
    {"Energy", "J", "erg", "BTU"},
    {"Torque", "N m", "dyne cm", "lbf ft"},
    {"Power", "W", "erg s^-1", "hp"},
    {"Specific Energy", "J kg^-1", "erg g^-1", "BTU lb^-1"},
    {"Specific Heat", "J kg^-1 K^-1", "erg g^-1 K^-1", "BTU lb^-1 F^-1"},
    {"Dynamic Viscosity", "Pa s", "poise", "lb ft^-1 s^-1"},
    {"Kinematic Viscosity", "m^2 s^-1", "cm^2 s^-1", "ft^2 s^-1"},
    {"Thermal Conductivity", "W m^-1 K^-1", "erg s^-1 cm^-1 K^-1", "BTU hour^-1 ft^-1 F^-1"},
    {"Heat Transfer Coefficient", "W m^-2 K^-1", "erg s^-1 cm^-2 K^-1", "BTU hour^-1 ft^-2 F^-1"},
    {"Heat Flux", "W m^-2", "erg s^-1 cm^-2", "BTU hour^-1 ft^-2"},
};

constexpr std::array<std::string_view, UnitDimensions::count> baseQuantities = {"Mass",
                                                                                "Length",
                                                                                "Angle",
                                                                                "Time",
                                                                                "Temperature Difference",
                                                                                "Electric Current",
                                                                                "Amount of Substance",
                                                                                "Luminous Intensity"};

}  // namespace

std::span<const UnitQuantity> unitQuantities() noexcept
{
  return quantities;
}

const UnitQuantity* findUnitQuantity(std::string_view name) noexcept
{
  const auto found = std::find_if(std::begin(quantities), std::end(quantities),
                                  [name](const UnitQuantity& quantity) { return quantity.name == name; });
  return found == std::end(quantities) ? nullptr : found;
}

std::string_view baseQuantity(std::size_t place) noexcept
{
  return baseQuantities[place];
}

}  // namespace orv
