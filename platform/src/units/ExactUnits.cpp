#include "ExactUnits.h"

namespace orv {

namespace {

// Sources: NIST Special Publication 811 (2008), appendix B, for what is defined there (inch 0.0254 m, pound
// 0.45359237 kg, standard gravity 9.80665 m/s^2, US gallon 231 inch^3, US bushel 2150.42 inch^3, horsepower
// 550 ft lbf/s, survey foot 1200/3937 m); the SI Brochure (2019) for the constants e, N_A and c; CODATA 2018
// for the atomic mass, which is measured; IAU resolutions of 2012 and 2015 for astronomical unit and parsec.
// Values that do not end have twenty digits. tests/tools/units.py derives them all again, from fractions.
constexpr ExactUnit units[] = {
    {"assay_ton", "2.9166666666666666667e-2 kg"},  // 29 1/6 g
    {"avoirdupois_ounce", "0.028349523125 kg"},
    {"dram", "0.0017718451953125 kg"},
    {"long_hundredweight", "50.80234544 kg"},
    {"short_hundredweight", "45.359237 kg"},
    {"pennyweight", "0.00155517384 kg"},
    {"troy_ounce", "0.0311034768 kg"},
    {"troy_pound", "0.3732417216 kg"},
    {"slug", "14.593902937206364829 kg"},
    {"atomic_mass_unit", "1.66053906660e-27 kg"},
    {"chain", "20.116840233680467361 m"},
    {"light_year", "9460730472580800 m"},
    {"parsec", "3.0856775814913672789e16 m"},
    {"circular_mil", "5.0670747909749775143e-10 m^2"},
    {"darcy", "9.8692326671601283000e-13 m^2"},
    {"acre_foot", "1233.4892384681489479 m^3"},
    {"board_foot", "0.002359737216 m^3"},
    {"bushel", "0.03523907016688 m^3"},
    {"peck", "0.00880976754172 m^3"},
    {"US_dry_gallon", "0.00440488377086 m^3"},
    {"US_dry_quart", "0.001101220942715 m^3"},
    {"US_dry_pint", "5.506104713575e-4 m^3"},
    {"register_ton", "2.8316846592 m^3"},
    {"gallon", "0.003785411784 m^3"},
    {"barrel", "0.158987294928 m^3"},
    {"firkin", "0.039746823732 m^3"},
    {"quart", "9.46352946e-4 m^3"},
    {"pint", "4.73176473e-4 m^3"},
    {"cup", "2.365882365e-4 m^3"},
    {"gill", "1.1829411825e-4 m^3"},
    {"fluid_ounce", "2.95735295625e-5 m^3"},
    {"tablespoon", "1.478676478125e-5 m^3"},
    {"teaspoon", "4.92892159375e-6 m^3"},
    {"fluid_dram", "3.6966911953125e-6 m^3"},
    {"ounce_force", "0.27801385095378125 N"},
    {"pound_force", "4.4482216152605 N"},
    {"poundal", "0.138254954376 N"},
    {"psi", "6894.7572931683613367 Pa"},
    {"electronvolt", "1.602176634e-19 J"},
    {"bev", "1.602176634e-10 J"},
    {"horsepower", "745.69987158227022000 W"},
    {"UK_horsepower", "745.69987158227022000 W"},
    {"metric_horsepower", "735.49875 W"},
    {"denier", "1.1111111111111111111e-7 kg/m"},
    {"avogadro_constant", "6.02214076e23 mol^-1"},
    {"molecule", "1.6605390671738466638e-24 mol"},
    {"faraday", "96485.332123310018400 C"},
    {"gilbert", "0.79577471545947667884 A"},
    {"oersted", "79.577471545947667884 A/m"},
    {"unit_pole", "1.2566370614359172954e-7 Wb"},
    {"statampere", "3.3356409519815204958e-10 A"},
    {"statcoulomb", "3.3356409519815204958e-10 C"},
    {"statvolt", "299.792458 V"},
    {"statohm", "898755178736.81764 ohm"},
    {"stathenry", "898755178736.81764 H"},
    {"statfarad", "1.1126500560536184322e-12 F"},
    {"statmho", "1.1126500560536184322e-12 S"},
    {"footcandle", "10.763910416709722308 lx"},
    {"footlambert", "3.4262590996353905269 cd/m^2"},
};

}  // namespace

std::span<const ExactUnit> exactUnits() noexcept
{
  return units;
}

}  // namespace orv
