// Sessions replayed command by command.
#include "boxes.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <utility>

namespace {

using Arguments = std::vector<std::string>;

Outcome runArguments(Arguments arguments, const std::string& input = {})
{
  arguments.insert(arguments.end(), {"--library", boxes(), "--library", fileTypes()});
  return ksl(arguments, input);
}

std::string newReplayFile(const std::string& name)
{
  const std::string path = makeFile(name, {});
  std::filesystem::remove(path);
  return path;
}

const std::string day =
    "BOX: a\nSize = 2\nEND\nBOX: a\nSize none\nEND\nBOX: a\nSize = 3\nEND\n.undo\nBX: b\nEND\nNOTE: "
    "caf\xC3\xA9\n"
    "Text = \"\xE2\x82\xAC\"\nEND\n> delet a\nBOX: c\nEND\n.undo\nBOX: d\n\n Size = 5\nEND\n";

// Three typos and two undos: the state of that day, and its reports once more, each with its place.
TEST(HostReplay, ADayInTheShell)
{
  const std::string session = newReplayFile("day.kses");
  const Outcome typed = runArguments({"--record", session}, day + ".state\n");
  const std::string state = typed.out.substr(typed.out.find("BOX:a"));
  const Outcome replayed = runArguments({"replay", session, "--state"});
  EXPECT_EQ(replayed.out, state.substr(0, state.find("FILE PROCESSING")));
  EXPECT_EQ(replayed.status, 1);
  for (const int line : {9, 19, 26}) {
    const std::string note =
        "\n" + session + ":" + std::to_string(line) + ": this command failed, the replay goes on\n";
    EXPECT_NE(replayed.err.find(note), std::string::npos) << note << replayed.err;
  }
  EXPECT_EQ(runArguments({"replay", "--as-one", session, "--state"}).out, "")
      << "the first failure takes all back";
}

TEST(HostReplay, WhatIsNotWholeIsRefused)
{
  const std::string session = newReplayFile("cut.kses");
  ASSERT_EQ(
      runArguments({"run", "--record", session, "-e", "BOX: p12\nEND", "-e", "> delete /BOX:p12"}).status, 0);
  const std::string whole = readFile(session);
  const std::string cut = makeFile("cut.kses", whole.substr(0, whole.find("2\n", whole.find("> delete"))));
  EXPECT_EQ(
      runArguments({"replay", cut, "--state"}),
      (Outcome{1, "", "ksl: error[4]: Session file '" + cut + "' is incomplete: line 8 has no end.\n"}));
  EXPECT_EQ(runArguments({"replay", cut, "--keep-whole", "--state"}),
            (Outcome{0, "BOX:p12\n  Size = 1\nEND\n", ""}));
}

TEST(HostReplay, WritesOnlyWhatIsAskedForNow)
{
  const std::string state = newReplayFile("newer.qst");
  const std::string session = newReplayFile("saves.kses");
  ASSERT_EQ(runArguments({"run", "--record", session, "--save", state, "-e", "BOX: a\nEND"}).status, 0);
  const std::string saved = readFile(state);
  makeFile("newer.qst", "newer");
  for (const Arguments& way : {Arguments{"replay", "--format", "short", session},
                               Arguments{"replay", "--format", "short", session, "--as-one"}}) {
    const Outcome outcome = runArguments(way);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, session + ":8:1: warning[8]: A recorded '> savestate mode=overwrite, filename="
                               + state + "' was passed over. --write-files runs it.\n");
    EXPECT_EQ(readFile(state), "newer");
  }
  EXPECT_EQ(runArguments({"replay", session, "--write-files"}), (Outcome{0, "", ""}));
  EXPECT_EQ(readFile(state).substr(60), saved.substr(60));
  EXPECT_EQ(runArguments({"run", "--record", newReplayFile("one"), "--save", newReplayFile("one")}).status,
            2);
  const Outcome onto = runArguments(
      {"run", "--record", newReplayFile("j.kses"), "-e", "> savestate filename=" + newReplayFile("j.kses")});
  EXPECT_EQ(onto.status, 1);
  EXPECT_NE(onto.err.find("error[4]: File '"), std::string::npos) << onto.err;
}

// A session that moved with the files that it names.
TEST(HostReplay, FilesAreFoundBesideTheSession)
{
  makeFile("moved/a.qst", "BOX: a\n  Size = 4\nEND\n");
  const std::string session =
      makeFile("moved/s.kses", "> readstate mode=append, filename=a.qst\n\n> undo\n\n> redo\n");
  const Outcome outcome = runArguments({"replay", session, "--state=a"});
  EXPECT_EQ(outcome.out, "BOX:a\n  Size = 4\nEND\n") << outcome.err;
  EXPECT_EQ(outcome.status, 0);
}

