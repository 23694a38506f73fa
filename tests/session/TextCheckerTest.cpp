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

// The demo library, whose plug-in is not there.
struct DemoClasses {
  DemoClasses()
  {
    GenericKSLObject::registerBaseType();
    UnitsKSLObject::registerBaseType();
    ExpressionsKSLObject::registerBaseType();
    ExpressionEvaluatorKSLObject::registerBaseType();
  }
};
struct EvaluatorsOnly : public CalculationLog {
  bool mayCalculate(const SchedulerObject& scheduler) noexcept override
  {
    return dynamic_cast<const ExpressionEvaluatorKSLObject*>(scheduler.getKSLObject()) != nullptr;
  }
};
struct DemoSystem : private DemoClasses, public TestSystem {
  explicit DemoSystem(const std::string& more = "") : TestSystem(rules() + more)
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
  EvaluatorsOnly calculations;
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

Verdict verdictOn(const std::string& text, const std::string& moreRules = "")
{
  DemoSystem system(moreRules);
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
  // What its value is, only an evaluator's calculation knows.
  std::erase_if(reported, [](const ErrorMsg& error) {
    return !isError(error) || error.getClassName() == "ExpressionEvaluatorKSLObject";
  });
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
  const auto valueAt = [](const std::string& each) { return std::min(each.find('='), each.size()); };
  switch (random() % 8) {
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
      line = line.substr(0, valueAt(line)) + "= W";
      break;
    case 6: {
      const std::string& other = lines[any(lines.size())];
      line = line.substr(0, valueAt(line)) + other.substr(valueAt(other));
      break;
    }
    default:
      line = line.substr(0, any(line.size()));
  }
  return StringUtilities::vectorToString(lines, "\n");
}

std::vector<std::string> soundTexts()
{
  std::vector<std::string> texts = filesIn("/examples");
  texts[1] = texts[0] + texts[1];  // it goes on from the one before
  texts.emplace_back(
      "SHOT: Front\nEND\nSHOT: Back\n  Picture List = Front\nEND\nSHOT: Both\n  Picture List = Front, "
      "Back\nEND\n"
      "SHOT: Front\n  Caption List = Title\n  Picture List = All\nEND\nCUT: Kept\nEND\n"
      "CUT: Lost\nEND\n> copy from=/CUT:Kept, to=Copy\n> rename from=/CUT:Lost, to=Found\n"
      "> delete Found\n> copy from=/SHOT:Both, to=/SHOT:Third\n> delete Third, Both\n");
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
  for (int i = count ? std::atoi(count) : 200; i > 0; --i) {
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

// Each takes effect with the block that closes it, and not before.
TEST(TextChecker, TellsOfCircles)
{
  const std::string shots =
      "SHOT: a\nEND\nSHOT: b\n  Picture List = a\nEND\nSHOT: c\n  Picture List = b\nEND\n";
  const auto set = [](const std::string& shot, const std::string& list) {
    return "SHOT: " + shot + "\n  Picture List = " + list + "\nEND\n";
  };
  const auto named = [](const std::string& lines) { return "EXPRESSIONS:\n" + lines + "\nEND\n"; };
  for (const std::string& text :
       {shots + set("a", "c"), set("a", "a"), shots + set("a", "b") + set("b", "All"),
        named("a = b\nc = a\nb = c"), named("z = y\nx = 2 * x\ny = z"),
        named("q = 2 * p") + named("s = 1\np = 4\np = s + q"),
        named("p = q\nq = 1\nd = 2\nq = d + p\nd = q")}) {
    const Verdict verdict = verdictOn(text);
    EXPECT_EQ(verdict.check, verdict.run) << text;
    EXPECT_NE(verdict.check, "");
  }
  for (const std::string& text :
       {shots + set("b", "All") + set("a", "b"), set("a", "a\n  Picture List = All"),
        set("a", "Nobody\n  Picture List = All"), shots + "> delete b\n" + set("a", "c")})
    EXPECT_EQ(verdictOn(text).check + verdictOn(text).run, "") << text;
  const std::string formulas =
      "\nRULES:\nOBJECT: FIELD\nKSLObject Class = GenericKSLObject\nScheduler = Picture\n"
      "Optional Parameter List = Made\nEND\nPARAMETER: Made\nParameter Type = Formula\nLocal Type = Picture\n"
      "Remote Type = Picture\nEND\nEND\n";
  const auto fields = [&](const std::string& b) {
    return "FIELD: b\n  Made = " + b + "\nEND\nFIELD: a\n  Made = p + 2 * b.x - a\nEND\n";
  };
  for (const auto& [b, closes] : std::vector<std::pair<std::string, bool>>{
           {"mag('a') * b", true}, {"'b c'.y + a.z", true}, {"a.mean - a(1) + 'x/a' + '/FIELD:a'", false}}) {
    const Verdict verdict = verdictOn(fields(b), formulas);
    EXPECT_EQ(verdict.check, verdict.run) << b;
    EXPECT_EQ(verdict.check != "", closes) << b;
  }
}

// A value that is computed has users which follow all calculations of its object; what it is, nobody knows yet.
TEST(TextChecker, KnowsWhatVariablesAreComputedFrom)
{
  const std::string rules =
      "\nRULES:\nOBJECT: GAUGE\nKSLObject Class = GenericKSLObject\nCategory = deletable, variable\n"
      "Scheduler = Picture\nOptional Parameter List = On\nInternal Parameter List = Value\n"
      "PARAMETER: Value\nDefault =\nLocal Type =\nEND\nEND\n"
      "PARAMETER: On\nLocal Type = Picture\nRemote Type = Geometry\nEND\nEND\n";
  const std::string gauge = "CUT: a\nEND\nGAUGE: g\n  On = a\nEND\n";
  const std::string named = "EXPRESSIONS:\n  n = g\n  m = n * 2\nEND\n";
  for (const std::string& text :
       {gauge
            + "CUT: b\n  Offset = g + 1 [m]\nEND\nGAUGE: h\n  On = b\nEND\nCUT: c\n  Offset = h\nEND\n"
              "CUT: a\n  Offset = 2 [m]\nEND\n",
        "CUT: a\n  Offset = 0 [m]\nEND\n> delete a\n" + gauge + "CUT: a\n  Transparency = 2 * 0.1\nEND\n",
        gauge + named
            + "EXPRESSIONS:\n  n = 2 [m]\nEND\nCUT: a\n  Offset = m\nEND\nCUT: b\n  Offset = n\nEND\n"})
    EXPECT_EQ(verdictOn(text, rules).check + verdictOn(text, rules).run, "") << text;
  for (const std::string& text :
       {gauge + "CUT: a\n  Offset = g\nEND\n",
        gauge + "CUT: b\n  Offset = g\nEND\nGAUGE: h\n  On = b\nEND\nCUT: a\n  Offset = h\nEND\n",
        gauge + named + "CUT: a\n  Offset = m\nEND\n",
        "EXPRESSIONS:\n  n = 1 [m]\n  m = n * 2\nEND\n" + gauge + "CUT: a\n  Offset = m\nEND\n"
            + "EXPRESSIONS:\n  n = g\nEND\n",
        gauge + "CUT: b\nEND\nGAUGE: g\n  On = b\nEND\n" + named
            + "CUT: a\n  Offset = m\nEND\nGAUGE: g\n  On = a\nEND\n",
        std::string("CUT: a\n  Offset = Area\nEND\n")}) {
    const Verdict verdict = verdictOn(text, rules);
    EXPECT_EQ(verdict.check, verdict.run) << text;
    EXPECT_NE(verdict.check, "");
  }
}

}  // namespace
}  // namespace orv
