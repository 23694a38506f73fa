// What computes, when, and what it depends on: commands in, calculations and values out.
#include "tests/command/ComputeTest.h"

#include "rules/ExpressionNames.h"
#include "actions/ForceUpdateExecutor.h"
#include "tests/support/thrown.h"

#include <algorithm>
#include <rapidcheck/gtest.h>

namespace orv::test {
namespace {

TEST_F(ComputeTest, AChangeRecalculatesWhatDependsOnIt)
{
  EXPECT_EQ(run(node("c", "Source = b, a") + node("b", "Source = a") + node("a")), "a b c");
  EXPECT_EQ(run(node("b", "Value = 1")), "b c");
  EXPECT_EQ(run(node("b", "Note = 1")), "");
  EXPECT_EQ(run(node("a", "Value = 1") + node("c", "Value = 2")), "a b c");
  EXPECT_EQ(run(node("c", "Source = b")), "c");
  EXPECT_EQ(parents("/NODE:c"), "/NODE:b");
  EXPECT_EQ(undo(), "c");
  EXPECT_EQ(parents("/NODE:c"), "/NODE:a /NODE:b");
  EXPECT_EQ(run(node("c", "Source =")), "c");
  EXPECT_EQ(run(node("a", "Value = 3")), "a b");
  EXPECT_EQ(m_system.errors(), "");
}

// Every word is the name of a parameter beside.
class LocalNames : public ExpressionNames {
 public:
  LocalNames() { install(this); }
  ~LocalNames() override { install(nullptr); }
  Uses namesIn(const KSLObject&, const ParamDefinition&, const std::string& text) const override
  {
    Uses uses;
    uses.locals = StringUtilities::stringToVector(text, ' ');
    return uses;
  }
  Variable findVariable(const KSLObject&, const std::string&, std::vector<NameQuestion>&) const override
  {
    return {};
  }
  KSLObject* findLocation(const KSLObject&, const std::string&) const override { return nullptr; }
  KSLObject* findFunction(const KSLObject&, const std::string&) const override { return nullptr; }
};

TEST_F(ComputeTest, WhatStandsForAnotherParameterChangesWithIt)
{
  const LocalNames names;
  run(node("a", "Note = 1\nFormula = Note") + node("b", "Source = a"));
  EXPECT_EQ(run(node("a", "Note = 2")), "a b");
  EXPECT_EQ(undo(), "a b");
  EXPECT_EQ(run(node("a", "Formula =")), "a b");
  EXPECT_EQ(run(node("a", "Note = 2")), "");
  EXPECT_EQ(m_system.errors(), "");
}

TEST_F(ComputeTest, TargetsThatComeLaterAreLinkedOrMissed)
{
  m_system.run(node("b", "Source = a") + node("a"), kslUpdateDefault);  // an update after each block
  EXPECT_EQ(m_system.errorList(), std::vector<ErrorMsg>{missing("a", "Source")});
  EXPECT_EQ(take(), "");
  expectRefused(node("b", "Source = a, x") + node("a"), missing("x", "Source"));
  run(node("a"));
  run(node("b", "Source = a"));
  expectRefused(node("b", "Value = 1\nSource = a, x"), missing("x", "Source"));
  EXPECT_EQ(run(node("a", "Value = 1")), "a b");  // the refused text left the link
}

TEST_F(ComputeTest, DeletionTakesReferencesAwayAndUndoBringsThemBack)
{
  run(node("c") + node("u", "Source = c, /GROUP:g/NODE:b, /GROUP:g/NODE:a")
      + node("v", "Inside = b\nSource = /NODE:c") + node("w", "Source = v") + "GROUP: g\n" + node("a")
      + node("b") + "END\n");
  EXPECT_EQ(parents("/NODE:u"), "/GROUP:g/NODE:a /GROUP:g/NODE:b /NODE:c");
  const std::string before = m_system.fullState();
  const std::string storeBefore = m_system.store();

  EXPECT_EQ(sorted(run("> delete /GROUP:g"), ' '), "u v w");
  EXPECT_EQ(value("/NODE:u", "Source"), "c");
  EXPECT_EQ(value("/NODE:v", "Inside"), "");
  EXPECT_EQ(m_system.undoSteps().substr(0, 1), "2");
  const std::string after = m_system.fullState();
  m_system.expectConsistent();

  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(sorted(undo(), ' '), "a b u v w");
    EXPECT_EQ(m_system.fullState(), before);
    EXPECT_EQ(m_system.store(), storeBefore);
    EXPECT_EQ(parents("/NODE:u"), "/GROUP:g/NODE:a /GROUP:g/NODE:b /NODE:c");
    EXPECT_EQ(parents("/NODE:v"), "/GROUP:g/NODE:b /NODE:c");
    redo();
    EXPECT_EQ(m_system.fullState(), after);
  }
  EXPECT_EQ(m_system.errors(), "");
  EXPECT_EQ(sorted(run(node("c", "Value = 1")), ' '), "c u v w");
}

// The list order is lost; redo must not sort it a second time, nor undo take the list for the rewritten one.
TEST_F(ComputeTest, HistoryDoesNotCollectRewritesAgain)
{
  run(node("y"));
  run(node("u", "Source = y"));
  run(node("u", "Source = x") + node("x"));
  undo();
  EXPECT_EQ(value("/NODE:u", "Source"), "y");
  EXPECT_EQ(parents("/NODE:u"), "/NODE:y");
  redo();
  run(node("u", "Source = y, x, b") + node("b"));
  run("> delete x");
  EXPECT_EQ(value("/NODE:u", "Source"), "b,y");
  const std::string steps = m_system.undoSteps();
  undo();
  EXPECT_EQ(value("/NODE:u", "Source"), "y, x, b");
  redo();
  EXPECT_EQ(value("/NODE:u", "Source"), "b,y");
  EXPECT_EQ(m_system.undoSteps(), steps);
  EXPECT_EQ(m_system.errors(), "");
}

// Whatever became of the objects before, their deletion finds who refers to them: Beside makes no scheduler links, which
// would tell.
TEST_F(ComputeTest, TargetsThatComeBackKnowWhoRefersToThem)
{
  const auto dependents = [] {
    std::string text;
    for (const char* path : {"/NODE:a", "/GROUP:g"})
      for (const Dependent& dependent : ObjectDB::instance()->getObjectByPath(path)->getDependents())
        text += dependent.getObjPath() + "." + dependent.getParamName() + " ";
    return text;
  };
  run("GROUP: g\nEND\n" + node("a") + node("u", "Source = a") + node("w", "Beside = /NODE:a, g"));
  const std::string all = "/NODE:u.Source /NODE:w.Beside /NODE:w.Beside ";
  EXPECT_EQ(dependents(), all);
  run("&replace GROUP: g\nEND\n");
  EXPECT_EQ(dependents(), all);
  run("&replace GROUP: g\nEND\n" + node("w", "Beside = x"));
  EXPECT_EQ(m_system.errorList(), std::vector<ErrorMsg>{missing("x", "Beside")});
  EXPECT_EQ(dependents(), all);
  EXPECT_EQ(value("/NODE:w", "Beside"), "/NODE:a, g");
}

TEST_F(ComputeTest, CirclesAreRefusedUnlessTheyArePassing)
{
  expectRefused(node("a", "Source = b") + node("b", "Source = a"), cyclic("a", "b"));
  EXPECT_EQ(run(node("a", "Source = b") + node("b") + node("c", "Source = a")), "b a c");
  expectRefused(node("b", "Source = c"), cyclic("c", "b"));
  run(node("c", "Source ="));
  EXPECT_EQ(run(node("b", "Source = a") + node("a", "Source =")), "a b");
  EXPECT_EQ(parents("/NODE:b") + parents("/NODE:a"), "/NODE:a");
  EXPECT_EQ(undo(), "b a");
  EXPECT_EQ(parents("/NODE:a") + parents("/NODE:b"), "/NODE:b");
  EXPECT_EQ(m_system.errors(), "");
}

TEST_F(ComputeTest, DefaultsThatNameObjectsWaitAndKeywordsNameNone)
{
  EXPECT_EQ(run("USER: u\nEND\n" + node("k")), "k u");
  EXPECT_EQ(m_system.errors(), "");
  run(node("main"));
  EXPECT_EQ(run("USER: u\nMain = main\nEND\n"), "u");  // as the default says
  EXPECT_EQ(run(node("main", "Value = 1")), "main u");
  run("USER: u2\nEND\n");
  EXPECT_EQ(parents("/USER:u2"), "/NODE:main");
  expectRefused("USER: u\nMain = other\nEND\n", missing("other", "Main"));

  EXPECT_EQ(run(node("p") + node("k", "Pick = p")), "k p");  // a keyword, whoever has that name
  run("> delete p");
  EXPECT_EQ(value("/NODE:k", "Pick"), "p");
  run("> delete /NODE:main");
  EXPECT_EQ(value("/USER:u", "Main") + parents("/USER:u"), "main");  // it waits again
  undo();
  EXPECT_EQ(parents("/USER:u"), "/NODE:main");
  EXPECT_EQ(m_system.errors(), "");
}

TEST_F(ComputeTest, NamesAreSoughtPlaceByPlace)
{
  run("GROUP: g\n" + node("a") + node("b") + "END\n" + node("a") + node("t", "Inside = a\nSource = a"));
  EXPECT_EQ(parents("/NODE:t"), "/GROUP:g/NODE:a /NODE:a");
  run("NODE: t\nSource = NODE:own, b2, a\n" + node("own") + "END\n" + node("own") + node("b2"));
  EXPECT_EQ(parents("/NODE:t"), "/GROUP:g/NODE:a /NODE:a /NODE:b2 /NODE:t/NODE:own");
  const ErrorMsg ambiguous("GenericKSLObject", "makeParentLinks",
                           "More than one object with name 'a' exists.", 4);
  run("USER: a\nEND\n");
  expectRefused(node("t2", "Source = a"), ambiguous);
  EXPECT_EQ(run(node("a", "Value = 1")), "a t");  // linked while the name was clear
  EXPECT_EQ(run("USER: a\nEND\n" + node("t2", "Source = NODE:a")), "t2");
}

// A name that is ambiguous, or leads to an unfit object, half-way through an undo is judged at its end.
TEST_F(ComputeTest, UndoPassesThroughStatesThatWouldBeRefused)
{
  run(node("a") + node("t", "Source = a"));
  run("USER: a\nEND\n" + node("t", "Source ="));
  undo();
  EXPECT_EQ(value("/NODE:t", "Source") + parents("/NODE:t"), "a/NODE:a");
  run("> delete a");
  run("GROUP: a\nEND\n" + node("t", "Value = 1"));
  undo();
  undo();
  EXPECT_EQ(value("/NODE:t", "Source") + parents("/NODE:t"), "a/NODE:a");
  EXPECT_EQ(m_system.errors(), "");
}

TEST_F(ComputeTest, ACaughtFailureOfACalculationIsTold)
{
  run(node("a") + node("b", "Source = a") + node("c", "Source = b"));
  SchedulerObject::setCatchExceptions(true);
  Computing::onCalculate = [](Computing& object) {
    if (object.nameIs("b"))
      throw data::error("B", "calculate", "no");
  };
  EXPECT_EQ(run(node("a", "Value = 3")), "a b c");
  EXPECT_EQ(m_system.errors(), "error[4] B::calculate: no");
  EXPECT_EQ(value("/NODE:a", "Value"), "3");
}

// A link that a calculation makes on a scheduler that is being walked takes effect at the next update.
TEST_F(ComputeTest, CalculationsMayChangeObjects)
{
  run(node("a") + node("b", "Source = a") + node("c") + node("d"));
  Computing::onCalculate = [](Computing& object) {
    if (!object.nameIs("b"))
      return;
    KSLObject* c = ObjectDB::instance()->getObjectByPath("/NODE:c");
    c->setValue("Source", "a, d");
    EXPECT_EQ(parents("/NODE:c"), "/NODE:d");
    EXPECT_EQ(static_cast<GenericKSLObject*>(c)->getDelayedParams(), std::vector<std::string>{"Source"});
    c->setValue("Source", "NODE:a, NODE:x:y/z");  // waits, and fails nobody
    c->update();
    c->setValue("Source", "a, d");
  };
  run(node("a", "Value = 1"));
  Computing::onCalculate = nullptr;
  run(node("c", "Value = 1"));
  EXPECT_EQ(parents("/NODE:c"), "/NODE:a /NODE:d");
  EXPECT_EQ(run(node("c", "Value = 2\nNote = 3")), "c");
  EXPECT_EQ(run(node("a", "Value = 2")).substr(0, 1), "a");

  Computing::onCalculate = [](Computing& object) {
    ObjectDB* database = ObjectDB::instance();
    if (object.nameIs("a") && database->hasObject("/NODE:b"))
      database->deleteObject("/NODE:b");
    if (object.nameIs("d"))
      database->deleteObject("/NODE:d");  // itself
  };
  run(node("e", "Source = b"));
  EXPECT_EQ(run(node("a", "Value = 4")), "a c");
  EXPECT_EQ(run(node("e", "Value = 4")), "e");  // its target waits to be made again
  EXPECT_EQ(value("/NODE:e", "Source"), "b");
  EXPECT_EQ(run(node("d", "Value = 4")), "d");
  EXPECT_EQ(m_system.errors(), "");
}

// Outline brings every walk from a through b to s, and each refuses the link from a to the stage before.
TEST_F(ComputeTest, ALinkThatEveryWalkRefusesIsMadeByTheNextCommand)
{
  run(node("a") + node("b", "Source = a") + node("c") + "STAGED: s\nOutline = b\nEND\n");
  Computing::onCalculate = [](Computing& object) {
    KSLObject* staged = ObjectDB::instance()->getObjectByPath("/STAGED:s");
    if (!object.nameIs("b") || !staged->getValue("Source").empty())
      return;
    ObjectDB::instance()->getObjectByPath("/NODE:c")->setValue("Source", "a, missing");
    staged->setValue("Source", "a");
    staged->getSchedulerObject("Data")->update();
  };
  EXPECT_EQ(run(node("a", "Value = 1")), "a b s s:Geometry");
  EXPECT_EQ(parents("/STAGED:s"), "/NODE:b");
  EXPECT_EQ(run(node("b", "Value = 1")), "b c s s:Geometry");
  EXPECT_EQ(parents("/STAGED:s") + parents("/NODE:c"), "/NODE:a /NODE:b/NODE:a");
  EXPECT_EQ(m_system.errors(), "");  // what c misses is for those who set it, or another of its parameters
}

TEST_F(ComputeTest, ForcedUpdates)
{
  run(node("a") + node("b", "Source = a") + "GROUP: g\nEND\nGROUP: b\nEND\n");
  m_system.notifications();
  EXPECT_EQ(run("> forceupdate a, /NODE:none, NODE:b, /GROUP:g, b, x"), "a b b");
  EXPECT_EQ(m_system.errors(),
            "warning[8] Executive::forceUpdate: Object '/NODE:none' does not exist. Update ignored.\n"
            "error[32] Executive::forceUpdate: Bad cast of KSLObject '/GROUP:g' to GeometricKSLObject.\n"
            "error[4] ObjectDB::getObjectByName: Object name b is ambiguous.\n"
            "warning[8] Executive::forceUpdate: Object 'x' does not exist. Update ignored.");
  EXPECT_EQ(m_system.notifications(), "0 4 5 16 1");
  EXPECT_EQ(run("> fu \"a\", \"/NODE: b\", //a:b:c/:, /"), "a b b");
  EXPECT_EQ(m_system.errorList().size(), 2u);
  ForceUpdateExecutor executor(&m_system.executive());
  EXPECT_EQ(thrown<internal::badParam>([&] { executor.invoke({"update"}); }).getMessage(),
            "Action 'update' cannot be handled by ForceUpdateExecutor.");
  EXPECT_EQ(thrown<ksl::invalid>([&] { executor.invoke({"fu"}); }).getMessage(),
            "Action 'forceupdate' requires at least 1 argument(s). Received 0 argument(s).");
}

TEST_F(ComputeTest, NoActionUpdatesLinkLater)
{
  run(node("a") + node("b"));
  m_system.run(node("b", "Source = a\nValue = 1"), kslUpdateNoAction);
  EXPECT_EQ(take() + parents("/NODE:b"), "");
  EXPECT_EQ(run(node("b", "Note = 1")), "b");  // it has got a parent
  EXPECT_EQ(run(node("a", "Value = 1")), "a b");
}

// Random commands over a few objects. After each, the graph must show exactly what the texts name, all is up to
// date, and undo and redo walk through the same states.
RC_GTEST_FIXTURE_PROP(ComputeTest, LinksAreWhatTheTextsSay, ())
{
  const auto names = rc::gen::element<std::string>("a", "b", "c", "d", "g");
  std::vector<std::string> states{sortedState()};
  const auto check = [&] {
    for (KSLObject* object : ObjectDB::instance()->getObjectsByType("NODE")) {
      std::string expected;
      std::set<std::string> targets;
      for (const char* param : {"Source", "Pick", "Inside", "Shape"})
        for (const std::string& item : object->getParam(param)->splitValue())
          if (item != "None")
            targets.insert("/NODE:" + item);
      for (const std::string& path : targets)
        expected += (expected.empty() ? "" : " ") + path;
      RC_ASSERT(parents(object->getPath()) == expected);
      RC_ASSERT(!object->getSchedulerObject("Data")->isPending());
    }
    RC_ASSERT(m_system.inconsistencies() == "");
  };
  for (int i = *rc::gen::inRange(1, 25); i > 0; --i) {
    std::string text;
    for (int blocks = *rc::gen::inRange(1, 4); blocks > 0; --blocks) {
      const std::string name = *names;
      switch (*rc::gen::inRange(0, 6)) {
        case 0:
          text += "> delete " + name + "\n";
          break;
        case 1:
          text += "&replace " + node(name, "Source = " + *names);
          break;
        case 2:
          text += node(name);
          break;
        case 3:
          text += node(name, "Source =");
          break;
        default:
          text += node(name, "Source = " + *names + ", " + *names + "\nValue = " + std::to_string(i));
      }
    }
    const std::size_t steps = m_system.interface()->getUndoStack().size();
    const std::string before = sortedState();
    RC_LOG() << "---- command\n" << text;
    run(text);
    if (!m_system.errorList().empty())
      RC_ASSERT(sortedState() == before);
    else if (m_system.interface()->getUndoStack().size() > steps)
      states.push_back(sortedState());
    check();
  }
  for (std::size_t i = 0; i < 2 * (states.size() - 1); ++i) {
    i < states.size() - 1 ? undo() : redo();
    RC_ASSERT(m_system.errors() == "");
    check();
  }
  RC_ASSERT(sortedState() == states.back());
}

}  // namespace
}  // namespace orv::test
