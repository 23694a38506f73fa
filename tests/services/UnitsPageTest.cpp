// The tables of docs/units.md.
#include "platform/ORVUtilities.h"
#include "services/EngineUnitSystemHandler.h"

#include <array>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>

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

}  // namespace
}  // namespace orv
