#include "platform/ORVUnits.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace orv {
namespace {

double convert(const std::string& from, const std::string& to, double value, bool difference = false)
{
  double out = 0;
  UnitsConverter::convertUnits(from, to, value, out, difference);
  return out;
}

// "class|function|message|type" of the data::invalid that the action throws.
template <class Action>
std::string errorOf(Action action)
{
  try {
    action();
  } catch (const data::invalid& error) {
    return error.getClassName() + "|" + error.getFunction() + "|" + error.getMessage() + "|"
           + std::to_string(error.getType());
  }
  return "no error";
}

TEST(Units, Converts)
{
  struct Row {
    const char* from;
    const char* to;
    double value, expected;
    bool difference = false;
  };
  const Row rows[] = {
      {"m s^-1", "km/h", 10, 36},
      {"rev min^-1", "rad s^-1", 30, std::acos(-1.0)},
      {"C", "F", 100, 212},
      {"\u00B0C", "K", 0, 273.15},
      {"C %", "K", 100, 1},
      {"C rad", "K", 0, 0},
      {"C", "F", 10, 18, true},
      {"F", "K", 9, 5, true},
      {"W m^-2 F^-1", "W m^-2 C^-1", 5, 9},
  };
  for (const Row& row : rows) {
    double out = convert(row.from, row.to, row.value, row.difference);
    EXPECT_NEAR(out, row.expected, 1e-14 * std::abs(row.expected)) << row.from << " to " << row.to;
  }
  EXPECT_EQ(convert("C", "F", 100), 212) << "temperatures come out as people know them, without noise";
  EXPECT_EQ(convert("degF", "F", 0.1 + 0.2), 0.1 + 0.2) << "equal units keep every bit";
  EXPECT_TRUE(std::signbit(convert("m", "meter", -0.0)));
}

// Bit for bit what another program derives from the definitions.
TEST(Units, ExactlyDefinedOnesAreExact)
{
  const char* root = std::getenv("KSL_SOURCE_DIR");
  FILE* pipe = popen(("python3 '" + std::string(root ? root : ".") + "/tests/tools/units.py'").c_str(), "r");
  char units[64], base[64];
  double value = 0;
  int count = 0;
  for (; std::fscanf(pipe, "%63[^\t]\t%63[^\t]\t%lf\n", units, base, &value) == 3; ++count)
    EXPECT_EQ(convert(units, base, 1), value) << units;
  EXPECT_EQ(pclose(pipe), 0);
  EXPECT_GE(count, 90);
}

TEST(Units, RefusedConversionsNameTheTextAndLeaveTheResult)
{
  double out = 42;
  auto tryConvert = [&out](const char* from, const char* to, double value) {
    return errorOf([&] { UnitsConverter::convertUnits(from, to, value, out); });
  };
  const std::string head = "UnitsConverter|convertUnits|";
  EXPECT_EQ(tryConvert("m", "s", 1), head + "Cannot convert units 'm' to 's'.|4");
  EXPECT_EQ(tryConvert("s", "Hz", 1), head + "Cannot convert units 's' to 'Hz'.|4");
  EXPECT_EQ(tryConvert("blob", "m", 1), head + "Units 'blob' are not recognized.|4");
  EXPECT_EQ(tryConvert("km", "mm", 1e308),
            head + "Converting 1e+308 from units 'km' to 'mm' gives no finite number.|4");
  EXPECT_EQ(tryConvert("m", "m", std::numeric_limits<double>::quiet_NaN()),
            head + "Converting nan from units 'm' to 'm' gives no finite number.|4");
  EXPECT_EQ(out, 42);
  EXPECT_EQ(errorOf([] { UnitDimensions("2 blob"); }),
            "UnitsConverter|parse|Units '2 blob' are not recognized.|4");
}

TEST(Units, RefusedNamesAreRefusedWithPrefixesToo)
{
  const std::pair<const char*, const char*> rows[] = {{"kton", "'ton' is"},
                                                      {"kiloTONS m", "'tons' are"},
                                                      {"kpa", "'pa' is"},
                                                      {"moz^2", "'oz' is"},
                                                      {"Mgal/min", "'gal'"},
                                                      {"Cal", "'cal' may"},
                                                      {"KiloCalorie", "'calorie' may"},
                                                      {"hPa(g)", "Gauge"}};
  for (const auto& [units, hint] : rows)
    EXPECT_NE(UnitsConverter::whyInvalid(units).find(hint), std::string::npos)
        << UnitsConverter::whyInvalid(units);
  for (const char* units : {"kat", "ha", "Pa", "mmol", "keV", "degR", "floz", "mC", "au", "mGal", "nmile"})
    EXPECT_EQ(UnitsConverter::whyInvalid(units), "");
}

TEST(Units, TextsThatWouldBeMisreadAreNotRecognized)
{
  const std::string refused[] = {"m^0.5",
                                 "m**0.5",
                                 "m^99999999999999999999",
                                 "1e400 m",
                                 "0 m",
                                 "lg(re 1 mW)",
                                 "seconds since 1970-01-01",
                                 std::string("m\0x", 3),
                                 std::string(300, '('),
                                 "m" + std::string(260, ' ') + "s",
                                 "\xff\xfe"};
  for (const std::string& units : refused)
    EXPECT_FALSE(UnitsConverter::isValid(units)) << units;
  for (const char* units : {"", "  ", "m2.s-1", "(m^2)^2", "10^3 m", "H2O"})
    EXPECT_TRUE(UnitsConverter::isValid(units)) << units;
  EXPECT_TRUE(UnitsConverter::areConvertible("N", "kg m s^-2"));
  EXPECT_FALSE(UnitsConverter::areConvertible("s", "Hz"));
  EXPECT_FALSE(UnitsConverter::areConvertible("blob", "blob"));
}

TEST(Units, MoreTextsThanTheCacheHolds)
{
  for (int i = 1; i <= 5000; ++i)
    ASSERT_EQ(convert(std::to_string(i) + " m", "m", 2), 2.0 * i);
  EXPECT_EQ(convert("1 m", "m", 3), 3);
}

TEST(UnitDimensions, NameTheBaseUnits)
{
  std::string named;
  for (const char* units :
       {"mm", "km h^-1", "psi", "N m", "%", "rev min^-1", "F", "lumen", "V", "kat", "m m^-1"})
    named += UnitDimensions(units).toUnits() + "; ";
  EXPECT_EQ(named,
            "m; m s^-1; kg m^-1 s^-2; kg m^2 s^-2; ; rad s^-1; K; rad^2 cd; kg m^2 s^-3 A^-1; s^-1 mol; ; ");
  const UnitDimensions length("m");
  UnitDimensions sum;  // of rounded exponents
  for (int i = 0; i < 20; ++i)
    sum = sum * length.power(0.1);
  EXPECT_EQ(sum, UnitDimensions("m^2"));
  EXPECT_EQ(length * UnitDimensions("degree"), length);
}

// In a process of its own, where nothing is loaded yet.
void convertWithoutDatabase()
{
  setenv("UDUNITS2_XML_PATH", "/no/such/units.xml", 1);
  bool told = false;
  try {
    UnitsConverter::isValid("m");
  } catch (const internal::error& error) {
    told = error.getClassName() == "UnitsConverter" && error.getFunction() == "loadDatabase"
           && error.getType() == errorType::internal
           && error.getMessage().find("'/no/such/units.xml'") != std::string::npos;
  }
  unsetenv("UDUNITS2_XML_PATH");
  std::exit(told && UnitsConverter::isValid("m") ? 0 : 1);
}

TEST(UnitsDeathTest, MissingDatabaseIsToldAndTriedAgain)
{
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(convertWithoutDatabase(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace orv
