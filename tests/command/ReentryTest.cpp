// Observers and handlers that act on the library while it is at work.
#include "database/DBChangeNotify.h"
#include "database/ObjectDB.h"
#include "command/KSLCoreAPI.h"
#include "tests/support/TestSystem.h"

#include <functional>
#include <gtest/gtest.h>

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
  bool modify(KSLChange&) override { return false; }
};

class Deleter : public KSLReplaceModeHandler {
 public:
  Deleter(KSLAPI* store, std::string path) : m_store(store), m_path(std::move(path)) {}
  void objectReplaced(const std::string&) override { m_store->deleteObj(m_path); }

 private:
  KSLAPI* m_store;
  std::string m_path;
};

const std::vector<std::string> definition = {"B: b", "x = 1", "END"};

}  // namespace

// A store that kept what the database never got would see no change when it is said again.
TEST(Reentry, WhatOnlyTheStoreWasToldCanBeSaidAgain)
{
  TestSystem system;
  bool told = false;
  system.onNotification = [&](int type) {
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

TEST(Reentry, AnUndoFromWithinAnUpdateFailsTheCommand)
{
  TestSystem system;
  system.run("A: a\nx = 1\nEND");
  const std::string before = system.state();
  {
    Meddler meddler([] { KSLCoreAPI::instance()->processKSL("> undo", kslUpdateDefault); });
    system.run("B: b\nx = 1\nEND");
  }
  EXPECT_EQ(system.errorList().size(), 1U);
  EXPECT_EQ(system.state(), before);
  system.expectConsistent();
}

TEST(Reentry, AModifierMayBeReplacedWhileItsListIsWritten)
{
  TestSystem system;
  system.interface()->registerChangeListModifier(new DropsAll);
  {
    Meddler meddler([&system] {
      system.interface()->clearUndoStacks();
      system.interface()->registerChangeListModifier(nullptr);
    });
    system.run("A: a\nx = 1\nB: b\nx = 2\nEND\nEND");
  }
  EXPECT_EQ(system.errors(), "");
  EXPECT_EQ(system.state(), "A:a\n  x = 1\n  B:b\n    x = 2\n  END\nEND\n");
  system.expectConsistent();
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
