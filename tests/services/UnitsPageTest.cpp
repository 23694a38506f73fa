// The tables of docs/units.md, and the units package's own program beside ours.
#include "platform/ORVUtilities.h"
#include "services/EngineUnitSystemHandler.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>

namespace orv {
namespace {

// The rows of the tables whose heading begins so, without the back quotes.
std::vector<std::vector<std::string>> rowsUnder(const std::string& heading)
{
  const char* root = std::getenv("KSL_SOURCE_DIR");
  std::ifstream page(std::string(root ? root : ".") + "/docs/units.md");
  std::vector<std::vector<std::string>> rows;
  bool inside = false;
  for (std::string line; std::getline(page, line);) {
    inside = line.starts_with(heading) || (inside && line.starts_with("|"));
    if (!inside || line.find('`') == std::string::npos)
      continue;
    std::vector<std::string> cells = StringUtilities::stringToVector(line, '|');
    for (std::string& cell : cells)
      cell = StringUtilities::stringToVector(cell + "``", '`')[cell.find('`') == std::string::npos ? 0 : 1];
    rows.emplace_back(cells.begin() + 1, cells.end());
  }
  EXPECT_FALSE(rows.empty()) << heading;
  return rows;
}

double convert(double value, const std::string& from, const std::string& to)
{
  double out = 0;
  UnitsConverter::convertUnits(from, to, value, out);
  return out;
}

TEST(UnitsPage, ConversionsAreAsShown)
{
  for (const auto& row : rowsUnder("| Value |")) {
    EXPECT_EQ(StringUtilities::toString(convert(std::stod(row[0]), row[1], row[2])), row[3])
        << row[0] << " " << row[1];
  }
}

TEST(UnitsPage, NamesAreReadAndRefusedAsShown)
{
  for (const auto& row : rowsUnder("| Name |"))
    EXPECT_EQ(convert(2, row[0], row[1]), 2) << row[0];
  for (const auto& row : rowsUnder("| Refused |"))
    EXPECT_EQ(UnitsConverter::whyInvalid(row[0]), "Units '" + row[0] + "' are not recognized. "
                                                      + StringUtilities::removeWhitespace(row[1]) + ".");
}

TEST(UnitsPage, SystemsAreAsShown)
{
  EngineUnitSystemHandler* handler = EngineUnitSystemHandler::instance();
  const auto rows = rowsUnder("| Quantity |");
  EXPECT_EQ(rows.size(), EngineUnitSystemHandler::getQuantityNames().size());
  const std::array<const char*, 3> systems = {"SI", "CGS", "English"};
  for (std::size_t i = 0; i < systems.size(); ++i) {
    handler->load({systems[i], {}, {}}, nullptr);
    for (const auto& row : rows) {
      EXPECT_EQ(handler->getPreferredUnitsForQuantity(row[0]), row[i + 1]) << row[0] << " " << systems[i];
      EXPECT_EQ(EngineUnitSystemHandler::whyNoUnitsOf(row[0], row[i + 1]), "");
    }
  }
  EngineUnitSystemHandler::destroyInstance();
}

// The first line of what the program answers.
std::string askProgram(const std::string& have, const std::string& want)
{
  const std::string command = "udunits2 -H '" + have + "' -W '" + want + "' </dev/null 2>&1";
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::array<char, 256> line{};
  return pipe && std::fgets(line.data(), line.size(), pipe.get()) ? line.data() : "";
}

// The number behind "=", which it gives with six digits.
double convertByProgram(const std::string& have, const std::string& want)
{
  const std::string answer = askProgram(have, want);
  const std::size_t equals = answer.find(" = ");
  EXPECT_NE(equals, std::string::npos) << answer;
  return equals == std::string::npos ? 0 : std::strtod(answer.c_str() + equals + 3, nullptr);
}

TEST(UnitsPage, AgreesWithTheProgramOfThePackage)
{
  if (std::system("command -v udunits2 >/dev/null") != 0)
    GTEST_SKIP() << "udunits2 is not installed (tools/setup.sh test)";
  // Ours, and what the program calls it.
  const std::vector<std::vector<std::pair<const char*, const char*>>> groups = {
      {{"m", "m"}, {"mm", "mm"}, {"ft", "ft"}, {"inch", "inch"}, {"nautical_mile", "nautical_mile"}},
      {{"C", "degC"}, {"F", "degF"}, {"K", "K"}, {"degR", "degR"}},
      {{"psi", "psi"}, {"Pa", "Pa"}, {"bar", "bar"}, {"dyne cm^-2", "dyne cm^-2"}},
      {{"rev min^-1", "turn min^-1"}, {"deg/s", "degree/s"}, {"s^-1", "s^-1"}},
      {{"BTU hour^-1 ft^-1 F^-1", "BTU hour^-1 ft^-1 degF^-1"}, {"W m^-1 K^-1", "W m^-1 K^-1"}},
      {{"%", "%"}, {"dimensionless", "1"}, {"ppm", "ppm"}},
      {{"lbm ft^2 s^-2", "lb ft^2 s^-2"}, {"J", "J"}, {"erg", "erg"}, {"kgf m", "kgf m"}, {"therm", "therm"}},
  };
  for (const auto& group : groups) {
    for (const auto& [from, theirFrom] : group) {
      if (&group != &groups[1]) {  // no temperatures: what these are in base units, with fifteen digits
        const double defined = std::strtod(askProgram(std::string("37.5 ") + theirFrom, "").c_str(), nullptr);
        EXPECT_NEAR(convert(37.5, from, UnitDimensions(from).toUnits()), defined, 1e-14 * defined) << from;
      }
      for (const auto& [to, theirTo] : group) {
        const double theirs = convertByProgram(std::string("-4e3 ") + theirFrom, theirTo);
        EXPECT_NEAR(convert(-4e3, from, to), theirs, 1e-5 * std::abs(theirs)) << from << " to " << to;
      }
    }
  }
  for (const char* refused : {"blob", "m^s", "m s^", "parsec per"}) {
    EXPECT_FALSE(UnitsConverter::isValid(refused)) << refused;
    EXPECT_NE(askProgram(refused, "m").find("Don't recognize"), std::string::npos) << refused;
  }
}

}  // namespace
}  // namespace orv
