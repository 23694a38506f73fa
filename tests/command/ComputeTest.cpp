// What computes, when, and what it depends on: commands in, calculations and values out.
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "rules/GenericKSLObject.h"
#include "tests/support/TestSystem.h"
#include "tests/support/thrown.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <set>

namespace orv {
namespace {

const char* const computeRules = R"(RULES:
  Categories = deletable
  KSLObjectClasses = DataKSLObject, Computing
  SchedulerTypes = Data, Geometry
  PARAMETER: Value
    Local Type = Data
  END
  PARAMETER: Note
  END
  PARAMETER: Source
    Parameter Type = String List
    Local Type = Data
    Remote Type = Data
  END
  PARAMETER: Main
    Local Type = Data
    Remote Type = Data
    Default = main
  END
  PARAMETER: Pick
    Local Type = Data
    Remote Type = Data
    Allowed String List = None, p, q
    Default = None
  END
  PARAMETER: Inside
    Local Type = Data
    Remote Type = Data
    Remote Path = /GROUP:g
  END
  PARAMETER: Outline
    Local Type = Geometry
    Remote Type = Data
  END
  PARAMETER: Beside
    Parameter Type = String List
    Local Type = Geometry
    Remote Type = Data
  END
  OBJECT: NODE
    KSLObject Class = Computing
    Category = deletable
    Scheduler = Data
    Optional Parameter List = Value, Note, Source, Pick, Inside, Beside
  END
  OBJECT: STAGED
    KSLObject Class = Computing
    Scheduler = Data, Geometry
    Scheduler Links = Data, Geometry
    Optional Parameter List = Source, Outline
  END
  OBJECT: USER
    KSLObject Class = Computing
    Scheduler = Data
    Optional Parameter List = Main, Value
  END
  OBJECT: GROUP
    KSLObject Class = DataKSLObject
    Category = deletable
    Optional Parameter List = Note
  END
END
)";

// Logs its calculations, and does in them what the test wants.
class Computing : public GenericKSLObject {
 public:
  inline static std::string log;
  inline static std::function<void(Computing&)> onCalculate;
  inline static std::function<void(Computing&)> onUpdate;

  KSLObject* clone() const override
  {
    auto copy = std::make_unique<Computing>();
    copyInternals(copy.get());
    return copy.release();
  }
  void update() override
  {
    if (onUpdate)
      onUpdate(*this);
    GenericKSLObject::update();
  }
  void calculate(const std::string& type) override
  {
    log += (log.empty() ? "" : " ") + getName() + (type == "Data" ? "" : ":" + type);
    if (onCalculate)
      onCalculate(*this);
  }
};

class ComputeTest : public ::testing::Test {
 protected:
  // Before the system reads its RULES.
  struct BaseType {
    BaseType() { ObjectFactory::instance()->registerBaseType("Computing", std::make_unique<Computing>()); }
    ~BaseType()
    {
      Computing::log.clear();
      Computing::onCalculate = nullptr;
      Computing::onUpdate = nullptr;
    }
  } m_baseType;
  TestSystem m_system{computeRules};

