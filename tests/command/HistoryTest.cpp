// Undo and redo of what went well.
#include "platform/ORVProgress.h"
#include "database/DBChangeNotify.h"
#include "database/DataKSLObject.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "command/HistoryStack.h"
#include "tests/support/TestSystem.h"

#include <cstddef>
#include <functional>
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

// Who watches is told of each parameter: objects are made anew then.
class Nobody : public ProgressWatcher {
 public:
  Nobody() { ProgressWatcher::set(this); }
  ~Nobody() override { ProgressWatcher::set(nullptr); }
  void stepped(const Progress*) override {}
};

using Objects = std::vector<KSLObject*>;

std::string seenOf(const KSLObject& object)
{
  std::string seen = object.getPath() + (object.hasValidData() ? " valid" : "")
                     + (object.searchesUpForRelativeObjects() ? " searches" : "")
                     + (object.isPendingDelete() ? " goes" : "") + (object.isA("staging") ? " staging" : "")
                     + (object.isA("deletable") ? " deletable" : "") + " in "
                     + object.getParentObject()->getName();
  object.forEachParam([&](const ParamDefinition& param) {
    seen += "; " + param.getName() + " = " + param.getValue() + (param.hasBeenSet() ? " set" : "")
            + (param.isChanged() ? " changed" : "");
  });
  return seen + "\n";
}

void useObjects()
{
  for (KSLObject* object : ObjectDB::instance()->getAllObjects()) {
    object->clearChangedParameters();
    object->setSearchUpForRelativeObjects(true);
    object->setValidData(false);
    for (const std::string& name : object->getParamNames(externalParams))
      if (object->typeIs("B"))
        (void)object->getParam(name);
  }
}

void setPrototype(const char* name, const char* value)
{
  const_cast<KSLObject*>(ObjectFactory::instance()->findPrototype("A"))->setValue(name, value);
}

// An undo keeps objects for its redo; nobody can tell them from new ones, whatever had been done with them, and to their
// type meanwhile.
TEST_F(History, WhatARedoPutsBackIsAsIfItWereMadeAnew)
{
  const struct {
    std::function<void()> before;
    std::function<void()> between;
  } roads[] = {
      {[] {}, [] {}},
      {&useObjects, [] {}},
      {[] {}, [] { setPrototype("z", "begins so"); }},
      {[] { ObjectDB::instance()->getObjectByPath("/A:g")->setValue("y", "by another"); }, [] {}},
      {[] { ObjectDB::instance()->getObjectByPath("/B:e")->setValue("z", "by another"); }, [] {}},
  };
  for (const auto& road : roads) {
    std::string seen[2];
    for (const bool isWatched : {true, false}) {
      setPrototype("z", "");
      after(
          "A: a\nx = 1\ny = 2\nB: b\ny = 2\nx = 4\nEND\nCUT: c\nColour = red\nEND\nz = 5\nEND\nB: e\nx "
          "=\nEND\n"
          "VIEW:\nZoom = 2\nEND\nA: f\nEND\nA: g\ny = 2\nEND");
      road.before();
      system.undo();
      road.between();
      const auto watcher = isWatched ? std::make_unique<Nobody>() : nullptr;
      system.redo();
      for (const KSLObject* object : ObjectDB::instance()->getAllObjects())
        seen[isWatched] += seenOf(*object);
      system.undo();
    }
    EXPECT_EQ(seen[0], seen[1]);
    EXPECT_NE(seen[0], "");
  }
}

TEST_F(History, ObjectsComeBackWhereNobodyObserves)
{
  std::string text;
  for (int i = 0; i < 40; ++i)
    text += "A: a" + std::to_string(i) + "\nx = 1\nB: b\ny = 2\nEND\nEND\n";
  after(text.c_str());
  const Objects made = ObjectDB::instance()->getAllObjects();
  std::vector<std::unique_ptr<std::byte[]>> taken;  // what is freed is not found again
  const auto undoAndRedo = [&] {
    system.undo();
    for (std::size_t i = 0; i < 2 * made.size(); ++i)
      taken.push_back(std::make_unique<std::byte[]>(sizeof(DataKSLObject)));
    system.redo();
    return ObjectDB::instance()->getAllObjects();
  };
  EXPECT_EQ(undoAndRedo(), made);
  EXPECT_EQ(undoAndRedo(), made) << "again";
  class Observer : public DBChangeNotify {
   public:
    int told = 0;
    void objectAdded(const KSLObject* object) override { told += object->getValue("x").empty(); }
    void objectDeleteBegin(const KSLObject*) override {}
    void objectDeleteEnd(const std::string&, const KSLObject*) override {}
    void paramChanged(const KSLObject*, const ParamDefinition*) override { ++told; }
    void paramDeleted(const KSLObject*, const std::string&) override {}
  } observer;
  system.undo();
  ObjectDB::instance()->registerChangeNotify(&observer);
  system.redo();
  ObjectDB::instance()->registerChangeNotify(nullptr);
  EXPECT_EQ(observer.told, 160) << "each object without parameters, and each of these";
  EXPECT_EQ(system.errors(), "");
}

}  // namespace
}  // namespace orv
