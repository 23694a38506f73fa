#include "UnitNames.h"

#include <algorithm>
#include <iterator>

namespace orv {

namespace {

// Sorted. The refused words are all units to the database, but rarely what their writer has in mind.
// A temperature has its zero point where it stands alone; in a product the database itself takes it as a
// difference. docs/units.md repeats this table.
constexpr UnitName names[] = {
    {"C", "degC", {}},  // not coulomb
    {"Dimensionless", "1", {}},
    {"F", "degF", {}},  // not farad
    {"PH", {}, "'PH' is petahenry"},
    {"PS", {}, "'PS' is petasiemens; metric horsepower is 'metric_horsepower'"},
    {"R", {}, "'R' is roentgen; degrees Rankine are 'degR'"},
    {"a", {}, "'a' is 100 m^2; the year is 'year' and the area 'are'"},
    {"at",
     {},
     "'at' is the technical atmosphere; write 'technical_atmosphere', or 'atm' for the standard one"},
    {"b", {}, "'b' is barn, 1e-28 m^2; write 'barn' or 'bit'"},
    {"cps", {}, "'cps' is a rotation, 2 pi rad/s; write 'Hz' or 'rev s^-1'"},
    {"cu", {}, "'cu' is a hundredth of an atomic mass; cubic feet are 'ft^3'"},
    {"deg", "degree", {}},
    {"dimensionless", "1", {}},
    {"e", {}, "'e' is the charge of an electron; write '1e3' without a blank"},
    {"gal", {}, "'gal' is a galileo, 0.01 m s^-2; write 'gallon' or 'Gal'"},
    {"kph", {}, "'kph' is kilophot; write 'km/h'"},
    {"lbm", "lb", {}},
    {"mgal", {}, "'mgal' is milligalileo; write 'mGal' or 'milligallon'"},
    {"mph", {}, "'mph' is milliphot; write 'mile/h'"},
    {"nmi", {}, "'nmi' is a nanomile; write 'nautical_mile'"},
    {"oz", {}, "'oz' is the fluid ounce; write 'fluid_ounce', 'avoirdupois_ounce' or 'ozf'"},
    {"pa", {}, "'pa' is a trillionth of an are; pascal is 'Pa'"},
    {"ppt", {}, "'ppt' is a trillionth; parts per thousand are '1e-3'"},
    {"rev", "turn", {}},
    {"ton", {}, "'ton' is 2000 lb; write 'short_ton', 'long_ton' or 'tonne'"},
    {"tons", {}, "'tons' are 2000 lb each; write 'short_ton', 'long_ton' or 'tonne'"},
};
static_assert(std::is_sorted(std::begin(names), std::end(names),
                             [](const UnitName& a, const UnitName& b) { return a.word < b.word; }));

}  // namespace

const UnitName* findUnitName(std::string_view word) noexcept
{
  const UnitName* found =
      std::lower_bound(std::begin(names), std::end(names), word,
                       [](const UnitName& name, std::string_view key) { return name.word < key; });
  return found != std::end(names) && found->word == word ? found : nullptr;
}

}  // namespace orv
