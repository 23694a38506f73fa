// Change lists applied to the database.
#include "command/Executive.h"

#include "database/DataKSLObject.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "tests/support/TestSystem.h"
#include "tests/support/thrown.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orv {

// An object that runs the test's code when it recomputes.
class Recomputing : public DataKSLObject {
 public:
  static std::function<void(const std::string& path)> onUpdate;
  void update() override
  {
    if (onUpdate)
      onUpdate(getPath());
  }
  KSLObject* clone() const override
  {
    auto copy = std::make_unique<Recomputing>();
    copyInternals(copy.get());
    return copy.release();
  }
};
std::function<void(const std::string& path)> Recomputing::onUpdate;

class ExecutiveTest : public testing::Test {
 protected:
  // Types A and B recompute.
  ExecutiveTest()
  {
    Recomputing::onUpdate = [this](const std::string& path) { updates += path + " "; };
  }
  ~ExecutiveTest() override { Recomputing::onUpdate = nullptr; }

  void update(const KSLChangeList& changes) { executive().update(changes, &history, system.text()); }
  Executive& executive() { return system.executive(); }
  std::string takeHistory()
  {
    const std::string text = TestSystem::render(history);
    history.clear();
    return text;
  }
  std::string takeUpdates() { return std::exchange(updates, {}); }
  std::vector<std::string> createNewObject(const std::string& parent, const std::string& type,
                                           const std::string& name)
  {
    std::vector<std::string> paths;
    for (const KSLObject* object : executive().createNewObject(parent, type, name))
      paths.push_back(object->getPath());
    return paths;
  }

  struct BaseType {
    BaseType() { ObjectFactory::instance()->registerBaseType("Recomputing", new Recomputing); }
  };
  static const char* const rules;
  BaseType baseType;  // before the RULES that name it
  TestSystem system{rules};
  KSLChangeList history{"history"};
  std::string updates;
};

const char* const ExecutiveTest::rules = R"(RULES:
KSLObjectClasses = DataKSLObject, Recomputing
PARAMETER: x
END
OBJECT: A
KSLObject Class = Recomputing
Optional Parameter List = x
END
OBJECT: B
KSLObject Class = Recomputing
Optional Parameter List = x
END
END)";

TEST_F(ExecutiveTest, AppliesChangesAndRecordsTheirInverses)
{
  KSLChangeList changes;
  changes.createParam("/A:a/B:b", "x", "1");
  update(changes);
  EXPECT_EQ(system.state(), "A:a\n  B:b\n    x = 1\n  END\nEND\n");
  EXPECT_EQ(takeHistory(), "drop /A:a/B:b x (1)\n") << "what is made on the way has no inverse";
  EXPECT_EQ(takeUpdates(), "/A:a /A:a/B:b ");
  EXPECT_EQ(system.notifications(), "4 5");

  changes.clear();
  changes.changeParam("/A:a/B:b", "x", "2", "1");
  changes.deleteParam("/A:a/B:b", "x", "2");
  changes.createObject("/A:z/B:y");
  changes.createObject("/A:z");
  changes.deleteObject("/A:a");
  changes.createObject("/B:c");
  changes.deleteObject("/B:none");
  update(changes);
  EXPECT_EQ(system.state(), "A:z\n  B:y\n  END\nEND\nB:c\nEND\n");
  EXPECT_EQ(takeHistory(),
            "change /A:a/B:b x = 1 (2)\nparam /A:a/B:b x = 2\ndelete /A:z/B:y\ndelete /A:z\ncreate /A:a\n"
            "delete /B:c\ncreate /B:none\n");
  EXPECT_EQ(takeUpdates(), "/A:z /A:z/B:y /B:c ");

  EXPECT_EQ(createNewObject("/A:n/B:m", "A", "o"),
            (std::vector<std::string>{"/A:n", "/A:n/B:m", "/A:n/B:m/A:o"}));
  EXPECT_EQ(createNewObject("/A:n", "A", "p"), std::vector<std::string>{"/A:n/A:p"});
}

