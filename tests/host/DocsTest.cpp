// What the documents show is what happens.
#include "Process.h"

#include <gtest/gtest.h>
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

// Each with an error block behind it gives that error.
TEST(Docs, TextsGiveTheErrorsShown)
{
  const std::vector<Block> blocks = blocksOf("docs/units.md");
  int compared = 0;
  for (std::size_t i = 2; i < blocks.size(); ++i) {
    if (blocks[i].language != "error")
      continue;
    const Outcome outcome = ksl({"run", "-e", blocks[i - 1].text});
    EXPECT_EQ(outcome, (Outcome{1, "", blocks[i].text})) << blocks[i].line;
    ++compared;
  }
  EXPECT_GT(compared, 0);
}

INSTANTIATE_TEST_SUITE_P(Docs, DocsTest, testing::Values("README.md", "docs/language.md", "docs/units.md"));

// The C++ and C in the documents are cut from programs that other tests build and run.
TEST(Docs, CodeIsTheExample)
{
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"README.md", "cpp", "minimal.cpp"},
      {"docs/embedding.md", "cpp", "minimal.cpp"},
      {"docs/embedding.md", "c", "query.c"},
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
