// What is told of a text is what entering it reports.
#include "session/TextChecker.h"

#include "database/ObjectFactory.h"
#include "rules/GenericKSLObject.h"
#include "services/ExpressionEvaluatorKSLObject.h"
#include "services/ExpressionsKSLObject.h"
#include "services/UnitsKSLObject.h"
#include "session/CalculationLog.h"
#include "tests/support/TestSystem.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <sstream>

namespace orv {
namespace {

std::string contents(const std::filesystem::path& file)
{
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

// All files of a folder of the project, in name order.
std::vector<std::string> filesIn(const char* folder)
{
  std::vector<std::filesystem::path> files;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::string(std::getenv("KSL_SOURCE_DIR")) + folder))
    if (entry.is_regular_file())
      files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  std::vector<std::string> texts;
  for (const auto& file : files)
    if (file.extension() == ".ksl" || file.extension().empty())
      texts.push_back(contents(file));
  return texts;
}

// The demo library, whose calculations are not done.
struct DemoClasses {
  DemoClasses()
  {
    GenericKSLObject::registerBaseType();
    UnitsKSLObject::registerBaseType();
    ExpressionsKSLObject::registerBaseType();
    ExpressionEvaluatorKSLObject::registerBaseType();
  }
};
struct DemoSystem : private DemoClasses, public TestSystem {
  DemoSystem() : TestSystem(rules())
  {
    KSLCoreAPI::instance()->setValidationEnabled(true);
    for (const char* word : {"load", "preferences"})
      registerAction(word, [](const auto&) {});
  }
  static std::string rules()
  {
    const std::string text = StringUtilities::vectorToString(filesIn("/share/ksl"), "\n");
    return StringUtilities::vectorToString(
        StringUtilities::removeContinuation(StringUtilities::stringToVector(text, '\n')), "\n");
  }
  CalculationLog calculations{false};
};

bool isError(const ErrorMsg& error)
{
  return error.getType() != errorType::warning;
}

std::string linesOf(const std::vector<ErrorMsg>& errors)
{
  std::string text;
  for (const ErrorMsg& error : errors)
    text += toText(error) + "\n";
  return text;
}

struct Verdict {
  std::string check;  // errors that are told
  std::string run;    // errors that are reported
};

Verdict verdictOn(const std::string& text)
{
  DemoSystem system;
  TextChecker checker({"update",       "undo",       "redo",      "forceupdate", "fu",
                       "delete",       "copy",       "rename",    "getstate",    "s",
                       "getrulesinfo", "debug",      "db",        "notify",      "session",
                       "readsession",  "rs",         "savestate", "readstate",   "setViewportView",
                       "load",         "preferences"});
  const SyntaxTree tree(text);
  checker.check(tree);
  std::vector<ErrorMsg> told;
  for (const CheckFinding& finding : checker.finish())
    told.push_back(finding.error);
  system.errors();
  if (!text.empty())
    system.run(text);
  std::vector<ErrorMsg> reported = system.errorList();
  std::erase_if(told, [](const ErrorMsg& error) { return !isError(error); });
  std::erase_if(reported, [](const ErrorMsg& error) { return !isError(error); });
  return {linesOf(told), linesOf(reported)};
}

// Slips of people: lines lost, doubled or moved, characters and words that are others.
std::string damaged(const std::string& text, std::mt19937& random)
{
  std::vector<std::string> lines = StringUtilities::stringToVector(text, '\n');
  const auto any = [&](std::size_t size) {
    return static_cast<std::size_t>(random() % std::max<std::size_t>(size, 1));
  };
  std::string& line = lines[any(lines.size())];
  switch (random() % 7) {
    case 0:
      lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(any(lines.size())));
      break;
    case 1:
      lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(any(lines.size())), lines[any(lines.size())]);
      break;
    case 2:
      std::swap(lines[any(lines.size())], lines[any(lines.size())]);
      break;
    case 3:
      line.insert(any(line.size()), 1, "xX1,:/ ="[random() % 8]);
      break;
    case 4:
      if (!line.empty())
        line.erase(any(line.size()), 1);
      break;
    case 5:
      line = line.substr(0, line.find('=') == std::string::npos ? line.size() : line.find('=')) + "= W";
      break;
    default:
      line = line.substr(0, any(line.size()));
  }
  return StringUtilities::vectorToString(lines, "\n");
}

std::vector<std::string> soundTexts()
{
  std::vector<std::string> texts = filesIn("/examples");
  texts[1] = texts[0] + texts[1];  // it goes on from the one before
  return texts;
}

TEST(TextChecker, SoundTextsHaveNoFindings)
{
  for (const std::string& text : soundTexts()) {
    const Verdict verdict = verdictOn(text);
    EXPECT_EQ(verdict.check + verdict.run, "") << text.substr(0, 200);
  }
}

TEST(TextChecker, TellsOfDamagedTextsWhatEnteringReports)
{
  const char* count = std::getenv("KSL_CHECK_CASES");
  std::mt19937 random(8);
  const std::vector<std::string> texts = soundTexts();
  for (int i = count ? std::atoi(count) : 150; i > 0; --i) {
    const std::string text = damaged(texts[random() % texts.size()], random);
    const Verdict verdict = verdictOn(text);
    EXPECT_EQ(verdict.check.empty(), verdict.run.empty()) << "-- check\n"
                                                          << verdict.check << "-- run\n"
                                                          << verdict.run << "-- text\n"
                                                          << text;
  }
}

std::string findingsOf(TextChecker& checker)
{
  std::string text;
  for (const CheckFinding& finding : checker.finish())
    text += std::to_string(finding.offset) + "+" + std::to_string(finding.size) + " " + toText(finding.error)
            + " " + StringUtilities::vectorToString(finding.valid, std::string_view(",")) + "\n";
  return text;
}

// A block becomes one of another type, or some bytes others of the text.
struct Edit {
  std::size_t offset = 0;
  std::size_t removed = 0;
  std::string inserted;

  Edit(const SyntaxTree& tree, std::mt19937& random)
  {
    const std::string& text = tree.text();
    const SyntaxTree::Node node = tree[random() % tree.size()];
    offset = node.offset;
    if (node.kind == SyntaxTree::Kind::header) {
      offset = text.find_first_not_of(' ', offset);
      removed = text.find(':', offset) - offset;
      const std::vector<std::string> types = ObjectFactory::instance()->getObjectTypes();
      inserted = types[random() % types.size()];
      return;
    }
    offset += random() % node.size;
    removed = std::min<std::size_t>(random() % 20, text.size() - offset);
    inserted = text.substr(random() % text.size(), random() % 30);
  }
};

TEST(TextChecker, RememberedStatementsChangeNoFinding)
{
  const DemoSystem system;
  std::mt19937 random(5);
  for (const std::string& text : soundTexts()) {
    CheckMemory memory;
    SyntaxTree tree(text);
    const auto expectSame = [&] {
      TextChecker again({}, memory);
      again.check(tree, 0);
      TextChecker afresh(std::vector<std::string>{});
      afresh.check(tree);
      EXPECT_EQ(findingsOf(again), findingsOf(afresh)) << tree.text();
    };
    for (int i = 0; i < 40; ++i) {
      const Edit edit(tree, random);
      const std::string out = tree.text().substr(edit.offset, edit.removed);
      tree.edit(edit.offset, edit.removed, edit.inserted);
      expectSame();
      if (random() % 4 != 0)  // else it stays
        tree.edit(edit.offset, edit.inserted.size(), out);
      expectSame();
    }
  }
}

}  // namespace
}  // namespace orv