TEST_F(ExecutiveTest, DoesNothingWithNothing)
{
  update(KSLChangeList());
  executive().updateNoAction(KSLChangeList(), &history, system.text());
  EXPECT_EQ(system.notifications() + takeUpdates() + takeHistory(), "");
  KSLChangeList changes;
  changes.deleteObject("/A:a");
  update(changes);
  EXPECT_EQ(system.notifications(), "4 5") << "a change that finds nothing is a change";
}

TEST_F(ExecutiveTest, TakesChangesInAnyOrder)
{
  struct Case {
    const char* name;
    std::vector<KSLChange> changes;
    const char* state;
  };
  const auto make = [](const char* path) { return KSLChange::createObject(SharedText(path)); };
  const auto drop = [](const char* path) { return KSLChange::deleteObject(SharedText(path)); };
  const auto set = [](const char* path, const char* value) {
    return KSLChange::createParam(SharedText(path), SharedText("x"), SharedText(value));
  };
  const auto unset = [](const char* path) {
    return KSLChange::deleteParam(SharedText(path), SharedText("x"), SharedText("1"));
  };
  const Case cases[] = {
      {"made, deleted, made",
       {make("/A:a"), set("/A:a", "1"), drop("/A:a"), make("/A:a"), set("/A:a", "2")},
       "A:a\n  x = 2\nEND\n"},
      {"deleted above",
       {set("/A:a/B:b", "1"), drop("/A:a"), set("/A:a/B:b", "2")},
       "A:a\n  B:b\n    x = 2\n  END\nEND\n"},
      {"deleted beside",
       {set("/A:a", "1"), make("/A:ab"), drop("/A:a"), set("/A:ab", "2")},
       "A:ab\n  x = 2\nEND\n"},
      {"waiting is deleted again",
       {make("/A:a"), make("/A:a/B:b"), make("/A:c"), drop("/A:a")},
       "A:c\nEND\n"},
      {"deleted, waiting anew", {make("/A:a"), drop("/A:a"), make("/A:a")}, "A:a\nEND\n"},
      {"those that wait come first",
       {make("/A:b"), make("/A:a"), set("/A:c", "1"), make("/A:d")},
       "A:b\nEND\nA:a\nEND\nA:c\n  x = 1\nEND\nA:d\nEND\n"},
      {"on what is missing", {unset("/A:a"), unset("/A:a/B:b"), drop("/A:a/B:b")}, ""},
      {"parameters of what is gone", {set("/A:a", "1"), drop("/A:a"), unset("/A:a")}, ""},
  };
  for (const Case& entry : cases) {
    SCOPED_TRACE(entry.name);
    KSLChangeList changes;
    for (const KSLChange& change : entry.changes)
      changes.add(change);
    update(changes);
    EXPECT_EQ(system.state(), entry.state);
    for (const char* top : {"/A:a", "/A:ab", "/A:b", "/A:c", "/A:d"}) {
      if (ObjectDB::instance()->hasObject(top))
        ObjectDB::instance()->deleteObject(top);
    }
  }
}

TEST_F(ExecutiveTest, WithoutActionOnlySetsWhatIsThere)
{
  KSLChangeList changes;
  changes.createParam("/A:a", "x", "1");
  update(changes);
  takeUpdates();
  takeHistory();
  system.notifications();
  changes.clear();
  changes.createObject("/A:b");
  changes.createParam("/A:b", "x", "1");
  changes.changeParam("/A:a", "x", "2", "1");
  changes.deleteParam("/A:a", "x", "2");
  changes.deleteObject("/A:a");
  executive().updateNoAction(changes, &history, system.text());
  EXPECT_EQ(system.state(), "A:a\n  x = 2\nEND\n");
  EXPECT_EQ(takeUpdates() + system.notifications(), "");
  EXPECT_EQ(takeHistory(),
            "delete /A:b\ndrop /A:b x (1)\nchange /A:a x = 1 (2)\nparam /A:a x = 2\ncreate /A:a\n");
}

