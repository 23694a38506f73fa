// Observers and handlers that act on the library while it is at work.
#include "database/DBChangeNotify.h"
#include "database/ObjectDB.h"
#include "command/KSLCoreAPI.h"
#include "tests/support/TestSystem.h"

#include <functional>
#include <gtest/gtest.h>
#include <tuple>

using namespace orv;

namespace {

// Acts once, when a parameter changes.
class Meddler : public DBChangeNotify {
 public:
  explicit Meddler(std::function<void()> act) : m_act(std::move(act))
  {
    ObjectDB::instance()->registerChangeNotify(this);
  }
  ~Meddler() override { ObjectDB::instance()->registerChangeNotify(nullptr); }
  void paramChanged(const KSLObject*, const ParamDefinition*) override
  {
    if (const std::function<void()> act = std::exchange(m_act, nullptr))
      act();
  }
  void paramDeleted(const KSLObject*, const std::string&) override {}
  void objectAdded(const KSLObject*) override {}
  void objectDeleteBegin(const KSLObject*) override {}
  void objectDeleteEnd(const std::string&, const KSLObject*) override {}

 private:
  std::function<void()> m_act;
};

class DropsAll : public ChangeListModifierIF {
 public:
  static inline bool gone = false;
  DropsAll() { gone = false; }
  ~DropsAll() override { gone = true; }
  bool modify(KSLChange&) override
  {
    EXPECT_FALSE(gone);
    return false;
  }
};

class Deleter : public KSLReplaceModeHandler {
 public:
  Deleter(KSLAPI* store, std::string path) : m_store(store), m_path(std::move(path)) {}
  void objectReplaced(const std::string&) override { m_store->deleteObj(m_path); }

 private:
  KSLAPI* m_store;
  std::string m_path;
};

}  // namespace

// A store that kept what the database never got would see no change when it is said again.
TEST(Reentry, WhatOnlyTheStoreWasToldCanBeSaidAgain)
{
  TestSystem system;
  const std::vector<std::string> definition = {"B: b", "x = 1", "END"};
  system.onNotification = [&, told = false](int type) mutable {
    if (type == KSLCoreAPI::updateBegin && !std::exchange(told, true))
      system.text()->loadKSLData(definition);
  };
  system.run("A: a\nx = 1\nEND\nnonsense");
  EXPECT_EQ(system.errorList().size(), 1U);
  EXPECT_EQ(system.store() + system.state(), "");

  system.text()->loadKSLData(definition);
  system.run("\n");  // neither takes nor drops it
  system.run("> update");
  EXPECT_EQ(system.state(), "B:b\n  x = 1\nEND\n");
  system.expectConsistent();
}

// In mid-update. What fails afterwards is taken back whole: the nested text, and what no update had reached yet.
TEST(Reentry, ATextFromWithinAnUpdateIsPartOfIt)
{
  struct Case {
    const char* nested;
    const char* text;
    std::size_t errors;
    const char* state;
  };
  const char* const before = "A:a\n  x = 1\nEND\n";
  for (const Case& entry : {Case{"> undo", "B: b\nx = 1\nEND", 1, before},
                            Case{"C: n\nx = 1\nEND", "B: b\nx = 1\nq = 2\nz = 3\nEND\nB: c\nEND", 1, before},
                            Case{"C: n\nx = 1\nEND", "B: b\nx = 1\nz = 3\nEND\n> fail", 1, before},
                            Case{"C: n\nx = 1\nEND", "B: b\nx = 1\nz = 3\nEND", 0,
                                 "A:a\n  x = 1\nEND\nB:b\n  x = 1\n  z = 3\nEND\nC:n\n  x = 1\nEND\n"}}) {
    TestSystem system;
    system.registerAction("fail", [](const auto&) { throw data::invalid("Test", "fail", "failed"); });
    system.run("A: a\nx = 1\nEND");
    {
      Meddler meddler([&] { system.run(entry.nested); });
      system.run(entry.text, kslUpdateAtEnd);
    }
    EXPECT_EQ(system.errorList().size(), entry.errors) << entry.text;
    EXPECT_EQ(system.state(), entry.state) << entry.text;
    system.expectConsistent();
  }
}

// The nested text deletes what is being changed: that waits, and is dropped when the text fails.
TEST(Reentry, UpdatesFromWithinOneWithoutActionWait)
{
  for (const auto& [nested, errors, state] :
       {std::tuple("> delete /A:a\n> bogus", 1U, "A:a\nEND\n"), std::tuple("> delete /A:a", 0U, "")}) {
    TestSystem system;
    Meddler meddler([&, text = nested] { system.run(text); });
    system.run("A: a\nEND");
    system.run("A: a\nx = 2\nEND", kslUpdateNoAction);
    EXPECT_EQ(system.errorList().size(), errors) << nested;
    EXPECT_EQ(system.state(), state) << nested;
    system.expectConsistent();
  }
}

// What an update without action records in the midst of an object's parameters stands between theirs.
TEST(Reentry, WhatIsRecordedMeanwhileIsTakenBackInItsTurn)
{
  TestSystem system;
  system.run("A: a\nx = 1\nEND");
  const std::string before = system.render(*system.interface()->getHistoryStack()->top());
  const auto enter = [&](const std::string& text) {
    Meddler meddler([&] { system.run("A: a\nx = 2\nEND\nC: n\nx = 1\nEND", kslUpdateNoAction); });
    system.run(text);
  };
  enter("B: b\nx = 1\ny = 2\nz = 3\nq = 4\nEND");
  EXPECT_EQ(system.errorList().size(), 1U);
  EXPECT_EQ(system.state(), "A:a\n  x = 1\nEND\n");
  EXPECT_EQ(system.render(*system.interface()->getHistoryStack()->top()), before);
  enter("B: b\nx = 1\ny = 2\nz = 3\nEND");
  EXPECT_EQ(system.render(*system.interface()->getHistoryStack()->top()),
            "delete /B:b\ndrop /B:b x (1)\nchange /A:a x = 1 (2)\ndelete /C:n\ndrop /C:n x (1)\n"
            "drop /B:b y (2)\ndrop /B:b z (3)\n");
  system.run("> undo");
  EXPECT_EQ(system.state(), "A:a\n  x = 1\nEND\n");
}

TEST(Reentry, AModifierMayBeReplacedWhileItsListIsWritten)
{
  TestSystem system;
  system.interface()->registerChangeListModifier(new DropsAll);
  Meddler meddler([&system] {
    system.interface()->clearUndoStacks();
    system.interface()->registerChangeListModifier(nullptr);
  });
  system.run("A: a\nx = 1\nB: b\nx = 2\nEND\nEND");
  EXPECT_TRUE(DropsAll::gone);
}

TEST(Reentry, AReplaceHandlerMayDeleteTheOpenObject)
{
  TestSystem system;
  Deleter deleter(system.text(), "/A:a");
  system.text()->registerReplaceModeHandler(&deleter);
  system.run("A: a\nx = 1\n&replace B: b\nEND\nx = 2\nEND");
  system.text()->registerReplaceModeHandler(nullptr);
  EXPECT_EQ(system.errors(), "");
  EXPECT_EQ(system.state(), "A:a\n  x = 2\nEND\n");  // what comes after makes it anew
  system.expectConsistent();
}
