// What goes into files and comes out of them: sessions, states, results, copies; and what "ksl eval" takes from a
// state.
#include "boxes.h"

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

TEST(Files, RecordSaveLoadReplay)
{
  const std::string session = newFile("work.kses");
  const std::string state = newFile("work.qst");
  const Outcome worked{0, workState, ""};
  EXPECT_EQ(runBoxes({"run", "--record", session, "--save", state, "--state=b,n"}, work), worked);
  EXPECT_EQ(runBoxes({"run", "--load", state, "--state=b,n"}), worked);
  EXPECT_EQ(runBoxes({"replay", session, "--write-files", "--state=b,n"}), worked);
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
  EXPECT_EQ(runBoxes({"run", "--format", "short", "--record", there, "--state"}, work),
            (Outcome{1, "", "--record:1:1: error[4]: Overwrite not allowed: " + there + "\n"}));
  const Outcome unread = runBoxes({"run", "--load", newFile("no.qst"), "--save", there, "--state"}, work);
  EXPECT_EQ(std::pair(unread.status, unread.out), std::pair(1, std::string()));
  EXPECT_EQ(readFile(there), "kept\n");
  EXPECT_EQ(runBoxes({"replay", newFile("missing.kses"), "--state"}).status, 1);
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
    EXPECT_EQ(err.substr(0, err.find('\n')),
              "-e:4:1: error[4]: Results file 'odd.res' holds '" + line + "', which is no part of a domain.");
  }
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
      {"\"a # b.csv\"", "\"a # b-b_c_1.csv\""},
  };
  for (const auto& [value, copied] : files)
    EXPECT_EQ(outputFile(value, "> copy from=/PROBE:a, to=b c:1"), copied);
}

TEST(Eval, ComputesOneExpression)
{
  const std::string state = makeFile("heads.qst", "EXPRESSIONS:\n  Head = 2 [m]\n  Total = 3 * Head\nEND\n");
  const std::pair<Arguments, Outcome> rows[] = {
      {{"2 [mm] + 1 [m]"}, {0, "1.002 [m]\n", ""}},
      {{"--in", "degree", "--", "-pi"}, {0, "-180 [degree]\n", ""}},
      {{"Total + Head", "--load", state}, {0, "8 [m]\n", ""}},
      {{"10 [K]", "--in", "F", "--difference"}, {0, "18 [F]\n", ""}},
      {{"60 [rpm]", "--in", "Hz"},
       {0, "6.283185307179586 [Hz]\n",
        "ksl: warning[8]: An angle counts as a number, in radians: 1 [rpm] is "
        "0.10471975511965977 [Hz]. A whole turn is 'rev'.\n"}},
      {{"1 / 0"},
       {1, "",
        "ksl: error[4]: Cannot evaluate '1 / 0' at column 3: division by "
        "zero.\n"}},
      // Without its state there is no value, and one error is enough.
      {{"Head", "--format", "short", "--load", "none.qst"},
       {1, "", "--load:1:1: error[4]: Cannot open file 'none.qst': No such file or directory.\n"}},
  };
  for (const auto& [arguments, expected] : rows) {
    Arguments all{"eval"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    EXPECT_EQ(ksl(all), expected);
  }
}

}  // namespace
