// What the documents show is what happens.
#include "Process.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>
#include <tuple>

namespace {

struct Block {
  std::string language;
  int line;
  std::string text;
};

// The fenced blocks of a document, in order.
std::vector<Block> blocksOf(const std::string& document)
{
  std::istringstream in(readFile(sourceDir() + "/" + document));
  std::vector<Block> blocks;
  bool inside = false;
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    const bool fence = line.compare(0, 3, "```") == 0;
    if (fence && !inside)
      blocks.push_back({line.substr(3), number, {}});
    else if (inside && !fence)
      blocks.back().text += line + '\n';
    inside = inside != fence;
  }
  return blocks;
}

class DocsTest : public testing::TestWithParam<const char*> {};

bool showsOutcome(const Block& block)
{
  return block.language == "state" || block.language == "output" || block.language == "report";
}

// What the program must do after these commands, as a block shows it.
Outcome outcomeShown(const Block& block)
{
  if (block.language != "report")
    return {0, block.text, ""};
  return {block.text.find("error[") == std::string::npos ? 0 : 1, "", block.text};
}

// Each ksl block is a command. The block behind one, or behind several in a row, shows what comes of them: the state
// afterwards, what they print, or what they report.
TEST_P(DocsTest, TextsDoWhatIsShown)
{
  int compared = 0;
  std::vector<std::string> commands;
  for (const Block& block : blocksOf(GetParam())) {
    if (block.language == "ksl") {
      commands.insert(commands.end(), {"-e", block.text});
      continue;
    }
    std::vector<std::string> arguments{"run"};
    arguments.insert(arguments.end(), commands.begin(), commands.end());
    commands.clear();
    if (arguments.size() == 1 || !showsOutcome(block))
      continue;
    if (block.language == "state")
      arguments.push_back("--state");
    EXPECT_EQ(ksl(arguments), outcomeShown(block)) << GetParam() << ":" << block.line;
    ++compared;
  }
  EXPECT_GT(compared, 0);
}

INSTANTIATE_TEST_SUITE_P(Docs, DocsTest,
                         testing::Values("README.md", "docs/actions.md", "docs/language.md",
                                         "docs/units.md"));

// What a shell prints, on both streams, where the program is called ksl.
std::string transcript(const std::string& command)
{
  static const std::string program = makeFile("transcripts/ksl", "#!/bin/sh\nexec \"$KSL_BIN\" \"$@\"\n");
  const std::string folder = program.substr(0, program.rfind('/'));
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
  const std::string out = makeFile("standard/transcript");
  const std::string script =
      makeFile("standard/script", "cd " + folder + "\nPATH=.:$PATH\n" + command + "\n");
  static_cast<void>(std::system(("sh " + script + " > " + out + " 2>&1 < /dev/null").c_str()));
  return readFile(out);
}

// Blocks "ksl NAME" are files. Each line "$ COMMAND" of a block "console" is run, in order, where these are, and prints
// what stands below it.
TEST(Docs, TranscriptsAreWhatHappens)
{
  std::string shown;
  std::string printed;
  for (const Block& block : blocksOf("docs/ksl.md")) {
    if (block.language.starts_with("ksl "))
      makeFile("transcripts/" + block.language.substr(4), block.text);
    if (block.language != "console")
      continue;
    shown += block.text;
    std::istringstream lines(block.text);
    for (std::string line; std::getline(lines, line);)
      if (line.starts_with("$ "))
        printed.append(line).append("\n").append(transcript(line.substr(2)));
  }
  EXPECT_NE(shown, "");
  EXPECT_EQ(printed, shown);
}

// The commands shown are recorded as shown, and play back to the state shown.
TEST(Docs, SessionFileIsWrittenAndReadAsShown)
{
  std::vector<std::string> arguments{"run", "-e", ""};
  std::string session;
  std::string state;
  for (const Block& block : blocksOf("docs/session-file.md")) {
    if (block.language == "ksl")
      arguments.insert(arguments.end(), {"-e", block.text});
    else if (block.language == "session")
      session = block.text;
    else if (block.language == "state")
      state = block.text;
  }
  const std::string file = makeFile("recorded.ksl");
  arguments[2] = "> session start, mode=overwrite, filename=" + file;
  arguments.insert(arguments.end(), {"-e", "> session stop"});
  EXPECT_EQ(ksl(arguments), (Outcome{0, "", ""}));
  const std::regex time("ed: [-0-9]+ [:0-9]+");
  EXPECT_EQ(std::regex_replace(readFile(file), time, "ed:"), std::regex_replace(session, time, "ed:"));
  for (const std::string& each : {file, makeFile("shown.ksl", session)})
    EXPECT_EQ(
        ksl({"run", "-e", "> readsession filename=" + each, "-e", "> delete /FILE PROCESSING", "--state"}),
        (Outcome{0, state, ""}));
}

std::string blocksOnly(const std::string& stateFile)
{
  return stateFile.substr(std::min(stateFile.find("\n\n"), stateFile.size()));
}

// The state file that is shown is what its commands write, and what loading it and saving again gives.
TEST(Docs, StateFileIsReadBack)
{
  const std::vector<Block> blocks = blocksOf("docs/state-file.md");
  ASSERT_GE(blocks.size(), 2u);
  ASSERT_EQ(blocks[0].language + blocks[1].language, "kslqst");
  const std::string& shown = blocks[1].text;
  const std::string file = makeFile("work/weather.qst", "old");
  EXPECT_EQ(ksl({"run", "-e", blocks[0].text}), (Outcome{0, "", ""}));
  EXPECT_EQ(blocksOnly(readFile(file)), blocksOnly(shown));
  EXPECT_EQ(ksl({"run", "-e", "> readstate mode=append, filename=" + makeFile("work/shown.qst", shown), "-e",
                 "> delete /FILE PROCESSING\n> savestate filename=again.qst"}),
            (Outcome{0, "", ""}));
  const std::string folder = file.substr(0, file.rfind('/') + 1);
  EXPECT_EQ(blocksOnly(readFile(folder + "again.qst")), blocksOnly(shown));
}

// The C++ and C in the documents are cut from programs that other tests build and run.
TEST(Docs, CodeIsTheExample)
{
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"README.md", "cpp", "examples/embed/minimal.cpp"},
      {"docs/embedding.md", "cpp", "examples/embed/minimal.cpp tests/programs/staticHost.cpp"},
      {"docs/embedding.md", "c", "examples/embed/query.c examples/embed/session.c"},
      {"docs/session-file.md", "cpp", "examples/embed/replay.cpp"},
  };
  for (const auto& [document, language, program] : cases) {
    std::string example;
    std::istringstream programs(program);
    for (std::string name; programs >> name;)
      example += readFile(sourceDir() + "/" + name);
    int compared = 0;
    for (const Block& block : blocksOf(document)) {
      if (block.language != language)
        continue;
      EXPECT_NE(example.find(block.text), std::string::npos) << document << ":" << block.line;
      ++compared;
    }
    EXPECT_GT(compared, 0) << document << " " << language;
  }
}

}  // namespace
