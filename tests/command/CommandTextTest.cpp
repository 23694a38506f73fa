// From a text to the lines that are loaded, and from a failure to its one report.
#include "command/BackCompatibilityFunctor.h"
#include "tests/support/TestSystem.h"

#include <functional>
#include <gtest/gtest.h>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace orv {
namespace {

// Sees the lines of each text, just before they are loaded.
class Watcher : public BackCompatibilityFunctor {
 public:
  void operator()(std::vector<std::string>& lines, bool perBlock) const override
  {
    seen += "{" + std::string(perBlock ? "1" : "0");
    for (const std::string& line : lines)
      seen += "|" + line;
    seen += "}";
    if (rewrite)
      rewrite(lines);
  }
  std::string take() { return std::exchange(seen, {}); }
  std::function<void(std::vector<std::string>&)> rewrite;
  mutable std::string seen;
};

class CommandText : public testing::Test {
 protected:
  CommandText()
  {
    system.interface()->setBackFunctor(&watcher);
    system.registerAction("nest", [this](const auto&) { system.run(nested, nestedMode); });
    system.registerAction("fail", [](const auto&) { throw data::invalid("Test", "fail", "failed"); });
    system.registerAction("note", [](const auto&) {});
    system.registerAction("updates", [](const auto&) {});
  }
  TestSystem system;
  Watcher watcher;
  std::string nested;
  kslUpdateMode nestedMode = kslUpdateDefault;
};

// Its lines are others than those of the text.
TEST_F(CommandText, ErrorsHaveTheirPlaceInATextThatIsRewritten)
{
  watcher.rewrite = [](std::vector<std::string>& lines) { lines.insert(lines.begin(), "> note first"); };
  const std::pair<const char*, std::size_t> cases[] = {
      {"A: a\n  what  is  this # this?\nEND", 2},
      {"A: a\nEND\n\n>fail \\\n now\n", 4},
      {"CUT: b\nEND\nCUT: c\nColour = pink\nEND", 4},
  };
  for (const auto& [text, line] : cases) {
    system.run(text);
    const std::vector<ErrorMsg> errors = system.errorList();
    ASSERT_EQ(errors.size(), 1U) << text;
    EXPECT_EQ(errors.front().getDiagnostic()->line, line) << text;
  }
}

TEST_F(CommandText, BecomesLines)
{
  struct Case {
    kslUpdateMode mode;
    const char* text;
    const char* lines;
  };
  const kslUpdateMode atEnd = kslUpdateAtEnd;
  const kslUpdateMode normal = kslUpdateDefault;
  const kslUpdateMode noAction = kslUpdateNoAction;
  const Case cases[] = {
      {normal, "A: a\nx = 1 \\\n  + 2\nEND\n>note /A:a",
       "|A: a|x = 1 + 2|END|> update|> update|> note /A:a|> update"},
      {normal, "\n \t\n\n", ""},
      {normal, "  A:   a\t# b \n\n END \r\n", "|A: a # b|END|> update"},
      // continuation: the first line as it stands, those after it trimmed
      {normal, "A: a\nx = 1 \\  \nEND", "|A: a|x = 1 \\|END|> update"},
      {normal, "A: a\nx = a\\\n b \\  \n c\nEND", "|A: a|x = ab c|END|> update"},
      {normal, "# note \\\nEND", "|# note END|> update"},
      {normal, "\\", ""},
      {normal, "# note", "|# note|> update"},
      {normal, "  >\tnote  x", "|> update|> note x|> update"},
      {normal, "A: a\n>note\nEND", "|A: a|> update|> note|> update|END|> update"},
      {normal, "> update # x", "|> update # x"},
      {normal, ">updates x", "|> updates x"},  // all that begins like one
      {atEnd, "> update noaction", "|> update noaction"},
      {noAction, "> update noaction", "|> update noaction|> update noaction"},
      {noAction, "> update", "|> update|> update noaction"},
      {noAction, "A: a\nEND\n>note", "|A: a|END|> update|> note|> update|> update noaction"},
      {normal, "A: a\nB: b\nEND\nEND\nA: b\nEND # x", "|A: a|B: b|END|END|> update|A: b|END # x|> update"},
      {normal, "A: a\nx = /A:a\ny = A: b\n# B: b\n> note B: b\nEND",
       "|A: a|x = /A:a|y = A: b|# B: b|> update|> note B: b|> update|END|> update"},
      {normal, "END\nA: a", "|END|A: a|> update"},
      {atEnd, "A: a\nEND\nA: b\nEND", "|A: a|END|A: b|END|> update"},
      {atEnd, "END\nEND", "|END|END|> update"},
  };
  for (const Case& entry : cases) {
    system.run(entry.text, entry.mode);
    EXPECT_EQ(watcher.take(), std::string(entry.mode == normal ? "{1" : "{0") + entry.lines + "}")
        << entry.text;
    EXPECT_EQ(system.errors(), "") << entry.text;
  }
}

TEST_F(CommandText, CountsEndOnlyInDefaultMode)
{
  const std::pair<const char*, const char*> cases[] = {
      {"A: a\nEND\nEND", "Too many END statements in KSL."},
      {"A: a # END", "Not enough END statements in KSL."},
  };
  for (const auto& [text, message] : cases) {
    system.run(text);
    EXPECT_EQ(system.errorList(), std::vector{ErrorMsg("KSLInterface", "preParseKSL", message, 4)}) << text;
    EXPECT_EQ(watcher.take() + system.state() + system.store(), "") << text;
  }
}

TEST_F(CommandText, NestedTextsTakeTheModeAround)
{
  nested = "A: b\nB: c\n";  // nothing is counted
  system.run(">nest", kslUpdateAtEnd);
  EXPECT_EQ(watcher.take(), "{0|> update|> nest|> update}{1|A: b|B: c|> update}");
  nested = "A: a\nx = 2\nEND";
  system.run(">nest", kslUpdateNoAction);
  EXPECT_EQ(watcher.take(),
            "{0|> update|> nest|> update|> update noaction}{1|A: a|x = 2|END|> update noaction}");
  nestedMode = kslUpdateAtEnd;
  system.run(">nest\nA: a\nEND");
  EXPECT_EQ(watcher.take(), "{1|> update|> nest|> update|A: a|END|> update}{0|A: a|x = 2|END|> update}");
}

TEST_F(CommandText, CompatibilityIsSwitchedForOneTextOrForGood)
{
  const auto rewritten = [&](const char* text = "# c") {
    system.run(text);
    return !watcher.take().empty();
  };
  KSLInterface* owner = system.interface();
  EXPECT_TRUE(owner->setBWC(false));
  EXPECT_FALSE(rewritten());
  EXPECT_FALSE(owner->setBWC(true));
  owner->setBWCForNextProcessKSL(false);
  owner->setBWCForNextProcessKSL(false);
  EXPECT_FALSE(rewritten());
  EXPECT_TRUE(rewritten()) << "the second override did not become the saved setting";
  owner->setBWCForNextProcessKSL(false);
  EXPECT_FALSE(rewritten("A: a")) << "too few ENDs";
  EXPECT_FALSE(rewritten()) << "the override waits for a text that is read";
  watcher.rewrite = [](std::vector<std::string>& lines) { lines = {"A: lost", "END"}; };
  EXPECT_TRUE(rewritten());
  EXPECT_EQ(system.store(), "") << "what no update takes is not kept";
}

TEST_F(CommandText, WhateverIsThrownIsReportedOnce)
{
  struct Case {
    std::function<void()> raise;
    ErrorMsg error;  // without function: that of the place
  };
  const auto failed = [](const std::string& rest) {
    return ErrorMsg("KSLInterface", "", "Operation failed" + rest, 1);
  };
  const Case cases[] = {
      {[] { throw internal::badParam("C", "f", "%s%n", 8); }, {"C", "f", "%s%n", 32}},
      {[] { throw data::notFound("C", "f", "m", 8); }, {"C", "f", "m", 4}},
      {[] { throw ksl::cyclicRef("C", "f", "m"); }, {"C", "f", "m", 4}},
      {[] { throw Interrupt("C", "f", "m", 1); }, {"C", "f", "m", 4}},
      {[] { throw std::bad_alloc(); }, failed(". Insufficient memory.")},
      {[] { throw std::runtime_error("%d why"); }, failed(". (System exception: %d why)")},
      {[] { throw std::string("text"); }, failed(". (System exception string: text)")},
      {[] { throw "text"; }, failed(". (System exception message: text)")},
      {[] { throw 7; }, failed(" with unrecognized system exception.")},
  };
  std::function<void()> raise;
  system.registerAction("raise", [&](const auto&) { raise(); });
  for (const Case& entry : cases) {
    SCOPED_TRACE(entry.error.getMessage());
    const auto expect = [&](const char* place) {
      const bool named = !entry.error.getFunction().empty();
      const ErrorMsg full(entry.error.getClassName(), named ? entry.error.getFunction() : place,
                          entry.error.getMessage(), entry.error.getType());
      EXPECT_EQ(system.errorList(), std::vector{full});
      EXPECT_EQ(system.state() + system.store(), "");
    };
    raise = entry.raise;
    nested = "A: b\nEND\n>raise";
    system.run("A: a\nx = 1\nEND\n>nest\n>fail");
    expect("invoke");
    watcher.rewrite = [&](auto&) { raise(); };
    system.run("A: a\nx = 1\nEND");
    expect("parseKSL");
    watcher.rewrite = nullptr;
  }
}

TEST_F(CommandText, TheFirstFailureIsTheOneReported)
{
  int later = 0;
  system.registerAction("later", [&](const auto&) { ++later; });
  nested = "A: b\nq = 1\nEND\n>later";
  // An executor that swallows everything does not make a failed text good, and its further texts are skipped.
  system.registerAction("swallow", [&](const auto&) {
    for (int i = 0; i < 2; ++i) {
      try {
        system.run(nested);
      } catch (...) {
        nested = "A: c\nEND\n>later";
      }
    }
  });
  system.run("A: a\nx = 1\nEND\n>swallow\n>fail\n>later");
  EXPECT_EQ(system.errors(),
            "error[4] DataKSLObject::setValue: Parameter 'q' is not recognized on object '/A:b'.");
  EXPECT_EQ(later, 0);
  EXPECT_EQ(system.state() + system.store(), "");
  system.run(">");
  EXPECT_EQ(system.errors(), "error[4] Executive::doAction: Empty action line.");
  system.run("> foo%s%n");
  EXPECT_EQ(system.errors(), "error[32] ActionFactory::getExecutor: Action foo%s%n is not recognized.");
}

TEST_F(CommandText, LongLinesJustWork)
{
  system.run("A: a\nx = " + std::string(100000, 'v') + "\nEND");
  EXPECT_EQ(system.state().size(), 100015U);
  EXPECT_EQ(system.inconsistencies() + system.errors(), "");
}

}  // namespace
}  // namespace orv
