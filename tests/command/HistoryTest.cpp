// Undo and redo of what went well.
#include "command/HistoryStack.h"
#include "tests/support/TestSystem.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace orv {
namespace {

// What stands after each step of a road through the history, to be compared on the way back.
class History : public testing::Test {
 protected:
  struct Stop {
    std::string state;
    std::string store;
    bool operator==(const Stop&) const = default;
    friend void PrintTo(const Stop& stop, std::ostream* out)
    {
      *out << stop.state << "-----\n" << stop.store;
    }
  };
  Stop stop()
  {
    system.expectConsistent();
    EXPECT_EQ(system.errors(), "");
    return {system.fullState(), system.store()};
  }
  Stop after(const char* text)
  {
    system.run(text);
    return stop();
  }
  TestSystem system;
};

TEST_F(History, OfADefinitionAndItsDeletion)
{
  const Stop nothing = stop();
  const Stop defined = after(
      "A: a\nx = 1\nB: b\ny = 2\nC: c\nz = 3\nEND\nC: d\nEND\nEND\nB: e\nEND\ny = 2\nEND\nA: k\nx = 0\nEND");
  const Stop deleted = after("> delete /A:a");
  EXPECT_EQ(system.undoSteps(), "2 (9)");
  const std::string a = "A:a\n" + defined.state.substr(4, defined.state.find("A:k") - 4);
  const Stop undone = after("> undo");
  EXPECT_EQ(undone.state, deleted.state + a) << "last among its siblings, inside as it was";
  EXPECT_EQ(undone.store, deleted.store + defined.store.substr(0, defined.store.find("A: k")));
  EXPECT_EQ(after("> undo"), nothing);
  EXPECT_EQ(system.undoSteps() + system.redoSteps(), "02 (11)");
  EXPECT_EQ(after("> redo"), defined);
  EXPECT_EQ(after("> redo"), deleted);
  system.interface()->clearUndoStacks();
  system.undo();
  system.redo();
  EXPECT_EQ(system.errorList(),
            (std::vector{ErrorMsg("KSLInterface", "getHistoryChanges", "Nothing to undo.", 8),
                         ErrorMsg("KSLInterface", "getHistoryChanges", "Nothing to redo.", 8)}));
}

TEST_F(History, TellsItsMode)
{
  std::string modes;
  system.registerAction("mode", [&](const auto&) { modes += system.interface()->getUndoModeString() + ";"; });
  after("A: a\nEND\n> mode");
  after("> undo\n> mode\n> redo\n> mode");
  system.onNotification = [&](int type) {
    if (type == 4)
      modes += system.interface()->getUndoModeString() + ";";
  };
  system.run("A: b\nEND\nA: c\nq = 1\nEND");
  EXPECT_EQ(modes, "NORMAL;UNDO;REDO;NORMAL;ERROR RECOVERY;");
  EXPECT_EQ(KSLInterface::getUndoModeString(4) + KSLInterface::getUndoModeString(5),
            "ERROR RECOVERY REDOUNKNOWN");
}

TEST_F(History, NoActionUpdatesRecordWhatTheyLeaveOut)
{
  const Stop before = after("A: k\nx = 0\nB: gone\nEND\nEND");
  system.run("A: k\nx = 9\ny = 1\nEND\nA: n\nx = 1\nEND\n&replace A: r\nEND", kslUpdateNoAction);
  EXPECT_EQ(system.errors(), "");
  EXPECT_EQ(system.state(), "A:k\n  x = 9\n  y = 1\n  B:gone\n  END\nEND\n");
  EXPECT_NE(system.store().find("A: n\n  x = 1\n"), std::string::npos);
  EXPECT_EQ(system.undoSteps(), "2 (5)");
  EXPECT_EQ(after("> undo"), before);
  EXPECT_EQ(after("> redo").state,
            "A:k\n  x = 9\n  y = 1\n  B:gone\n  END\nEND\nA:n\n  x = 1\nEND\nA:r\nEND\n");
}

TEST_F(History, WhatIsDoneOutsideAnyTextIsAStepToo)
{
  after("A: a\nEND");
  after("> undo");
  system.text()->loadKSLData({"A: b", "END", "> update"});
  system.run("> redo");
  EXPECT_EQ(system.errorList().size(), 1U) << "nothing to redo any more";
  EXPECT_EQ(after("> undo").state, "");
}

class Dropper : public ChangeListModifierIF {
 public:
  bool modify(KSLChange& change) override { return change.path.str() != "/A:secret"; }
};

TEST_F(History, AModifierDecidesWhatIsRemembered)
{
  KSLInterface* owner = system.interface();
  auto* modifier = new Dropper;
  owner->registerChangeListModifier(modifier);
  owner->registerChangeListModifier(modifier);
  after("A: secret\nx = 1\nEND\nA: secret\nx = 2\nEND");
  system.run("A: secret\nx = 9\nEND", kslUpdateNoAction);
  EXPECT_EQ(system.undoSteps(), "0") << "a step without changes is none";
  after("A: secret\nx = 3\nEND\nA: a\nx = 1\nEND\nA: secret\nx = 4\nEND");
  EXPECT_EQ(system.undoSteps(), "1 (2)");
  system.registerAction("forget", [&](const auto&) { owner->registerChangeListModifier(nullptr); });
  after("A: b\nEND\n> forget\nA: secret\nx = 5\nEND");  // an open list lets go of its modifier
  EXPECT_EQ(system.undoSteps(), "2 (2)");
  EXPECT_EQ(after("> undo").state, "A:secret\n  x = 4\nEND\nA:a\n  x = 1\nEND\n");
}

}  // namespace
}  // namespace orv
