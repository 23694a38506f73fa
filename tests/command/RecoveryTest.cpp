// What a failed text leaves behind: nothing.
#include "tests/support/Model.h"
#include "tests/support/TestSystem.h"
#include "tests/support/thrown.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace orv {
namespace {

const char* const failed = "error[4] Test::fail: failed";
const char* const unstable =
    "error[1] KSLInterface::parseHistory: An attempt to recover from a previous error has failed.\n"
    "  The application is likely to be in an unstable state.";

class Recovery : public testing::Test {
 protected:
  Recovery()
  {
    system.registerAction("fail", [](const auto&) { throw data::invalid("Test", "fail", "failed"); });
    system.registerAction("nest", [this](const auto&) { system.run(nested); });
    system.registerAction("clear", [this](const auto&) { system.interface()->clearUndoStacks(); });
    prepare();
  }
  // Two steps to undo, one to redo.
  void prepare()
  {
    system.run("> delete k, VIEW, r, n, a");
    system.interface()->clearUndoStacks();
    system.run("A: k\nx = 0\nB: l\ny = 1\nEND\nB: m\nEND\nEND");
    system.run("A: k\nz = 1\nEND\nVIEW:\nZoom = 2\nEND");
    system.run("A: k\nx = 1\nEND\nA: r\nEND");
    system.run("> undo");
    system.notifications();
    EXPECT_EQ(system.errors(), "");
    before = everything();
    unorderedBefore = unordered();
  }
  // Deleted objects come back behind their siblings.
  static std::string unordered() { return readDatabase().sorted().toText(); }
  std::string contents() const { return system.fullState() + "-----\n" + system.store(); }
  std::string everything() const { return contents() + system.undoSteps() + " " + system.redoSteps(); }
  // Makes the next updates of objects fail, as often as given.
  void failUpdates(int count)
  {
    system.onNotification = [count](int type) mutable {
      if (type == 4 && count-- > 0)
        throw std::string("no update");
    };
  }
  // The system goes on as if nothing had been.
  void expectSound()
  {
    system.onNotification = nullptr;
    system.expectConsistent();
    const std::string here = contents();
    system.run("A: k\nx = 77\nEND");
    EXPECT_NE(system.state().find("x = 77"), std::string::npos);
    EXPECT_EQ(system.redoSteps(), "0");
    system.undo();
    EXPECT_EQ(contents(), here);
    EXPECT_EQ(system.errors(), "");
    EXPECT_EQ(system.interface()->getParseDepth(), 0);
  }