TEST_F(ExecutiveTest, IsWholeAfterAFailure)
{
  KSLChangeList changes;
  changes.createParam("/A:a", "x", "1");
  changes.createParam("/A:a", "none", "1");
  changes.createParam("/A:b", "x", "1");
  EXPECT_THROW(update(changes), data::notFound);
  EXPECT_EQ(takeHistory(), "drop /A:a x (1)\n");
  EXPECT_EQ(system.state(), "A:a\n  x = 1\nEND\n");
  Recomputing::onUpdate = [](const std::string&) { throw 1; };
  changes.clear();
  changes.createParam("/A:b", "x", "1");
  changes.createParam("/A:c", "x", "1");
  EXPECT_THROW(update(changes), int);
  EXPECT_EQ(system.notifications(), "4 5");
  Recomputing::onUpdate = [this](const std::string& path) { updates += path + " "; };
  KSLChangeList other("another history");
  changes.clear();
  changes.changeParam("/A:a", "x", "2", "1");
  executive().update(changes, &other, system.text());
  EXPECT_EQ(takeUpdates(), "/A:a ") << "nothing is left to be done from before";
}

TEST_F(ExecutiveTest, ObjectsMayUpdateOthersWhileTheyRecompute)
{
  KSLChangeList changes;
  for (const char* path : {"/A:a", "/A:b", "/A:c"})
    changes.createParam(path, "x", "1");
  KSLChangeList nested;
  nested.createParam("/B:n", "x", "1");
  KSLChangeList foreign;
  Recomputing::onUpdate = [&](const std::string& path) {
    updates += path + " ";
    if (path != "/A:a")
      return;
    EXPECT_EQ(thrown<internal::error>([&] { executive().update(nested, &foreign, system.text()); }),
              ErrorMsg("Executive", "update",
                       "Executive::update() called with differentKSLChangeList from higher invocation.", 4));
    executive().update(nested, &history, system.text());
  };
  update(changes);
  EXPECT_EQ(takeUpdates(), "/A:a ") << "the nested update ends the outer one's work";
  EXPECT_EQ(takeHistory(), "drop /A:a x (1)\ndrop /A:b x (1)\ndrop /A:c x (1)\ndrop /B:n x (1)\n");
  EXPECT_EQ(system.notifications(), "4 5");
}

TEST_F(ExecutiveTest, RecomputesParentsBeforeChildrenEachOnce)
{
  system.run("A: b\nx = 1\nx = 2\nA: c\nx = 1\nEND\nEND\nA: a\nx = 1\nEND\n> delete /A:a", kslUpdateAtEnd);
  EXPECT_EQ(takeUpdates(), "/A:a /A:b /A:b/A:c ");
  Recomputing::onUpdate = [&](const std::string& path) {
    if (path == "/A:b")
      throw data::invalid("Test", "update", "cannot");
  };
  system.run("A: a\nEND\nA: b\nx = 3\nEND");
  EXPECT_EQ(system.errors(),
            "error[4] Test::update: cannot\nerror[4] Test::update: cannot\n"
            "error[1] KSLInterface::parseHistory: An attempt to recover from a previous error has "
            "failed.\n  The application is likely to be in an unstable state.");
}

TEST_F(ExecutiveTest, ForcedUpdatesReportWhatTheyCannotDoAndGoOn)
{
  system.run("A: a\nx = 1\nEND");
  system.notifications();
  system.interface()->forceUpdate({"/A:none", "A:a", "none", "/A:a", "a"});
  const auto missing = [](const std::string& name) {
    return ErrorMsg("Executive", "forceUpdate", "Object '" + name + "' does not exist. Update ignored.", 8);
  };
  const auto plain = [](const std::string& name) {
    return ErrorMsg("Executive", "forceUpdate", "Bad cast of KSLObject '" + name + "' to GeometricKSLObject.",
                    32);
  };
  EXPECT_EQ(system.errorList(),
            (std::vector{missing("/A:none"), missing("A:a"), missing("none"), plain("/A:a"), plain("a")}));
  EXPECT_EQ(system.notifications(), "4 5");
}

