#include "platform/ORVUtilities.h"
#include "command/RenamingBackCompatibilityFunctor.h"
#include "tests/support/thrown.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace orv {
namespace {

// Two versions' worth of renamings.
RenamingBackCompatibilityFunctor makeTable()
{
  RenamingBackCompatibilityFunctor table;
  table.renameParameter("OLD CUT", "Dist", "SLICE", "Distance");
  table.renameParameter("SLICE", "Distance", "CUT", "Offset");
  table.renameValue("SLICE", "Distance", "near", "1 [mm]");
  table.renameValue("CUT", "Location", "/OLD CUT:main", "Main");
  table.renameValue("CUT", "Location", "/CUT:side", "Side");
  table.dropParameter("OLD CUT", "Speed");
  table.renameValue("CUT", "Option", "Flat", "Plane");
  table.renameType("PAINTER", "BRUSH");
  return table;
}

std::vector<std::string> rewritten(std::vector<std::string> lines)
{
  makeTable()(lines, true);
  return lines;
}

TEST(RenamingBackCompatibility, RewritesWhatTheTableNames)
{
  const std::vector<std::string> before = {
      "  &replace OLD CUT:  a  # OLD CUT: a",
      "    Dist   =  near   # near",
      "Speed = 2",
      "  PAINTER: \"Dist\"",
      "\tDist = near",
      "  END",
      "Option=Flat",
      "Offset =",
      "Location = /OLD CUT:main",
      "Location = /OLD CUT:side",
      "Locations = /OLD CUT:a b/PAINTER:c, x/PAINTER:d, \"/OLD CUT:e\", \"see /OLD CUT:e\"",
      "END",
      "Speed = /OLD CUT:f # /OLD CUT:f",
      "> delete /OLD CUT:a/SLICE:b, \"/PAINTER:x\", /OLD CUT, OLD CUT:a",
      "> update",
      "OLD CUT = OLD CUT",
  };
  EXPECT_EQ(rewritten(before), (std::vector<std::string>{
                                   "  &replace CUT:  a  # OLD CUT: a",
                                   "    Offset   =  1 [mm]   # near",
                                   "  BRUSH: \"Dist\"",
                                   "\tDist = near",
                                   "  END",
                                   "Option=Plane",
                                   "Offset =",
                                   "Location = Main",
                                   "Location = Side",
                                   "Locations = /CUT:a b/BRUSH:c, x/BRUSH:d, \"/CUT:e\", \"see /OLD CUT:e\"",
                                   "END",
                                   "Speed = /CUT:f # /OLD CUT:f",
                                   "> delete /CUT:a/CUT:b, \"/BRUSH:x\", /OLD CUT, OLD CUT:a",
                                   "> update",
                                   "OLD CUT = OLD CUT",
                               }));
}

RC_GTEST_PROP(RenamingBackCompatibility, TwiceIsOnceAndTextsOfTodayStand, ())
{
  const auto piece = rc::gen::element<std::string>(
      "OLD CUT", "SLICE", "CUT", "PAINTER", "BRUSH", ":", " = ", "Dist", "Distance", "Offset", "Speed",
      "near", "/", "\"", "#", ", ", "> ", "END", "&replace ", "Location", " ", "Main");
  const auto line = rc::gen::map(
      rc::gen::container<std::vector<std::string>>(piece),
      [](const std::vector<std::string>& pieces) { return StringUtilities::vectorToString(pieces, ""); });
  const auto lines = *rc::gen::container<std::vector<std::string>>(rc::gen::oneOf(
      line, rc::gen::element<std::string>("OLD CUT: a", "SLICE: a", "END", "Dist = near", "Distance = near",
                                          "Location = /OLD CUT:main", "Location = /OLD CUT:side")));
  const std::vector<std::string> once = rewritten(lines);
  RC_ASSERT(rewritten(once) == once);
}

TEST(RenamingBackCompatibility, RefusesTablesWithoutAnEnd)
{
  RenamingBackCompatibilityFunctor table = makeTable();
  const auto error = [](const char* function, const char* message) {
    return ErrorMsg("RenamingBackCompatibilityFunctor", function, message, 4);
  };
  EXPECT_EQ(thrown<data::invalid>([&] { table.renameType("CUT", "OLD CUT"); }),
            error("renameType", "Renaming 'CUT' to 'OLD CUT' leads back to 'CUT'."));
  EXPECT_EQ(thrown<data::invalid>([&] { table.renameParameter("OLD CUT", "Speed", "SLICE", "Pace"); }),
            error("renameParameter", "'Speed' is already renamed to ''."));
  EXPECT_EQ(thrown<data::invalid>([&] { table.renameParameter("SLICE", "a", "OLD CUT", "b"); }).getMessage(),
            "'SLICE' is already renamed to 'CUT'.");
  EXPECT_EQ(thrown<data::invalid>([&] { table.dropParameter("CUT", ""); }),
            error("dropParameter", "Input parameter p_oldName is empty."));
  table.renameType("PAINTER", "BRUSH");
  table.renameType("CUT", "CUT");
}

}  // namespace
}  // namespace orv