  // What one command calculates.
  std::string run(const std::string& text)
  {
    m_system.run(text, kslUpdateAtEnd);
    return take();
  }
  static std::string take() { return std::exchange(Computing::log, {}); }
  std::string undo()
  {
    m_system.undo();
    return take();
  }
  // Deleted objects come back behind their siblings.
  std::string sortedState() const
  {
    std::vector<std::string> lines = StringUtilities::stringToVector(m_system.fullState(), '\n');
    std::ranges::sort(lines);
    return StringUtilities::vectorToString(lines, '\n');
  }
  static std::string node(const std::string& name, const std::string& lines = {})
  {
    return "NODE: " + name + "\n" + lines + "\nEND\n";
  }
  static std::string value(const std::string& path, const std::string& param)
  {
    const KSLObject* object = ObjectDB::instance()->getObjectByPath(path);
    return object ? object->getValue(param) : "no such object";
  }
  static std::string parents(const std::string& path)
  {
    std::string text;
    for (const KSLObject* parent : ObjectDB::instance()->getObjectByPath(path)->getSchedulerParentObjects())
      text += (text.empty() ? "" : " ") + parent->getPath();
    return text;
  }
  void expectRefused(const std::string& text, const ErrorMsg& error)
  {
    const std::string before = m_system.fullState();
    run(text);
    EXPECT_EQ(m_system.errorList(), std::vector{error}) << text;
    EXPECT_EQ(m_system.fullState(), before);
    m_system.expectConsistent();
  }
  static ErrorMsg missing(const std::string& item, const std::string& param)
  {
    return {"GenericKSLObject", "makeParentLinks",
            "Object '" + item + "' referred to in '" + param + "' does not exist.", 4};
  }
};

TEST_F(ComputeTest, TargetsThatComeLaterAreLinkedOrMissed)
{
  m_system.run(node("b", "Source = a") + node("a"), kslUpdateDefault);  // an update after each block
  EXPECT_EQ(m_system.errorList(), std::vector<ErrorMsg>{missing("a", "Source")});
  EXPECT_EQ(take(), "");
  expectRefused(node("b", "Source = a, x") + node("a"), missing("x", "Source"));
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
  const auto cyclic = [](const std::string& from, const std::string& to) {
    return ErrorMsg("SchedulerObject", "addChild",
                    "Attempt to create a cyclic dependency between object " + from + " (Data) and object "
                        + to + " (Data).",
                    4);
  };
  expectRefused(node("a", "Source = b") + node("b", "Source = a"), cyclic("a", "b"));
  run(node("a", "Source = b") + node("b") + node("c", "Source = a"));
  expectRefused(node("b", "Source = c"), cyclic("c", "b"));
  run(node("c", "Source ="));
  EXPECT_EQ(run(node("b", "Source = a") + node("a", "Source =")), "a b");
  EXPECT_EQ(undo(), "b a");
  EXPECT_EQ(parents("/NODE:b") + parents("/NODE:a"), "/NODE:b");
  EXPECT_EQ(m_system.errors(), "");
}

TEST_F(ComputeTest, DefaultsThatNameObjectsWaitAndKeywordsNameNone)
{
  EXPECT_EQ(run("USER: u\nEND\n" + node("k")), "k u");
  EXPECT_EQ(m_system.errors(), "");
  expectRefused("USER: u\nMain = other\nEND\n", missing("other", "Main"));

  EXPECT_EQ(run(node("p") + node("k", "Pick = p")), "k p");  // a keyword, whoever has that name
  run("> delete p");
  EXPECT_EQ(value("/NODE:k", "Pick"), "p");
  EXPECT_EQ(run(node("main")), "main u");
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
  run("USER: a\nEND\n");
  expectRefused(node("t2", "Source = a"),
                {"GenericKSLObject", "makeParentLinks", "More than one object with name 'a' exists.", 4});
  EXPECT_EQ(run(node("a", "Value = 1")), "a t");  // linked while the name was clear
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
  };
  run(node("a", "Value = 1"));
  Computing::onCalculate = nullptr;
  run(node("c", "Value = 1"));
  EXPECT_EQ(parents("/NODE:c"), "/NODE:a /NODE:d");
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

TEST_F(ComputeTest, ObjectsMayUpdateOthersWhileTheyAreUpdated)
{
  KSLChangeList changes, nested, foreign, history("history");
  for (const char* path : {"/NODE:a", "/NODE:b"})
    changes.createParam(path, "Value", "1");
  nested.createParam("/GROUP:g", "Note", "1");
  Executive& executive = m_system.executive();
  std::string updated;
  Computing::onUpdate = [&](Computing& object) {
    updated += object.getName() + " ";
    EXPECT_EQ(thrown<internal::error>([&] { executive.update(nested, &foreign, m_system.text()); }),
              ErrorMsg("Executive", "update",
                       "Executive::update() called with differentKSLChangeList from higher invocation.", 4));
    executive.update(nested, &history, m_system.text());
  };
  executive.update(changes, &history, m_system.text());
  EXPECT_EQ(updated, "a ") << "the nested update ends the outer one's work";
  EXPECT_EQ(TestSystem::render(history),
            "drop /NODE:a Value (1)\ndrop /NODE:b Value (1)\ndrop /GROUP:g Note (1)\n");
  EXPECT_EQ(m_system.notifications(), "4 5");

  updated.clear();
  Computing::onUpdate = [&](Computing& object) { updated += object.getPath() + " "; };
  run("NODE: d\nValue = 1\nValue = 2\n" + node("e", "Value = 1") + "END\n" + node("c", "Value = 1")
      + "> delete /NODE:c");
  EXPECT_EQ(updated, "/NODE:c /NODE:d /NODE:d/NODE:e ") << "parents before children, each once";
}

TEST_F(ComputeTest, ForcedUpdates)
{
  run(node("a") + node("b", "Source = a") + "GROUP: g\nEND\nGROUP: b\nEND\n");
  EXPECT_EQ(run("> forceupdate a, /NODE:none, NODE:b, /GROUP:g, b, x"), "a b b");
  EXPECT_EQ(m_system.errors(),
            "warning[8] Executive::forceUpdate: Object '/NODE:none' does not exist. Update ignored.\n"
            "error[32] Executive::forceUpdate: Bad cast of KSLObject '/GROUP:g' to GeometricKSLObject.\n"
            "error[4] ObjectDB::getObjectByName: Object name b is ambiguous.\n"
            "warning[8] Executive::forceUpdate: Object 'x' does not exist. Update ignored.");
  EXPECT_EQ(run("> fu \"a\", \"/NODE: b\""), "a b b");
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
      for (const char* param : {"Source", "Pick", "Inside"})
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
    i < states.size() - 1 ? m_system.undo() : m_system.redo();
    RC_ASSERT(m_system.errors() == "");
    check();
  }
  RC_ASSERT(sortedState() == states.back());
}

}  // namespace
}  // namespace orv
