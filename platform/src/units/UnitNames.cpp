#include "UnitNames.h"

#include "platform/ORVUtilities.h"

#include <algorithm>
#include <iterator>

namespace orv {

namespace {

// A word of its own meaning. Exactly one of the two texts is given.
struct UnitName {
  std::string_view word;
  std::string_view text;  // what the database is told
  std::string_view hint;  // why it is refused, with any prefix too, and what to write instead
  int flags = 0;
};

constexpr int prefixes = 1;  // may stand before it
constexpr int anyCase = 2;   // a name, where capitals do not count; the word is in small letters

// Sorted. Most of the refused words are units to the database, but rarely what their writer has in mind.
// A temperature or a gauge pressure has its zero point where it stands alone; in a product the database itself
// takes it as a difference. docs/units.md repeats this table. Exact by the sources of exactUnits(): the
// standard atmosphere is 101325 Pa and 760 torr, gallons per minute are of the US gallon, water has
// 1000 kg/m^3.
constexpr UnitName names[] = {
    {"C", "degC", {}},  // not coulomb
    {"Dimensionless", "1", {}},
    {"F", "degF", {}},  // not farad
    {"MPa(a)", "MPa", {}},
    {"MPa(g)", "MPa @ 0.101325", {}},
    {"Nm", "N m", {}, prefixes},
    {"PH", {}, "'PH' is petahenry"},
    {"PS", {}, "'PS' is petasiemens; metric horsepower is 'metric_horsepower'"},
    {"R", {}, "'R' is roentgen; degrees Rankine are 'degR'"},
    {"Wh", "3600 J", {}, prefixes},
    {"a", {}, "'a' is 100 m^2; the year is 'year' and the area 'are'"},
    {"at",
     {},
     "'at' is the technical atmosphere; write 'technical_atmosphere', or 'atm' for the standard one"},
    {"b", {}, "'b' is barn, 1e-28 m^2; write 'barn' or 'bit'"},
    {"bar(a)", "bar", {}},
    {"bar(g)", "bar @ 1.01325", {}},
    {"bara", "bar", {}},
    {"barg", "bar @ 1.01325", {}},
    {"cP", "0.001 Pa s", {}},
    {"cal", {}, "'cal' may be 4.184 J or, in steam tables, 4.1868 J; write 'cal_th' or 'cal_IT'", anyCase},
    {"cal_IT", "4.1868 J", {}, prefixes},
    {"cal_th", "4.184 J", {}, prefixes},
    {"calorie",
     {},
     "'calorie' may be 4.184 J or, in steam tables, 4.1868 J; write 'cal_th' or 'cal_IT'",
     anyCase},
    {"calories",
     {},
     "'calories' may be 4.184 J or, in steam tables, 4.1868 J; write 'cal_th' or 'cal_IT'",
     anyCase},
    {"cfm", "4.719474432e-4 m^3/s", {}},
    {"cps", {}, "'cps' is a rotation, 2 pi rad/s; write 'Hz' or 'rev s^-1'"},
    {"cu", {}, "'cu' is a hundredth of an atomic mass; cubic feet are 'ft^3'"},
    {"deg", "degree", {}},
    {"dimensionless", "1", {}},
    {"dyn", "1e-5 N", {}, prefixes},
    {"e", {}, "'e' is the charge of an electron; write '1e3' without a blank"},
    {"gal", {}, "'gal' is a galileo, 0.01 m s^-2; write 'gallon' or 'Gal'"},
    {"gon", "0.015707963267948966192 rad", {}, prefixes},
    {"gpm", "6.30901964e-5 m^3/s", {}},
    {"ha", "hectare", {}},
    {"inH2O", "249.08891 Pa", {}},
    {"kPa(a)", "kPa", {}},
    {"kPa(g)", "kPa @ 101.325", {}},
    {"kph", {}, "'kph' is kilophot; write 'km/h'"},
    {"lbm", "lb", {}},
    {"lbs", "lb", {}},
    {"mb", {}, "'mb' is millibarn; millibar is 'mbar'"},
    {"mbar(a)", "mbar", {}},
    {"mbar(g)", "mbar @ 1013.25", {}},
    {"mgal", {}, "'mgal' is milligalileo; write 'mGal' or 'milligallon'"},
    {"mph", {}, "'mph' is milliphot; write 'mile/h'"},
    {"nmi", {}, "'nmi' is a nanomile; write 'nautical_mile'"},
    {"ounce",
     {},
     "'ounce' may be of mass, of volume or of force; write 'avoirdupois_ounce', 'troy_ounce', 'fluid_ounce' "
     "or 'ozf'",
     anyCase},
    {"ounces",
     {},
     "'ounces' may be of mass, of volume or of force; write 'avoirdupois_ounce', 'troy_ounce', 'fluid_ounce' "
     "or 'ozf'",
     anyCase},
    {"oz", {}, "'oz' is the fluid ounce; write 'fluid_ounce', 'avoirdupois_ounce' or 'ozf'"},
    {"pa", {}, "'pa' is a trillionth of an are; pascal is 'Pa'"},
    {"ppt", {}, "'ppt' is a trillionth; parts per thousand are '1e-3'"},
    {"psi(a)", "6894.7572931683613367 Pa", {}},
    {"psi(g)", "6894.7572931683613367 Pa @ 14.695948775513448726", {}},
    {"psia", "6894.7572931683613367 Pa", {}},
    {"psig", "6894.7572931683613367 Pa @ 14.695948775513448726", {}},
    {"rev", "turn", {}},
    {"stone", "6.35029318 kg", {}},
    {"stones", "6.35029318 kg", {}},
    {"ton", {}, "'ton' is 2000 lb; write 'short_ton', 'long_ton' or 'tonne'", anyCase},
    {"tons", {}, "'tons' are 2000 lb each; write 'short_ton', 'long_ton' or 'tonne'", anyCase},
    {"torr", "133.32236842105263158 Pa", {}, prefixes | anyCase},  // the package has that of mercury
    {"torrs", "133.32236842105263158 Pa", {}, prefixes | anyCase},
};
static_assert(std::is_sorted(std::begin(names), std::end(names),
                             [](const UnitName& a, const UnitName& b) { return a.word < b.word; }));

const UnitName* findExactly(std::string_view word)
{
  const UnitName* found =
      std::lower_bound(std::begin(names), std::end(names), word,
                       [](const UnitName& name, std::string_view key) { return name.word < key; });
  return found != std::end(names) && found->word == word ? found : nullptr;
}

const UnitName* find(std::string_view word)
{
  if (const UnitName* found = findExactly(word))
    return found;
  const UnitName* found = findExactly(StringUtilities::toLower(word));
  return found && (found->flags & anyCase) ? found : nullptr;
}

struct Prefix {
  std::string_view text;
  std::string_view factor;
};

// Of several that fit the first counts.
constexpr Prefix unitPrefixes[] = {
    {"yotta", "1e24"},  {"zetta", "1e21"},  {"exa", "1e18"},   {"peta", "1e15"},   {"tera", "1e12"},
    {"giga", "1e9"},    {"mega", "1e6"},    {"kilo", "1e3"},   {"hecto", "1e2"},   {"deka", "1e1"},
    {"deci", "1e-1"},   {"centi", "1e-2"},  {"milli", "1e-3"}, {"micro", "1e-6"},  {"nano", "1e-9"},
    {"pico", "1e-12"},  {"femto", "1e-15"}, {"atto", "1e-18"}, {"zepto", "1e-21"}, {"yocto", "1e-24"},
    {"Y", "1e24"},      {"Z", "1e21"},      {"E", "1e18"},     {"P", "1e15"},      {"T", "1e12"},
    {"G", "1e9"},       {"M", "1e6"},       {"k", "1e3"},      {"h", "1e2"},       {"da", "1e1"},
    {"d", "1e-1"},      {"c", "1e-2"},      {"m", "1e-3"},     {"u", "1e-6"},      {"\u00B5", "1e-6"},
    {"\u03BC", "1e-6"}, {"n", "1e-9"},      {"p", "1e-12"},    {"f", "1e-15"},     {"a", "1e-18"},
    {"z", "1e-21"},     {"y", "1e-24"},
};

UnitWord readWithPrefix(std::string_view word, const Prefix& prefix, const UnitDictionary& dictionary)
{
  const std::string_view rest = word.substr(prefix.text.size());
  std::string_view text;
  if (const UnitName* name = find(rest)) {
    if (!name->hint.empty())
      return {{}, name->hint};
    text = name->flags & prefixes ? name->text : std::string_view();
  } else {
    text = dictionary.exactly(std::string(rest));
  }
  if (text.empty())
    return {};
  return {"(" + std::string(prefix.factor) + " " + std::string(text) + ")", {}};
}

}  // namespace

UnitDictionary::~UnitDictionary() = default;

UnitWord readUnitWord(std::string_view word, const UnitDictionary& dictionary)
{
  if (const UnitName* name = find(word))
    return {name->hint.empty() ? "(" + std::string(name->text) + ")" : std::string(), name->hint};
  const std::string whole(word);
  if (const std::string_view exact = dictionary.exactly(whole); !exact.empty())
    return {"(" + std::string(exact) + ")", {}};
  if (dictionary.knows(whole))
    return {whole, {}};
  const std::string lower = StringUtilities::toLower(word);
  for (const Prefix& prefix : unitPrefixes) {
    const bool isName = prefix.text.size() > 2;  // where capitals do not count
    if (!std::string_view(isName ? lower : whole).starts_with(prefix.text))
      continue;
    if (UnitWord read = readWithPrefix(word, prefix, dictionary); !read.text.empty() || !read.hint.empty())
      return read;
  }
  return {whole, {}};
}

bool takesPressureMark(std::string_view wordWithMark)
{
  return wordWithMark.ends_with(')') && findExactly(wordWithMark);
}

}  // namespace orv
