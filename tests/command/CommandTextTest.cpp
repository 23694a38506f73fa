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
      // empty
      {normal, "\n \t\n\n", ""},
      {noAction, "\n", ""},
      // blanks
      {normal, "  A:   a\t# b \n\n END \r\n", "|A: a # b|END|> update"},
      {normal, "A: a\nx = \xa0 \xff\nEND", "|A: a|x = \xa0 \xff|END|> update"},
      // continuation: the first line as it stands, those after it trimmed
      {normal, "A: a\nx = 1 \\  \nEND", "|A: a|x = 1 \\|END|> update"},
      {normal, "A: a\nx = a\\\n b \\  \n c\nEND", "|A: a|x = ab c|END|> update"},
      {normal, "A: a\nx = 1\\\n\nEND", "|A: a|x = 1|END|> update"},
      {normal, "\\\nA: a\nEND\\", "|A: a|END|> update"},
      {normal, ">no\\\nte x", "|> update|> note x|> update"},
      {normal, "# note \\\nEND", "|# note END|> update"},
      {normal, "\\", ""},
      // actions and comments
      {normal, "# note", "|# note|> update"},
      {normal, ">note # x", "|> update|> note # x|> update"},
      {normal, "  >\tnote  x", "|> update|> note x|> update"},
      {normal, "A: a\n>note\nEND", "|A: a|> update|> note|> update|END|> update"},
      {normal, "> update # x", "|> update # x"},
      {normal, ">update", "|> update"},
      {normal, ">updates x", "|> updates x"},  // all that begins like one
      {atEnd, "> update noaction", "|> update noaction"},
      {noAction, "> update noaction", "|> update noaction|> update noaction"},
      {noAction, "> update", "|> update|> update noaction"},
      {noAction, "A: a\nEND\n>note", "|A: a|END|> update|> note|> update|> update noaction"},
      // per-block updates
      {normal, "A: a\nB: b\nEND\nEND\nA: b\nEND # x", "|A: a|B: b|END|END|> update|A: b|END # x|> update"},
      {normal, "&replace A: a\nEND", "|&replace A: a|END|> update"},
      {normal, "A: a\nx = /A:a\ny = A: b\n# B: b\n> note B: b\nEND",
       "|A: a|x = /A:a|y = A: b|# B: b|> update|> note B: b|> update|END|> update"},
      {normal, "END\nA: a", "|END|A: a|> update"},
      {atEnd, "A: a\nEND\nA: b\nEND", "|A: a|END|A: b|END|> update"},
      {atEnd, "A: a\nB: b\n", "|A: a|B: b|> update"},
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
      {"A: a\nx = 1\n", "Not enough END statements in KSL."},
      {"A: a\nEND\nEND", "Too many END statements in KSL."},
      {"A: a\nEND = 3", "Not enough END statements in KSL."},
      {"A: a\nend", "Not enough END statements in KSL."},
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
  nested = "A: a\nx = 1\nEND";
  system.run(">nest", kslUpdateAtEnd);
  EXPECT_EQ(watcher.take(), "{0|> update|> nest|> update}{1|A: a|x = 1|END|> update}");
  nested = "A: b\nB: c\n";  // nothing is counted
  system.run(">nest", kslUpdateAtEnd);
  EXPECT_EQ(watcher.take(), "{0|> update|> nest|> update}{1|A: b|B: c|> update}");
  EXPECT_EQ(system.errors(), "");
  nested = "A: a\nx = 2\nEND";
  system.run(">nest", kslUpdateNoAction);
  EXPECT_EQ(watcher.take(),
            "{0|> update|> nest|> update|> update noaction}{1|A: a|x = 2|END|> update noaction}");
  EXPECT_EQ(system.state(), "A:a\n  x = 2\nEND\nA:b\n  B:c\n  END\nEND\n");
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
  nested = "# n";
  system.run(">nest");
  EXPECT_EQ(watcher.take(), "{1|# n|> update}") << "nested texts see the restored setting";
  owner->setBWCForNextProcessKSL(false);
  EXPECT_FALSE(rewritten("A: a")) << "too few ENDs";
  EXPECT_FALSE(rewritten()) << "the override waits for a text that is read";
  watcher.rewrite = [](std::vector<std::string>& lines) { lines = {"A: rewritten", "END", "> update"}; };
  EXPECT_TRUE(rewritten());
  EXPECT_EQ(system.state(), "A:rewritten\nEND\n");
  watcher.rewrite = [](std::vector<std::string>& lines) { lines = {"A: lost", "END"}; };
  EXPECT_TRUE(rewritten());
  EXPECT_EQ(system.store(), "A: rewritten\nEND\n") << "what no update takes is not kept";
}

