// What the host has copies, renames and deletions do.
#include "Process.h"

#include <gtest/gtest.h>
#include <utility>

namespace {

// The line of a probe's output file in the state of the object named, after the texts.
std::string outputFile(const std::string& object, const std::string& value, const std::string& action)
{
  const Outcome outcome = ksl({"run", "-e", "PROBE: a\nProtected = No\nOutput File = " + value + "\nEND",
                               "-e", action, "--state=/PROBE:" + object});
  EXPECT_EQ(outcome.err, "") << value;
  const std::size_t line = outcome.out.find("Output File = ");
  return outcome.out.substr(line + 14, outcome.out.find('\n', line) - line - 14);
}

TEST(HostCopy, ACopyWritesAFileOfItsOwn)
{
  const std::pair<const char*, const char*> files[] = {
      {"a.csv", "a-b_c_1.csv"},
      {"/x.y/a", "/x.y/a-b_c_1"},
      {"a.b.csv", "a.b-b_c_1.csv"},
      {"\"a # b.csv\"", "\"a # b-b_c_1.csv\""},
      {"\"x.y/a b\"", "\"x.y/a b-b_c_1\""},
  };
  for (const auto& [value, copied] : files)
    EXPECT_EQ(outputFile("b c:1", value, "> copy from=/PROBE:a, to=b c:1"), copied);
  EXPECT_EQ(outputFile("b", "a.csv", "> rename from=/PROBE:a, to=b"), "a.csv")
      << "the object has its file still";
}

TEST(HostCopy, WhatIsProtectedStaysAndItsCopyIsNot)
{
  const std::string text = "PALETTE: a\nProtected = On\nEND\n> copy from=/PALETTE:a, to=b\n> delete a, b";
  const std::string state =
      "PALETTE:a\n  Blending = Smooth\n  Option = Scheme\n  Protected = On\n  Scheme = Spectrum\nEND\n";
  const std::string warning = "warning[8] ProtectedObjects::filter: Object '/PALETTE:a' is protected.\n";
  EXPECT_EQ(ksl({"run", "-e", text, "--state"}), (Outcome{0, state, warning}));
  EXPECT_EQ(
      ksl({"run", "-e", text, "-e", "> rename from=/PALETTE:a, to=c", "--state"}),
      (Outcome{
          1, state,
          warning + warning
              + "error[4] RenameExecutor::invoke: Object '/PALETTE:a' cannot be renamed because it must not "
                "be deleted.\nrolled back 2 changes\n"}));
}

}  // namespace
