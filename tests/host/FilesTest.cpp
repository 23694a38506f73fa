// Files that options of the command line name: sessions and states, written and read back.
#include "boxes.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <utility>

namespace {

using Arguments = std::vector<std::string>;

const Arguments work = {"-e", "BOX: a\n  Size = 2\nEND",
                        "-e", "NOTE: n\n  Text = \"a, # b\" \\\n and more\nEND",
                        "-e", "> delete a\nBOX: b\nEND"};
const std::string workState = "BOX:b\n  Size = 1\nEND\nNOTE:n\n  Text = \"a, # b\" and more\nEND\n";

// A path in the folder of makeFile's files, where there is nothing yet.
std::string newFile(const std::string& name)
{
  const std::string path = makeFile(name, {});
  std::filesystem::remove(path);
  return path;
}

Outcome run(Arguments arguments, const Arguments& more = {})
{
  arguments.insert(arguments.end(), {"--library", boxes(), "--library", fileTypes()});
  arguments.insert(arguments.end(), more.begin(), more.end());
  return ksl(arguments);
}

TEST(HostFiles, RecordSaveLoadReplay)
{
  const std::string session = newFile("work.kses");
  const std::string state = newFile("work.qst");
  const Outcome worked{0, workState, ""};
  EXPECT_EQ(run({"run", "--record", session, "--save", state, "--state=b,n"}, work), worked);
  EXPECT_EQ(run({"run", "--load", state, "--state=b,n"}), worked);
  EXPECT_EQ(run({"replay", session, "--write-files", "--state=b,n"}), worked);
  // A recording holds what was loaded, not what it was.
  const std::string second = newFile("second.kses");
  EXPECT_EQ(run({"run", "--record", second, "--load", state, "-e", "NOTE: n\n  Text = new\nEND"}).status, 0);
  EXPECT_EQ(run({"replay", second, "--state=b,n"}),
            (Outcome{0, "BOX:b\n  Size = 1\nEND\nNOTE:n\n  Text = new\nEND\n", ""}));
}

// Nothing is entered when what was asked for cannot be had.
TEST(HostFiles, NothingIsEnteredWithoutRecordingOrState)
{
  const std::string there = makeFile("there.kses", "kept\n");
  EXPECT_EQ(
      run({"run", "--record", there, "--state"}, work),
      (Outcome{1, "", "error[4] WriteSessionExecutor::invoke: Overwrite not allowed: " + there + "\n"}));
  EXPECT_EQ(readFile(there), "kept\n");
  const Outcome unread = run({"run", "--load", newFile("missing.qst"), "--save", there, "--state"}, work);
  EXPECT_EQ(std::pair(unread.status, unread.out), std::pair(1, std::string()));
  EXPECT_EQ(readFile(there), "kept\n");
  EXPECT_EQ(run({"replay", newFile("missing.kses"), "--state"}).status, 1);
}

// A recording ends as it should, also when the work does not.
TEST(HostFiles, FailedWorkIsRecordedAndSaved)
{
  const std::string session = newFile("failed.kses");
  const std::string state = newFile("failed.qst");
  const Outcome failed =
      run({"run", "--record", session, "--save", state, "-e", "BOX: a\nEND", "-e", "WRONG: b\nEND"});
  EXPECT_EQ(failed.status, 1);
  EXPECT_NE(readFile(session).find("\nWRONG: b\nEND\n"), std::string::npos) << readFile(session);
  EXPECT_NE(readFile(session).find("# Session file stopped: "), std::string::npos);
  EXPECT_EQ(run({"run", "--load", state, "--state=a"}), (Outcome{0, "BOX:a\n  Size = 1\nEND\n", ""}));
}

// A name that an action line would read as another.
TEST(HostFiles, NamesThatCannotBeTold)
{
  const std::pair<Arguments, std::string> cases[] = {
      {{"run", "--record", "a b"}, "--record: a file name here must not hold blanks"},
      {{"run", "--save", "a,b"}, "--save: a file name here must not hold any of , # \\ \""},
      {{"run", "--load", "a  b"},
       "--load: a file name here must not hold white space but single blanks inside"},
      {{"replay", ""}, "FILE: a file name here must not be empty"},
      {{"replay"}, "FILE is required"},
  };
  for (const auto& [arguments, message] : cases) {
    const Outcome outcome = ksl(arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err.substr(0, outcome.err.find('\n')), message);
  }
}

}  // namespace
