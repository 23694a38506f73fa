// The example of a replay with a strategy, built in and run with other standard streams.
#define main replayMain
#include "examples/embed/replay.cpp"  // NOLINT(bugprone-suspicious-include): a program, run as one
#undef main

#include "Process.h"

#include <gtest/gtest.h>
#include <sstream>

namespace {

TEST(Embed, ReplayBuildsWhatTheSessionDefinesAnew)
{
  std::string arguments[] = {
      "replay", sourceDir() + "/share/ksl",
      makeFile("anew.ksl",
               "PALETTE: Old\n  Blending = Smooth\nEND\n> undo\nPALETTE: Old\n  Scheme = \\\n"
               "    Heat\nEND\n> delete Gone\nPALETTE: New\nEND\n")};
  char* argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(), nullptr};
  std::istringstream in("PALETTE: Old\n  Blending = Stepped\n  Scheme = Grey\nEND\nPALETTE: Gone\nEND\n");
  std::ostringstream out;
  std::streambuf* const former[] = {std::cin.rdbuf(in.rdbuf()), std::cout.rdbuf(out.rdbuf())};
  const int status = replayMain(3, argv);
  std::cin.rdbuf(former[0]);
  std::cout.rdbuf(former[1]);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(out.str(),
            "skipped > undo\n> delete Gone\n"
            "PALETTE:Old\n  Blending = Smooth\n  Option = Scheme\n  Scheme = Heat\nEND\n"
            "PALETTE:New\n  Blending = Smooth\n  Option = Scheme\n  Scheme = Spectrum\nEND\n");
}

}  // namespace