TEST_F(ExecutiveTest, NeedsAFactoryForActions)
{
  EXPECT_EQ(thrown<ksl::invalid>([&] { executive().doAction(""); }),
            ErrorMsg("Executive", "doAction", "Empty action line.", 4));
  EXPECT_EQ(thrown<internal::badParam>([&] { executive().doAction(" "); }),
            ErrorMsg("ActionFactory", "getExecutor", "Input parameter p_action is empty.", 4));
  static std::string told;
  const AssertionHandler former = setAssertionHandler(
      [](std::string_view text, std::string_view source) { told.append(text).append("@").append(source); });
  executive().setActionFactory(nullptr);
  EXPECT_EQ(thrown<internal::error>([&] { executive().doAction("update"); }),
            ErrorMsg("Executive", "doAction", "Pointer to ActionFactory not set.", 4));
  setAssertionHandler(former);
  EXPECT_EQ(told, "m_actionFactory@KSLCore/src/Executive");
}

// ----------------------------------------------------------------------------------------------- text and database

TEST(ExecutiveAndStore, AgreeOnEveryHeader)
{
  TestSystem system;
  const std::pair<const char*, const char*> cases[] = {
      {"A:\nx = 1\nEND", "A:A\n  x = 1\nEND\n"},
      {"A: A\nx = 2\nEND", "A:A\n  x = 2\nEND\n"},
      {"VIEW: VIEW\nZoom = 2\nEND", "A:A\n  x = 2\nEND\nVIEW:\n  Zoom = 2\nEND\n"},
      {"VIEW:\nZoom =\nLABEL: \"l  m\"\nEND\nEND",
       "A:A\n  x = 2\nEND\nVIEW:\n  LABEL:l m\n    Text = none\n  END\nEND\n"},
      {"A: b:c\nx = 1\nB: d.\nEND\nB: ..e\nEND\nEND\n> delete /VIEW, /A:A",
       "A:b:c\n  x = 1\n  B:d.\n  END\n  B:..e\n  END\nEND\n"},
      {"> delete /A:b:c/B:d.\n> delete b:c", ""},
  };
  for (const auto& [text, state] : cases) {
    system.run(text);
    EXPECT_EQ(system.state() + system.errors(), state) << text;
    system.expectConsistent();
  }
}

TEST(ExecutiveAndStore, DropReferencesToWhatIsDeleted)
{
  TestSystem system;
  system.run("A: a\nEND\nA: b\nEND\nCUT: c\nOption = Plane\nCuts = /A:a, /A:b\nEND");
  const ObjectDB* database = ObjectDB::instance();
  KSLObject* cut = database->getObjectByPath("/CUT:c");
  for (const char* path : {"/A:a", "/A:b"})
    database->getObjectByPath(path)->addDependent(cut, cut->getParam("Cuts"));
  const std::string before = system.state();
  system.run("> delete /A:b");
  EXPECT_EQ(cut->getValue("Cuts"), "/A:a");
  system.expectConsistent();
  system.run("> undo");
  EXPECT_EQ(system.state(), before);
  system.expectConsistent();
  system.run("> redo");
  EXPECT_EQ(cut->getValue("Cuts"), "/A:a");
  system.expectConsistent();
  system.registerAction("drop", [&](const auto&) { system.text()->deleteObj("/A:a"); });
  system.run("> drop\n> update");
  EXPECT_EQ(cut->getValue("Cuts"), "");
  system.expectConsistent();
  EXPECT_EQ(system.undoSteps(), "3 (2)") << "the store knew, and left nothing for the second update";
  EXPECT_EQ(system.errors(), "");
}

}  // namespace orv
