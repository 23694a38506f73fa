// What others build: the example of embedding, built in and run with other standard streams, and the smallest
// calculate library as docs/plugins.md shows it.
#define main embeddedMain
#include "examples/embed/minimal.cpp"  // NOLINT(bugprone-suspicious-include): a program, run as one
#undef main

#include "Process.h"

#include <gtest/gtest.h>
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

// tests/package builds it as the document says, outside of these sources.
TEST(Plugin, TheSmallestIsWhatTheDocumentShows)
{
  const std::string sources = sourceDir() + "/plugins/smallest/";
  const std::string document = readFile(sourceDir() + "/docs/plugins.md");
  for (const char* file : {"smallest.cpp", "rings.ksl"})
    EXPECT_NE(document.find("\n" + readFile(sources + file) + "```"), std::string::npos) << file;
  EXPECT_EQ(
      ksl({"run", "--library", sources + "rings.ksl", "-e", "RING: a\n  Inner Radius = 0 [m]\nEND\n",
           "--state"}),
      (Outcome{
          0,
          "RING:a\n  Area = 12.566370614359172 [m^2]\n  Inner Radius = 0 [m]\n  Outer Radius = 2 [m]\nEND\n",
          ""}));
}

}  // namespace