  TestSystem system;
  std::string nested;
  std::string before;
  std::string unorderedBefore;
};

std::string unknownParam(const std::string& path)
{
  return "error[4] DataKSLObject::setValue: Parameter 'q' is not recognized on object '" + path + "'.";
}

TEST_F(Recovery, OfAFailedText)
{
  struct Case {
    const char* name;
    const char* text;
    std::string error = failed;
    kslUpdateMode mode = kslUpdateDefault;
    const char* nested = "";
    bool deletes = false;
  };
  const Case cases[] = {
      {"half-way through a block", "A: k\nx = 5\ny = 6\nB: n\nz = 1\nEND\nq = 1\nz = 2\nEND",
       unknownParam("/A:k")},
      {"syntax", "A: k\nx = 5\nEND\n?\n", "error[4] KSLAPI::loadKSLData: Syntax error in KSL line: '?'."},
      {"END", "A: k\nx = 5\n", "error[4] KSLInterface::preParseKSL: Not enough END statements in KSL."},
      {"no action", "A: k\nx = 5\nEND\nA: n\nx = 1\nEND\n> update noaction\n> fail", failed,
       kslUpdateNoAction},
      {"nested", "A: k\nx = 5\nEND\n> nest\n> fail", unknownParam("/A:a"), kslUpdateDefault,
       "A: k\ny = 1\nEND\nA: a\nq = 1\nEND"},
      {"define, undo, define", "A: a\nx = 1\nEND\n> undo\nA: k\nx = 5\nEND\nA: b\nEND\n> fail"},
      {"delete and make anew", "> delete k\nA: k\ny = 1\nEND\n> delete k\nA: k\nEND\n> fail", failed,
       kslUpdateDefault, "", true},
      {"define, undo, redo", "A: a\nx = 1\nEND\n> delete k\n> undo\n> redo\n> fail", failed, kslUpdateDefault,
       "", true},
      {"nested in two levels", "> nest", failed, kslUpdateDefault,
       "A: a\nx = 1\nEND\n> delete /A:k, nobody\n> fail", true},
      {"of a no-action update", "> update noaction\n&replace A: k\nEND\n> update noaction\n> fail", failed,
       kslUpdateDefault, "", true},
  };
  const std::string steps = system.undoSteps() + system.redoSteps();
  for (const Case& entry : cases) {
    SCOPED_TRACE(entry.name);
    nested = entry.nested;
    system.run(entry.text, entry.mode);
    EXPECT_EQ(system.errors(), entry.error);
    EXPECT_EQ(entry.deletes ? unordered() : everything(), entry.deletes ? unorderedBefore : before);
    EXPECT_EQ(system.undoSteps() + system.redoSteps(), steps);
    system.expectConsistent();
  }
  expectSound();
}

// What an undo or redo consumed is gone from the stacks; the contents come back all the same.
TEST_F(Recovery, AfterStepsThatTheTextTook)
{
  struct Taken {
    const char* text;
    const char* steps;  // to undo, to redo
  };
  const Taken cases[] = {
      {"A: a\nEND\n> undo\n> undo\n> fail", "1 (5)|1 (2)"},
      {"> redo\nA: k\nx = 8\nEND\n> fail", "2 (3)|0"},
      {"> redo\n> undo\n> undo\n> undo\n> fail", "0|0"},
      {"A: k\nx = 8\nEND\n> clear\nA: k\nx = 9\nEND\nA: n\nEND\n> fail", "0|0"},
  };
  for (const Taken& entry : cases) {
    SCOPED_TRACE(entry.text);
    prepare();
    system.run(entry.text);
    EXPECT_EQ(system.errors(), failed);
    EXPECT_EQ(unordered(), unorderedBefore);
    system.expectConsistent();
    EXPECT_EQ(system.undoSteps() + "|" + system.redoSteps(), entry.steps);
  }
  expectSound();
}

TEST_F(Recovery, OfAFailingUndoOrRedo)
{
  system.run("A: n\nx = 1\nEND");  // independent of the step below, which loses nothing by its loss
  system.run("A: n\nx = 2\nEND\nA: k\ny = 9\nEND");
  system.run("B: k\ny = 2\nEND");
  system.run("C: r\nEND");
  system.run("> undo");
  system.notifications();
  const std::string contentsBefore = contents();
  struct Case {
    std::function<void()> step;
    const char* notifications;
    const char* steps;
  };
  const Case cases[] = {{[&] { system.run("> undo"); }, "0 4 5 14 4 5 15 1", "4 (2)|1 (1)"},
                        {[&] { system.undo(); }, "4 5 14 4 5 15", "3 (2)|1 (1)"},
                        {[&] { system.redo(); }, "4 5 12 4 5 13", "3 (2)|0"}};
  for (const Case& entry : cases) {
    failUpdates(1);
    entry.step();
    EXPECT_EQ(system.errors(),
              "error[4] KSLInterface::parseHistory: Operation failed. (System exception string: no update)");
    EXPECT_EQ(system.notifications(), entry.notifications);
    EXPECT_EQ(contents(), contentsBefore);
    EXPECT_EQ(system.undoSteps() + "|" + system.redoSteps(), entry.steps) << "each took its step with it";
    system.expectConsistent();
  }
  expectSound();
}

TEST_F(Recovery, ThatFailsItselfIsToldAndLeavesNoErrorPending)
{
  failUpdates(2);
  system.run("A: a\nx = 1\nEND");
  EXPECT_EQ(
      system.errors(),
      std::string(
          "error[1] KSLInterface::invoke: Operation failed. (System exception string: no update)\n"
          "error[1] KSLInterface::parseHistory: Operation failed. (System exception string: no update)\n")
          + unstable);
  expectSound();

  // Nobody acts in the middle.
  nested = "?";
  bool recovering = false;
  system.onNotification = [&](int type) {
    recovering = type == 12 || (recovering && type != 13);
    if (type == 4 && recovering)
      system.run(nested);
  };
  system.run("A: a\nx = 1\nEND\n> fail");
  EXPECT_EQ(system.errors(),
            std::string(failed)
                + "\nwarning[8] KSLInterface::parseKSL: Text submitted during error recovery is ignored.");
  expectSound();
}

TEST_F(Recovery, AnErrorOfALoadOutsideAnyTextIsToldAtLast)
{
  const auto load = [&] { system.text()->loadKSLData({"A: a", "x = 1", "END", "> fail", "A: b"}); };
  load();
  EXPECT_EQ(system.errors(), "");
  system.run("A: c\nEND");  // skipped: the error is told in its place
  EXPECT_EQ(system.errors(), failed);
  EXPECT_EQ(everything(), before);
  load();
  system.interface()->undoOnError();
  EXPECT_EQ(system.errors(), failed);
  EXPECT_EQ(everything(), before);
  system.interface()->undoOnError();
  EXPECT_EQ(system.errors(), "");
  expectSound();
}

TEST_F(Recovery, ActionsOutsideAnyTextThrowToTheirCaller)
{
  KSLInterface* owner = system.interface();
  EXPECT_EQ(thrown<data::invalid>([&] { owner->doAction("fail"); }), ErrorMsg("Test", "fail", "failed", 4));
  EXPECT_EQ(thrown<internal::error>([&] { owner->doAction("none"); }),
            ErrorMsg("ActionFactory", "getExecutor", "Action none is not recognized.", 4));
  EXPECT_EQ(everything() + system.errors(), before);
  expectSound();
}

}  // namespace
}  // namespace orv
