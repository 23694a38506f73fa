// What the documents show is what happens.
#include "Process.h"

#include <algorithm>
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

// Each ksl block with a state block behind it, entered as one command, gives that state.
TEST_P(DocsTest, TextsGiveTheStatesShown)
{
  const std::vector<Block> blocks = blocksOf(GetParam());
  int compared = 0;
  for (std::size_t i = 0; i + 1 < blocks.size(); ++i) {
    if (blocks[i].language != "ksl" || blocks[i + 1].language != "state")
      continue;
    EXPECT_EQ(ksl({"run", "-e", blocks[i].text, "--state"}), (Outcome{0, blocks[i + 1].text, ""}))
        << GetParam() << ":" << blocks[i].line;
    ++compared;
  }
  EXPECT_GT(compared, 0);
}

INSTANTIATE_TEST_SUITE_P(Docs, DocsTest, testing::Values("README.md", "docs/language.md"));

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
  const std::string file = makeFile("recorded.ksl", "");
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

// The C++ and C in the documents are cut from programs that other tests build and run.
TEST(Docs, CodeIsTheExample)
{
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"README.md", "cpp", "minimal.cpp"},
      {"docs/embedding.md", "cpp", "minimal.cpp"},
      {"docs/embedding.md", "c", "query.c"},
      {"docs/session-file.md", "cpp", "replay.cpp"},
  };
  for (const auto& [document, language, program] : cases) {
    const std::string example = readFile(sourceDir() + "/examples/embed/" + program);
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