// A picture and a table: a good command, one that fails after it computed them anew, an undo.
TEST(HostOutput, FilesAreThoseOfTheLastGoodState)
{
  const std::string folder = std::filesystem::path(makeFile("out/mark", {})).parent_path();
  const std::string picture = folder + "/a.svg";
  const std::string table = folder + "/a.csv";
  const std::string tunnel = "DATA READER:\nCurrent Results File = x\nEND\nDOMAIN: Wind Tunnel\nEND\n";
  const std::string first = tunnel + "PROBE: P\nOutput File = " + table
                            + "\nPoint = 2 [m], 0 [m], 0 [m]\nEND\nSHOT: S\nOutput File = " + picture
                            + "\nEND";
  const std::string second = "PROBE: P\nPoint = 3 [m], 0 [m], 0 [m]\nEND\nSHOT: S\nBackground = red\nEND";
  const Outcome good = ksl({"run", "--update-mode", "at-end", "-e", first});
  EXPECT_EQ(good, (Outcome{0, "", good.err}));
  EXPECT_NE(good.err.find("wrote " + picture), std::string::npos) << good.err;
  EXPECT_NE(good.err.find("wrote " + table), std::string::npos) << good.err;
  const auto files = [&] { return readFile(picture) + readFile(table); };
  const std::string before = files();
  ASSERT_EQ(ksl({"run", "--update-mode", "at-end", "-e", first, "-e", second}).status, 0);
  const std::string changed = files();
  ASSERT_NE(changed, before);
  for (const std::string& failing :
       {second + "\n> nothing",
        second + "\nPROBE: Q\nOutput File = /none/x.csv\nPoint = 2 [m], 0 [m], 0 [m]\nEND"}) {
    EXPECT_EQ(ksl({"run", "--update-mode", "at-end", "-e", first, "-e", failing}).status, 1);
    EXPECT_EQ(files(), before) << failing;
  }
  ASSERT_EQ(ksl({"run", "--update-mode", "at-end", "-e", first, "-e", second, "-e", "> undo"}).status, 0);
  EXPECT_EQ(files(), before);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator()),
            3);
}

// What is closed is not taken by the next file that is opened.
TEST(HostStreams, ClosedOnesAreNobodysFiles)
{
  const std::string session = newReplayFile("closed.kses");
  const std::string command = "'" + std::string(std::getenv("KSL_BIN")) + "' run --library '" + boxes()
                              + "' --library '" + fileTypes() + "' --record '" + session
                              + "' -e 'BOX: a\nEND' -e 'BX: b\nEND' --state";
  ASSERT_NE(std::system((command + " 2>&-").c_str()), -1);
  const std::string expected = readFile(session).substr(100);
  std::filesystem::remove(session);
  ASSERT_NE(std::system((command + " <&- >&- 2>&-").c_str()), -1);
  EXPECT_EQ(readFile(session).substr(100, 40), expected.substr(0, 40));
  EXPECT_EQ(readFile(session).find("error"), std::string::npos);
}

TEST(HostStreams, WhatNeverEndsIsRefusedAndWhatIsLongIsCut)
{
  const Outcome folder = ksl({"run", "/"});
  EXPECT_EQ(folder.err, "ksl: error[4]: Cannot read file '/': Is a directory.\n");
  const std::string big = makeFile("big.ksl", "");
  std::filesystem::resize_file(big, std::uintmax_t{1} << 32);
  EXPECT_EQ(ksl({"run", big}).err,
            "ksl: error[4]: Cannot read file '" + big + "': It has more than 1024 MB.\n");
  std::filesystem::remove(big);
  const std::string text = "\x1b[31m\xC2\x9B" + std::string(1000000, 'x') + "\xE2\x82\xAC";
  const Outcome outcome = runArguments({"run", "-", "-e", "\xEF\xBB\xBF"}, text);
  EXPECT_TRUE(
      outcome.err.starts_with("<stdin>:1:1: error[4]: Syntax error in KSL line: '\\x1b[31m\\xc2\\x9bxxx"))
      << outcome.err.substr(0, 200);
  EXPECT_NE(outcome.err.find("xxx [... 999"), std::string::npos);
  EXPECT_LT(outcome.err.size(), 2000U);
}

// A file with a byte-order mark, of Windows, and one that a head says is escaped.
TEST(HostStreams, FilesAreReadAsTheirHeadsSay)
{
  const std::string library = makeFile("marked.ksl", "\xEF\xBB\xBF" + readFile(boxes()));
  const std::string state = makeFile("escaped.qst",
                                     "# State file created: now\n# x, text beyond ASCII as {U+HHHH}\n\n"
                                     "NOTE: n\nText = {U+00\\\nE9}\nEND\n");
  EXPECT_EQ(ksl({"run", "--library", library, state, "--state"}),
            (Outcome{0, "NOTE:n\n  Text = \xC3\xA9\nEND\n", ""}));
}

}  // namespace
