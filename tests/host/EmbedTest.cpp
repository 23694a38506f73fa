// What others build: the example of embedding, built in and run with other standard streams, and calculate libraries of
// one's own as docs/plugins.md describes them.
#define main embeddedMain
#include "examples/embed/minimal.cpp"  // NOLINT(bugprone-suspicious-include): a program, run as one
#undef main

#include "Process.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>

namespace {

Outcome runEmbedded(std::string library, const std::string& input)
{
  std::istringstream in(input);
  std::ostringstream out;
  std::ostringstream err;
  std::streambuf* const former[] = {std::cin.rdbuf(in.rdbuf()), std::cout.rdbuf(out.rdbuf()),
                                    std::cerr.rdbuf(err.rdbuf())};
  std::string program = "minimal";
  char* arguments[] = {program.data(), library.data(), nullptr};
  const int status = embeddedMain(2, arguments);
  std::cin.rdbuf(former[0]);
  std::cout.rdbuf(former[1]);
  std::cerr.rdbuf(former[2]);
  return {status, out.str(), err.str()};
}

// Twice in one process, with a failing start between: each run must leave nothing behind.
TEST(Embed, MinimalProgramRunsAgainAndAgain)
{
  const std::string text = "PALETTE: Old\nEND\nPALETTE: New\n  Scheme = Heat\nEND\n> delete Old\n";
  const Outcome expected{0, "PALETTE:New\n  Blending = Smooth\n  Option = Scheme\n  Scheme = Heat\nEND\n",
                         ""};
  EXPECT_EQ(runEmbedded(sourceDir() + "/share/ksl", text), expected);
  EXPECT_EQ(
      runEmbedded(makeFile("faulty.ksl", "RULES:\nTHING: a\nEND\nEND\n"), text),
      (Outcome{
          1, "",
          "error[4] KSLRules::process: KSL type 'THING' is not one of PARAMETER, OBJECT or SINGLETON.\n"}));
  EXPECT_EQ(runEmbedded(sourceDir() + "/share/ksl", text), expected);
}

std::string replaced(const std::string& text, const std::string& from, const std::string& to)
{
  EXPECT_NE(text.find(from), std::string::npos) << from;
  return std::regex_replace(text, std::regex(from), to);
}

class Plugin : public testing::Test {
 protected:
  // Rings whose area a function of this library computes.
  Outcome runRings(const std::string& library, const std::string& function,
                   const std::string& environment = {}) const
  {
    const std::string rules =
        makeFile("rings.ksl", replaced(replaced(shipped, "Size, smallest,", library), "ringArea", function));
    return ksl({"run", "--library", rules, "-e", "RING: a\n  Inner Radius = 0 [m]\nEND\n", "--state"}, {},
               environment);
  }
  const std::string sources = sourceDir() + "/plugins/smallest/";
  const std::string shipped = readFile(sources + "rings.ksl");
  const std::string document = readFile(sourceDir() + "/docs/plugins.md");
  const Outcome ringState{
      0, "RING:a\n  Area = 12.566370614359172 [m^2]\n  Inner Radius = 0 [m]\n  Outer Radius = 2 [m]\nEND\n",
      ""};
};

TEST_F(Plugin, TheSmallestIsWhatTheDocumentShows)
{
  for (const char* file : {"smallest.cpp", "rings.ksl"})
    EXPECT_NE(document.find("\n" + readFile(sources + file) + "```"), std::string::npos) << file;
  EXPECT_EQ(runRings("Size, smallest,", "ringArea"), ringState);
}

// Built for another interface, or for none: nothing of it runs, not even what runs when a library is loaded.
TEST_F(Plugin, AnotherStampIsRefusedUnseen)
{
  const std::string folder = std::filesystem::path(makeFile("other/here")).parent_path();
  const std::string version = ksl({"--version"}).out.substr(4, 5);
  const std::pair<std::string, std::string> rows[] = {
      {"const char orvCalculateLibraryStamp[] = \"orv calculate library built for 1.1.0/0123456789ab\";",
       "libother.so was built for 1.1.0, this is " + version + ": build it again"},
      {"const char orvCalculateLibraryStamp[] = \"orv calculate library built for " + version
           + "/0123456789ab\";",
       "libother.so was built for " + version + "/0123456789ab, this is " + version + "/"},
      {"", "libother.so was built without a stamp (ORV_CALCULATE_LIBRARY), this is " + version
               + ": build it again"},
  };
  for (const auto& [stamp, message] : rows) {
    const std::string source = makeFile("other/other.c", "#include <stdio.h>\n" + stamp
                                                             + "\n__attribute__((constructor)) static void begin(void) "
                                                               "{ puts(\"called\"); }\n"
                                                               "void* ringArea(void) { puts(\"called\"); return 0; }\n");
    ASSERT_EQ(std::system(("cc -shared -fPIC -o " + folder + "/libother.so " + source).c_str()), 0);
    // Also where only the system looks for it.
    for (const std::string search : {"ORV_KSL_PLUGIN_PATH=", "LD_LIBRARY_PATH="}) {
      const Outcome outcome = runRings("Size, other,", "ringArea", search + folder);
      EXPECT_EQ(outcome.out, "") << search;
      EXPECT_TRUE(outcome.err.starts_with("-e:1:1: warning[8]: " + message)) << outcome.err;
      EXPECT_NE(outcome.err.find(
                    "Calculate function 'ringArea' in library 'libother.so' for object type 'RING' was not "
                    "found."),
                std::string::npos);
    }
  }
}

}  // namespace
