// What a failed text leaves behind: nothing.
#include "tests/support/Model.h"
#include "tests/support/TestSystem.h"

#include <gtest/gtest.h>
#include <string>

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
    system.registerAction("swallow", [this](const auto&) {
      try {
        system.run("> fail");
      } catch (...) {
        system.undo();
      }
    });
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

// "1 2(a b)": the names of the objects, with those of what is in them.
std::string orderOf(const ModelNode& node)
{
  std::string text;
  for (const auto& [type, group] : node.children) {
    for (const ModelNode& child : group) {
      const std::string inside = orderOf(child);
      text += (text.empty() ? "" : " ") + child.component.substr(child.component.find(':') + 1)
              + (inside.empty() ? "" : "(" + inside + ")");
    }
  }
  return text;
}

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
    bool deletes = false;
  };
  const Case cases[] = {
      {"half-way through a block", "A: k\nx = 5\ny = 6\nB: n\nz = 1\nEND\nq = 1\nz = 2\nEND",
       unknownParam("/A:k")},
      {"syntax", "A: k\nx = 5\nEND\n?\n", "error[4] KSLAPI::loadKSLData: Syntax error in KSL line: '?'."},
      {"END", "A: k\nx = 5\n", "error[4] KSLInterface::preParseKSL: Not enough END statements in KSL."},
      {"an undo after the failure", "> swallow"},
      {"no action", "A: k\nx = 5\nEND\nA: n\nx = 1\nEND\n> update noaction\n> fail", failed,
       kslUpdateNoAction},
      {"delete and make anew", "> delete k\nA: k\ny = 1\nEND\n> delete k\nA: k\nEND\n> fail", failed,
       kslUpdateDefault, true},
      {"of a no-action update", "> update noaction\n&replace A: k\nEND\n> update noaction\n> fail", failed,
       kslUpdateDefault, true},
  };
  const std::string steps = system.undoSteps() + system.redoSteps();
  for (const Case& entry : cases) {
    SCOPED_TRACE(entry.name);
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
  };
  for (const Taken& entry : cases) {
    SCOPED_TRACE(entry.text);
    prepare();
    system.run(entry.text);
    EXPECT_EQ(system.errors(), failed);
    EXPECT_EQ(unordered(), unorderedBefore);
    EXPECT_EQ(system.undoSteps() + "|" + system.redoSteps(), entry.steps);
  }
  expectSound();
}

// Whether a failure brings them back or an undo: what no update had taken stays in its place.
TEST_F(Recovery, DeletedObjectsComeBackBehindTheirSiblings)
{
  struct Row {
    const char* text;
    const char* order;
  };
  const Row rows[] = {
      {"> delete 1", "2 3 4(a b c) 1"},
      {"> delete 1, 3", "2 4(a b c) 3 1"},
      {"> delete /A:4/B:a", "1 2 3 4(b c a)"},
      {"> delete 4\n> delete 2", "1 3 2 4(a b c)"},
      {"&replace A: 1\nx = 2\nEND", "2 3 4(a b c) 1"},
      {"> rename from=/A:2, to=5", "1 3 4(a b c) 2"},
  };
  const std::string made = "A: 1\nEND\nA: 2\nEND\nA: 3\nEND\nA: 4\nB: a\nEND\nB: b\nEND\nB: c\nEND\nEND\n";
  for (const Row& row : rows) {
    for (const char* way : {"> fail", "> undo"}) {
      SCOPED_TRACE(std::string(row.text) + " and " + way);
      system.run("> delete k, r, VIEW, 1, 2, 3, 4");
      system.run(made);
      if (way == std::string("> undo"))
        system.run(row.text);
      else
        system.run(std::string(row.text) + "\n> fail");
      if (way == std::string("> undo"))
        system.run(way);
      system.errors();
      EXPECT_EQ(orderOf(readDatabase()), row.order);
      system.expectConsistent();
    }
  }
}

TEST_F(Recovery, ThatFailsItselfIsToldAndLeavesNoErrorPending)
{
  system.onNotification = [count = 2](int type) mutable {
    if (type == 4 && count-- > 0)
      throw std::string("no update");
  };
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
    if (type == 4 && recovering) {
      system.run(nested);
      system.interface()->doAction("delete k");
    }
    // Past the texts, too, store and database stay the same.
    if (recovering || type == 13)
      system.text()->loadKSLData({"A: sneaked", "END", "A: k", "x = 9", "&replace B: l", "END", "END"});
    if (type == 13)
      system.text()->loadKSLData({"> fail"});
    if (recovering && type < 12)
      system.executive().doAction("update");
  };
  system.run("A: a\nx = 1\nEND\n> fail");
  const std::string ignored =
      "\nwarning[8] KSLInterface::parseKSL: Text submitted during error recovery is ignored.";
  EXPECT_EQ(system.errors(), failed + ignored + ignored + "\n" + failed);
  EXPECT_EQ(unordered(), unorderedBefore);
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
  EXPECT_THROW(system.interface()->doAction("fail"), data::invalid) << "outside any text, to the caller";
  expectSound();
}

}  // namespace
}  // namespace orv
