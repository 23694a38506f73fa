// What goes into files and comes out of them: sessions, states, results, copies; and what "ksl eval" takes from a
// state.
#include "boxes.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <utility>

namespace {

const Arguments work = {"-e", "BOX: a\n  Size = 2\nEND",
                        "-e", "NOTE: n\n  Text = \"a, # b\" \\\n and more\nEND",
                        "-e", "> delete a\nBOX: b\nEND"};
const std::string workState = "BOX:b\n  Size = 1\nEND\nNOTE:n\n  Text = \"a, # b\" and more\nEND\n";

// A path where there is nothing yet.
std::string newFile(const std::string& name)
{
  const std::string path = makeFile(name);
  std::filesystem::remove(path);
  return path;
}

Outcome runBoxes(Arguments arguments, const Arguments& more = {})
{
  arguments.insert(arguments.end(), {"--library", boxes(), "--library", fileTypes()});
  arguments.insert(arguments.end(), more.begin(), more.end());
  return ksl(arguments);
}

std::string blocksOnly(const std::string& stateFile)
{
  return stateFile.substr(stateFile.find("\n\n"));
}

TEST(Files, RecordSaveLoadReplay)
{
  const std::string session = newFile("work.kses");
  const std::string state = newFile("work.qst");
  const Outcome worked{0, workState, ""};
  EXPECT_EQ(runBoxes({"run", "--record", session, "--save", state, "--state=b,n"}, work), worked);
  EXPECT_EQ(runBoxes({"run", "--load", state, "--state=b,n"}), worked);
  EXPECT_EQ(runBoxes({"replay", session, "--state=b,n"}), worked);
  // A recording holds what was loaded, not what it was; it ends as it should, also when the work does not.
  const std::string second = newFile("second.kses");
  EXPECT_EQ(runBoxes({"run", "--record", second, "--load", state, "--save", state, "-e",
                      "NOTE: n\n  Text = new\nEND", "-e", "WRONG: b\nEND"})
                .status,
            1);
  const std::string recorded = readFile(second);
  EXPECT_NE(recorded.find("# Session file stopped: "), std::string::npos) << recorded;
  EXPECT_NE(recorded.find("\nWRONG: b\nEND\n"), std::string::npos) << recorded;
  EXPECT_EQ(runBoxes({"run", "--load", state, "--state=b,n"}),
            (Outcome{0, "BOX:b\n  Size = 1\nEND\nNOTE:n\n  Text = new\nEND\n", ""}));
}

// Nothing is entered when what was asked for cannot be had.
TEST(Files, NothingIsEnteredWithoutRecordingOrState)
{
  const std::string there = makeFile("there.kses", "kept\n");
  EXPECT_EQ(
      runBoxes({"run", "--record", there, "--state"}, work),
      (Outcome{1, "", "error[4] WriteSessionExecutor::invoke: Overwrite not allowed: " + there + "\n"}));
  const Outcome unread = runBoxes({"run", "--load", newFile("no.qst"), "--save", there, "--state"}, work);
  EXPECT_EQ(std::pair(unread.status, unread.out), std::pair(1, std::string()));
  EXPECT_EQ(readFile(there), "kept\n");
  EXPECT_EQ(runBoxes({"replay", newFile("missing.kses"), "--state"}).status, 1);
}

// Examples saved; that loaded in a new process and saved; that loaded in a third and saved. Each paints the same
// picture, and no other.
TEST(Files, StatesOutliveProcesses)
{
  const std::string examples = sourceDir() + "/examples/";
  const std::string reader = "DATA READER:\nCurrent Results File = " + examples + "cylinder.res\nEND\n";
  EXPECT_EQ(ksl({"run", examples + "01-cylinder-study.ksl", examples + "02-palettes-and-lamps.ksl", "-e",
                 reader + "> savestate filename=1.qst"}),
            (Outcome{0, "", ""}));
  const std::string folder = workFolder();
  const std::string picture = readFile(folder + "cylinder.svg");
  for (const char* step :
       {"> readstate mode=overwrite, load=true, filename=1.qst\n> savestate filename=2.qst",
        "> readstate mode=overwrite, load=true, filename=2.qst\n> savestate filename=3.qst"}) {
    std::filesystem::remove(folder + "cylinder.svg");
    EXPECT_EQ(ksl({"run", "-e", step}), (Outcome{0, "", ""}));
    EXPECT_EQ(readFile(folder + "cylinder.svg"), picture);
    EXPECT_FALSE(std::filesystem::exists(folder + "shot.svg"));
  }
  const std::string first = blocksOnly(readFile(folder + "1.qst"));
  const std::string second = blocksOnly(readFile(folder + "2.qst"));
  EXPECT_NE(first.find("BOUNDARY:Cylinder\n    Boundary Type = Wall"), std::string::npos);
  EXPECT_EQ(second, blocksOnly(readFile(folder + "3.qst")));
  const std::string own = "FILE PROCESSING:\n  Path Stack = .\n  Processing Mode = None\nEND\n";
  const std::size_t place = second.find(own);
  ASSERT_NE(place, std::string::npos);
  EXPECT_EQ(second.substr(0, place) + second.substr(place + own.size()), first);
}

TEST(Files, ResultsAreMadeByTheReader)
{
  const auto load = [](const std::string& file) {
    return ksl({"run", "-e", "DATA READER:\nCurrent Results File = " + file + "\nEND\n> load",
                "--state=/DOMAIN:Wind Tunnel"});
  };
  const Outcome outcome = load(sourceDir() + "/examples/cylinder.res");
  EXPECT_EQ(outcome.err, "");
  EXPECT_TRUE(outcome.out.starts_with("DOMAIN:Wind Tunnel\n  Fluid = Air\n")) << outcome.out;
  EXPECT_NE(outcome.out.find("  BOUNDARY:Inflow\n"), std::string::npos) << outcome.out;
  EXPECT_NE(load("").err.find("There are no results to load: DATA READER names no file.\n"),
            std::string::npos);
  for (const std::string line : {"x = 1", "> delete /CUT:a", "BOUNDARY: b", "&replace DOMAIN: d", "CUT: c"}) {
    makeFile("work/odd.res", "DOMAIN: d\nEND\n" + line + "\nEND\n");
    const std::string err = load("odd.res").err;
    EXPECT_EQ(err.substr(0, err.find('\n')), "error[4] LoadExecutor::invoke: Results file 'odd.res' holds '"
                                                 + line + "', which is no part of a domain.");
  }
}

TEST(Files, FilesAndUnsavedWorkAreWatched)
{
  const std::string file = makeFile("work/w.qst", "old");
  std::filesystem::create_symlink("w.qst", workFolder() + "link.qst");
  const Outcome outcome = ksl(
      {"run", "--trace", "files", "-e", "> savestate filename=w.qst", "-e", "CUT: a\nEND", "-e",
       "> savestate filename=link.qst, object=/CUT:a", "-e", "> savestate filename=link.qst", "-e", "> undo",
       "-e", "> redo\n> savestate filename=w.qst", "-e", "> notify op=filechange, filename=w.qst, type=qst"});
  EXPECT_EQ(outcome.err,
            "read or written: w.qst\n"
            "unsaved work\n"
            "read or written: link.qst\nchanged by others: w.qst\nunsaved work\n"
            "read or written: link.qst\nchanged by others: w.qst\n"
            "unsaved work\n"
            "read or written: w.qst\nchanged by others: link.qst\n"
            "changed by others: w.qst\n");
}

TEST(Files, ACopyWritesAFileOfItsOwn)
{
  const auto outputFile = [](const std::string& value, const std::string& action) {
    const Outcome outcome = ksl({"run", "-e", "PROBE: a\nProtected = No\nOutput File = " + value + "\nEND",
                                 "-e", action, "--state=/PROBE:b c:1"});
    const std::size_t line = outcome.out.find("Output File = ");
    return outcome.err + outcome.out.substr(line + 14, outcome.out.find('\n', line) - line - 14);
  };
  const std::pair<const char*, const char*> files[] = {
      {"a.csv", "a-b_c_1.csv"},
      {"/x.y/a", "/x.y/a-b_c_1"},
      {"a.b.csv", "a.b-b_c_1.csv"},
      {"\"a # b.csv\"", "\"a # b-b_c_1.csv\""},
      {"\"x.y/a b\"", "\"x.y/a b-b_c_1\""},
  };
  for (const auto& [value, copied] : files)
    EXPECT_EQ(outputFile(value, "> copy from=/PROBE:a, to=b c:1"), copied);
  EXPECT_EQ(outputFile("a.csv", "> rename from=/PROBE:a, to=b c:1"), "a.csv")
      << "the object has its file still";
}

TEST(Files, WhatIsProtectedStaysAndItsCopyIsNot)
{
  const std::string text = "PALETTE: a\nProtected = On\nEND\n> copy from=/PALETTE:a, to=b\n> delete a, b";
  EXPECT_EQ(
      ksl({"run", "-e", text, "--state"}),
      (Outcome{
          0,
          "PALETTE:a\n  Blending = Smooth\n  Option = Scheme\n  Protected = On\n  Scheme = Spectrum\nEND\n",
          "warning[8] ProtectedObjects::filter: Object '/PALETTE:a' is protected.\n"}));
}

TEST(Eval, ComputesOneExpression)
{
  const std::string state = makeFile("heads.qst", "EXPRESSIONS:\n  Head = 2 [m]\n  Total = 3 * Head\nEND\n");
  const std::pair<Arguments, Outcome> rows[] = {
      {{"2 [mm] + 1 [m]"}, {0, "1.002 [m]\n", ""}},
      {{"2 [mm] + 1 [m]", "--in", "cm"}, {0, "100.2 [cm]\n", ""}},
      {{"--in", "degree", "--", "-pi"}, {0, "-180 [degree]\n", ""}},
      {{"Total + Head", "--load", state}, {0, "8 [m]\n", ""}},
      {{"30 [C] - 20 [C]", "--in", "F"}, {0, "18 [F]\n", ""}},
      {{"10 [K]", "--in", "F", "--difference"}, {0, "18 [F]\n", ""}},
      {{"60 [rpm]", "--in", "Hz"},
       {0, "6.283185307179586 [Hz]\n",
        "warning[8] UnitsConverter::convertUnits: An angle counts as a number, in radians: 1 [rpm] is "
        "0.10471975511965977 [Hz]. A whole turn is 'rev'.\n"}},
      {{"1 / 0"},
       {1, "",
        "error[4] ExpressionEvaluator::evalSingleValue: Cannot evaluate '1 / 0' at column 3: division by "
        "zero.\n"}},
      {{"1 [m]", "--in", "s"},
       {1, "", "error[4] UnitsConverter::convertUnits: Cannot convert units 'm' to 's'.\n"}},
      // Without its state there is no value, and one error is enough.
      {{"Head", "--load", "none.qst"},
       {1, "",
        "error[4] ORVStream::open: Cannot open file 'none.qst': No such file or directory.\nrolled back 3 "
        "changes\n"}},
  };
  for (const auto& [arguments, expected] : rows) {
    Arguments all{"eval"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    EXPECT_EQ(ksl(all), expected);
  }
}

// A recorded session, a saved state and a copy say the same as what was entered; evaluators are not saved, and the
// choice of units is recorded once. Any name may be set, also where parameters are checked beforehand.
TEST(Files, ExpressionsTravel)
{
  const std::string names = "EXPRESSIONS:\n  Fast = 2 * Limit\n  Limit = 10 [m s^-1]\nEND\n";
  const std::string evaluator = "EXPRESSION EVALUATOR:e\n  Evaluated Expression = Fast\nEND\n";
  const std::string wall =
      "DOMAIN:d\n  BOUNDARY:b\n    Boundary Type = Inlet\n    Inlet Speed = Fast\n  END\nEND\n";
  const std::string shown = "--state=/EXPRESSIONS,/EXPRESSION EVALUATOR:e,/DOMAIN:d";
  const std::string session = newFile("travel.kses");
  const std::string state = newFile("travel.qst");
  const Outcome entered = ksl({"run", "--validate", "--record", session, "-e", names + evaluator + wall, "-e",
                               "> preferences Unit System=CGS", "--save", state, shown});
  EXPECT_EQ(entered.err, "");
  EXPECT_TRUE(entered.out.starts_with(names + evaluator)) << entered.out;
  const std::string saved = readFile(state);
  EXPECT_NE(saved.find(names), std::string::npos) << saved;
  EXPECT_EQ(saved.find("EVALUATOR"), std::string::npos) << saved;
  EXPECT_EQ(readFile(session).find("UNITS"), std::string::npos) << "the action alone";
  EXPECT_EQ(ksl({"replay", session, shown}), entered);
  for (const std::string& file : {"> readsession filename=" + session, "> readstate filename=" + state}) {
    const Outcome outcome =
        ksl({"run", "-e", file, "-e", evaluator, "-e", "> copy from=/EXPRESSION EVALUATOR:e, to=f", "-e",
             "EXPRESSIONS:\n  Limit = 3 [m s^-1]\nEND\n", "-e", "> getstate /EXPRESSION EVALUATOR:f"});
    EXPECT_NE(outcome.out.find("Result = 600\n  Result Units = cm s^-1\n"), std::string::npos)
        << outcome.err << outcome.out;
  }
}

}  // namespace
