// States across processes, the results that go with them, and what the host tells of files.
#include "Process.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

std::string resultsFile()
{
  return sourceDir() + "/examples/cylinder.res";
}

std::string reader()
{
  return "DATA READER:\nCurrent Results File = " + resultsFile() + "\nEND\n> load\n";
}

std::string blocksOnly(const std::string& stateFile)
{
  return stateFile.substr(stateFile.find("\n\n"));
}

std::string without(std::string text, const std::string& part)
{
  const std::size_t place = text.find(part);
  return place == std::string::npos ? text : text.erase(place, part.size());
}

// Examples saved; that loaded in a new process and saved; that loaded in a third and saved. Each paints the same
// picture, and no other.
TEST(State, OutlivesProcesses)
{
  const std::string examples = sourceDir() + "/examples/";
  const std::string first = makeFile("work/first.qst", "");
  const std::string second = makeFile("work/second.qst", "");
  const std::string third = makeFile("work/third.qst", "");
  const std::string ownResults =
      "DATA READER:\nCurrent Results File = " + resultsFile() + "\nEND\n> savestate filename=first.qst";
  EXPECT_EQ(ksl({"run", examples + "01-cylinder-study.ksl", examples + "02-palettes-and-lamps.ksl", "-e",
                 ownResults})
                .status,
            0);
  const std::string folder = first.substr(0, first.rfind('/') + 1);
  const std::string picture = readFile(folder + "cylinder.svg");
  EXPECT_TRUE(picture.starts_with("<"));
  for (const char* step :
       {"> readstate mode=overwrite, load=true, filename=first.qst\n> savestate filename=second.qst",
        "> readstate mode=overwrite, load=true, filename=second.qst\n> savestate filename=third.qst"}) {
    std::filesystem::remove(folder + "cylinder.svg");
    EXPECT_EQ(ksl({"run", "-e", step}), (Outcome{0, "", "wrote cylinder.svg\n"}));
    EXPECT_EQ(readFile(folder + "cylinder.svg"), picture);
    EXPECT_FALSE(std::filesystem::exists(folder + "shot.svg"));
  }
  EXPECT_NE(readFile(first).find("BOUNDARY:Cylinder\n    Boundary Type = Wall"), std::string::npos);
  EXPECT_EQ(blocksOnly(readFile(second)), blocksOnly(readFile(third)));
  EXPECT_EQ(without(blocksOnly(readFile(second)),
                    "FILE PROCESSING:\n  Path Stack = .\n  Processing Mode = None\nEND\n"),
            blocksOnly(readFile(first)));
}

TEST(State, ResultsAreMadeByTheReader)
{
  const Outcome outcome = ksl({"run", "-e", reader(), "--state=/DOMAIN:Wind Tunnel"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_TRUE(outcome.out.starts_with("DOMAIN:Wind Tunnel\n  Fluid = Air\n")) << outcome.out;
  EXPECT_NE(outcome.out.find("  BOUNDARY:Inflow\n"), std::string::npos) << outcome.out;

  const struct {
    std::string text;
    std::string error;
  } bad[] = {
      {"> load", "error[4] LoadExecutor::invoke: There are no results to load: DATA READER names no file.\n"},
      {"DATA READER:\nCurrent Results File = none.res\nEND\n> load",
       "error[4] ORVStream::open: Cannot open file 'none.res': No such file or directory.\nrolled back 2 "
       "changes\n"},
  };
  for (const auto& row : bad)
    EXPECT_EQ(ksl({"run", "-e", row.text}), (Outcome{1, "", row.error}));
  const char* const lines[] = {"x = 1", "> delete /CUT:a", "BOUNDARY: b", "&replace DOMAIN: d", "CUT: c"};
  for (const std::string line : lines) {
    const std::string file = makeFile("work/odd.res", "DOMAIN: d\nEND\n" + line + "\nEND\n");
    EXPECT_EQ(ksl({"run", "-e", "DATA READER:\nCurrent Results File = odd.res\nEND\n> load"}),
              (Outcome{1, "",
                       "error[4] LoadExecutor::invoke: Results file 'odd.res' holds '" + line
                           + "', which is no part of a domain.\nrolled back 2 changes\n"}));
  }
}

TEST(State, FilesAndUnsavedWorkAreWatched)
{
  const std::string file = makeFile("work/w.qst", "old");
  std::filesystem::create_symlink("w.qst", file.substr(0, file.rfind('/')) + "/link.qst");
  const Outcome outcome =
      ksl({"run", "--trace", "files", "-e", "> savestate filename=w.qst", "-e", "CUT: a\nEND", "-e",
           "> savestate filename=link.qst, object=/CUT:a", "-e", "> savestate filename=link.qst", "-e",
           "> undo", "-e", "> redo\n> savestate filename=w.qst"});
  EXPECT_EQ(outcome.err,
            "read or written: w.qst\n"
            "unsaved work\n"
            "read or written: link.qst\nchanged by others: w.qst\nunsaved work\n"
            "read or written: link.qst\nchanged by others: w.qst\n"
            "unsaved work\n"
            "read or written: w.qst\nchanged by others: link.qst\n");
}

}  // namespace
