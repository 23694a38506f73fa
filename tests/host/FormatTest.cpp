// "ksl fmt", and what the files of the project look like to it.
#include "Process.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

constexpr const char* untidy = "CUT:a\nAxis=Z\n\n\n\n# here\nEND\n\nCUT: b\nEND";
constexpr const char* tidy = "CUT: a\n  Axis = Z\n\n  # here\nEND\n\nCUT: b\nEND\n";

TEST(Format, WritesFilesOnceAndForAll)
{
  const std::string file = makeFile("untidy.ksl", untidy);
  const std::string other = makeFile("tidy.ksl", tidy);
  EXPECT_EQ(ksl({"fmt", "--check", file, other}), (Outcome{1, file + "\n", ""}));
  const std::string diff = "--- " + file + "\n+++ " + file + R"(
@@ -1,10 +1,8 @@
-CUT:a
-Axis=Z
+CUT: a
+  Axis = Z
 
-
-
-# here
+  # here
 END
 
 CUT: b
-END
\ No newline at end of file
+END
)";
  EXPECT_EQ(ksl({"fmt", "--diff", file, other}), (Outcome{0, diff, ""}));
  EXPECT_EQ(ksl({"fmt", "--diff", "--check", file, other}), (Outcome{1, diff, ""}));
  EXPECT_EQ(readFile(file), untidy);
  EXPECT_EQ(ksl({"fmt", file, other}), (Outcome{0, "", ""}));
  EXPECT_EQ(readFile(file), tidy);
  EXPECT_EQ(ksl({"fmt", "--check", file, other}), (Outcome{0, "", ""}));
  EXPECT_EQ(ksl({"fmt", "-"}, untidy), (Outcome{0, tidy, ""}));
}

TEST(Format, LeavesFaultyFilesAlone)
{
  const std::string text = "CUT: a\n  Axis = Z\nCUT: b\nEND\n";
  const std::string faulty = makeFile("faulty.ksl", text);
  const std::string good = makeFile("good.ksl", untidy);
  const std::string missing = good + "x";
  EXPECT_EQ(
      ksl({"fmt", faulty, missing, good}),
      (Outcome{1, "",
               faulty + ":1:1: error[4]: Not enough END statements in KSL.\n  1 | CUT: a\n    | ^~~~~~\n  "
                   + faulty + ":1:1: 'CUT: a' has no END.\n  " + faulty + ":3:1: The next one begins here.\n"
                   + "ksl: error[4]: Cannot read file '" + missing + "': No such file or directory.\n"}));
  EXPECT_EQ(readFile(faulty), text);
  EXPECT_EQ(readFile(good), tidy);
  EXPECT_EQ(ksl({"fmt"}).status, 2);
}

TEST(Format, FilesOfTheProjectAreInTheStyle)
{
  std::vector<std::string> arguments{"fmt", "--check"};
  for (const char* folder : {"/examples", "/share/ksl"})
    for (const auto& entry : std::filesystem::directory_iterator(sourceDir() + folder))
      if (entry.path().extension() == ".ksl")
        arguments.push_back(entry.path());
  EXPECT_EQ(ksl(arguments), (Outcome{0, "", ""}));
}

}  // namespace