// ---------------------------------------------------------------------------------------------------------- failures

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
      {[] { throw internal::error("C", "f", "m", 4); }, {"C", "f", "m", 32}},
      {[] { throw internal::badParam("C", "f", "%s%n", 8); }, {"C", "f", "%s%n", 32}},
      {[] { throw internal::nullPointer("C", "f", "m"); }, {"C", "f", "m", 32}},
      {[] { throw data::notFound("C", "f", "m", 8); }, {"C", "f", "m", 4}},
      {[] { throw ksl::cyclicRef("C", "f", std::string(10000, 'm')); },
       {"C", "f", std::string(10000, 'm'), 4}},
      {[] { throw Interrupt("C", "f", "m", 1); }, {"C", "f", "m", 4}},
      {[] { throw std::bad_alloc(); }, failed(". Insufficient memory.")},
      {[] { throw std::runtime_error("%d why"); }, failed(". (System exception: %d why)")},
      {[] { throw std::string("text"); }, failed(". (System exception string: text)")},
      {[] { throw "text"; }, failed(". (System exception message: text)")},
      {[] { throw 7; }, failed(" with unrecognized system exception.")},
  };
  std::function<void()> raise;
  system.registerAction("raise", [&](const auto&) { raise(); });
  const auto expect = [&](const ErrorMsg& error, const char* place) {
    const ErrorMsg full(error.getClassName(), error.getFunction().empty() ? place : error.getFunction(),
                        error.getMessage(), error.getType());
    EXPECT_EQ(system.errorList(), std::vector{full});
    EXPECT_EQ(system.state() + system.store(), "");
  };
  for (const Case& entry : cases) {
    SCOPED_TRACE(entry.error.getMessage());
    raise = entry.raise;
    system.run("A: a\nx = 1\nEND\n>raise\n>raise");
    expect(entry.error, "invoke");
    nested = "A: b\nEND\n>raise";
    system.run(">nest\n>fail");
    expect(entry.error, "invoke");
    watcher.rewrite = [&](auto&) { raise(); };
    system.run("A: a\nx = 1\nEND");
    expect(entry.error, "parseKSL");
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
  system.interface()->setExecutive(nullptr);
  system.run("A: a\nEND");
  EXPECT_EQ(system.errorList().front(),
            ErrorMsg("KSLInterface", "doAction", "Pointer to Executive not set.", 32));
}

TEST(CommandTextLimits, LongLinesAndDeepBlocksJustWork)
{
  TestSystem system;
  const std::string value(100000, 'v');
  system.run("A: a\nx = " + value + "\nEND");
  EXPECT_EQ(system.state(), "A:a\n  x = " + value + "\nEND\n");
  std::string deep;
  for (int i = 0; i < 3000; ++i)
    deep += "B: b\n";
  for (int i = 0; i < 3000; ++i)
    deep += "END\n";
  system.run(deep);
  EXPECT_EQ(system.errors(), "");
  system.undo();
  EXPECT_EQ(system.state(), "A:a\n  x = " + value + "\nEND\n");
  system.redo();
  system.run(">delete /B:b");
  system.undo();
  EXPECT_EQ(system.inconsistencies() + system.errors(), "");
  EXPECT_EQ(system.state().size(), 100015U + 3000U * (4 + 4) + 2U * 3000U * 2999U);
}

}  // namespace
}  // namespace orv
