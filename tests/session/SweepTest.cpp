// One model over many values.
#include "session/Sweep.h"

#include "platform/ORVUtilities.h"
#include "tests/support/TempFolder.h"
#include "tests/support/thrown.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <regex>

namespace orv {
namespace {

TEST(Sweep, ValuesAreReadFromText)
{
  const std::pair<const char*, const char*> rows[] = {
      {"/CUT:a.Offset=0,10,20 [cm]", "/CUT:a|Offset|0 [cm]|10 [cm]|20 [cm]"},
      {" /CUT:1.5 m . Offset = 1 [m], 20 [cm]", "/CUT:1.5 m|Offset|1 [m]|20 [cm]"},
      {"a.Axis=X", "a|Axis|X"},
      {"a.Point=(1, 2), \"b, c\"", "a|Point|(1, 2)|\"b, c\""},
      {"a.Offset=-1..1/3 [m]", "a|Offset|-1 [m]|0 [m]|1 [m]"},
      {"a.Offset=0..1/1", "a|Offset|0..1/1"},
      {"a.File=../b/c", "a|File|../b/c"},
  };
  for (const auto& [text, expected] : rows) {
    const SweepSetting setting = SweepSetting::parse(text);
    EXPECT_EQ(setting.object + "|" + setting.parameter + "|"
                  + StringUtilities::vectorToString(setting.values, std::string_view("|")),
              expected);
  }
  for (const char* text : {"", "a.b", "a=1", ".b=1", "a.=1", "a.b="})
    EXPECT_EQ(thrown<data::invalid>([&] { SweepSetting::parse(text); }).getFunction(), "parse") << text;
}

// The first value is the model's own, so that nothing is computed for it anew.
TEST(Sweep, RowsAreTheSameOnAnyNumberOfThreads)
{
  const TempFolder folder;
  SweepOptions options;
  options.model =
      "CUT: a\nEND\nPROBE: p\n  Option = Line\n  Point 1 = 1 [m], 0 [m], 0 [m]\n  Point 2 = 2 [m], 0 [m], 0 "
      "[m]\n"
      "  Samples = 3\n  Variable List = Speed\n  Output File = p.csv\nEND\n"
      "DOMAIN: Wind Tunnel\n  BOUNDARY: Inflow\n    Boundary Type = Inlet\n    Inlet Speed = 1 [m s^-1]\n  "
      "END\n"
      "  BOUNDARY: Outflow\n    Boundary Type = Outlet\n  END\n  BOUNDARY: Cylinder\n  END\nEND\n"
      "DATA READER:\n  Current Results File = c.res\nEND\n";
  options.settings = {SweepSetting::parse("/DOMAIN:Wind Tunnel/BOUNDARY:Inflow.Inlet Speed=1,2,3 [m s^-1]"),
                      SweepSetting::parse("a.Axis=X,none,Z")};
  options.shown = {"a.Axis", "/PROBE:p.Results"};
  std::string tables[2];
  for (const std::size_t jobs : {1, 3}) {
    options.jobs = jobs;
    options.pictures = folder / std::to_string(jobs);
    const SweepTable table = sweep(options);
    ASSERT_EQ(table.rows.size(), 9U);
    std::string& text = tables[jobs / 2];
    for (const SweepTable::Row& row : table.rows) {
      EXPECT_EQ(row.errors.size(), row.values[1] == "none") << row.values[1];
      for (const std::string& file : row.files)
        text += file.substr(options.pictures.size()) + "\n" + folder.read(file.substr((folder / "").size()));
    }
    text += std::regex_replace(toCsv(table), std::regex(folder / std::to_string(jobs)), "");
    EXPECT_FALSE(std::filesystem::exists(options.pictures + "/.model"));
  }
  EXPECT_EQ(tables[0], tables[1]);
  EXPECT_NE(tables[0].find("\n3,Z,\"2.25, "), std::string::npos) << tables[0];
}

TEST(Sweep, TablesAreQuotedAndUnitsStandInHeads)
{
  SweepTable table;
  table.settings = {"a.x", "a.y"};
  table.rows = {{{"1 [m]", "1"}, {{"r", "say \"a, b\""}, {"n", "2 [Pa]"}}, {"f\\1", "f2"}, {}},
                {{"-2.50 [m]", "2 [m]"}, {{"r", "5"}}, {}, {ErrorMsg("C", "f", "no\nway", 4)}}};
  EXPECT_EQ(toCsv(table),
            "a.x [m],a.y,n [Pa],r,files,errors\n1,1,2,\"say \"\"a, b\"\"\",f\\1; f2,\n"
            "-2.5,2 [m],,5,,\"error[4] C::f: no\n  way\"\n");
  EXPECT_EQ(toJson(table),
            "[\n  {\"a.x [m]\": 1, \"a.y\": \"1\", \"n [Pa]\": 2, \"r\": \"say \\\"a, b\\\"\", "
            "\"files\": [\"f\\\\1\", \"f2\"], \"errors\": []},\n"
            "  {\"a.x [m]\": -2.5, \"a.y\": \"2 [m]\", \"n [Pa]\": null, \"r\": \"5\", "
            "\"files\": [], \"errors\": [\"error[4] C::f: no\\u000a  way\"]}\n]\n");
}

TEST(Sweep, FaultsAndStops)
{
  SweepOptions options;
  options.model = "CUT: a\nEND\n";
  options.settings = {SweepSetting::parse("a.Offset=0..1/1000 [m]")};
  options.stop = [] { return true; };
  EXPECT_THROW(sweep(options), Interrupt);
  options.stop = {};
  options.model = "NONE: a\nEND\n";
  EXPECT_EQ(thrown<data::error>([&] { sweep(options); }).getMessage(), "Could not find object: NONE");
  options.model = "CUT: b\nEND\n";
  EXPECT_EQ(thrown<data::notFound>([&] { sweep(options); }).getMessage(), "Object 'a' does not exist.");
  options.settings.clear();
  EXPECT_EQ(thrown<data::error>([&] { sweep(options); }).getMessage(), "There are no values.");
}

}  // namespace
}  // namespace orv
