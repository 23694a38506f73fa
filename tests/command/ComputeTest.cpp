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
#include <stdexcept>

namespace orv {
namespace {

const char* const computeRules =
    "RULES:\nCategories = deletable\nKSLObjectClasses = DataKSLObject, Computing\n"
    "SchedulerTypes = Data\n"
    "PARAMETER: Value\nLocal Type = Data\nEND\n"
    "PARAMETER: Note\nEND\n"
    "PARAMETER: Source\nParameter Type = String List\nLocal Type = Data\nRemote Type = Data\nEND\n"
    "PARAMETER: Main\nLocal Type = Data\nRemote Type = Data\nDefault = main\nEND\n"
    "PARAMETER: Pick\nLocal Type = Data\nRemote Type = Data\nAllowed String List = None, p, q\n"
    "Default = None\nEND\n"
    "PARAMETER: Inside\nLocal Type = Data\nRemote Type = Data\nRemote Path = /GROUP:g\nEND\n"
    "PARAMETER: Own\nLocal Type = Data\nRemote Type = Data\nEND\n"
    "OBJECT: NODE\nKSLObject Class = Computing\nCategory = deletable\nScheduler = Data\n"
    "Optional Parameter List = Value, Note, Source, Pick, Inside\nInternal Parameter List = Own\nEND\n"
    "OBJECT: USER\nKSLObject Class = Computing\nScheduler = Data\n"
    "Optional Parameter List = Main, Value\nEND\n"
    "OBJECT: GROUP\nKSLObject Class = DataKSLObject\nCategory = deletable\n"
    "Optional Parameter List = Note\nEND\n"
    "END\n";

// Logs its calculations, and does in its updates what the test wants.
class Computing : public GenericKSLObject {
 public:
  inline static std::string log;
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
  void calculate(const std::string&) override
  {
    log += (log.empty() ? "" : " ") + getName();
    if (getName() == "throws")
      throw std::runtime_error("not mine");
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

TEST_F(ComputeTest, DefaultsThatNameObjectsWaitAndKeywordsNameNone)
{
  EXPECT_EQ(run("USER: u\nEND\n" + node("k")), "k u");
  EXPECT_EQ(m_system.errors(), "");
  expectRefused("USER: u\nMain = other\nEND\n", missing("other", "Main"));

  EXPECT_EQ(run(node("p") + node("k", "Pick = p")), "k p");  // a keyword, whoever has that name
  run("> delete p");
  EXPECT_EQ(value("/NODE:k", "Pick"), "p");
  EXPECT_EQ(run(node("main")), "main u");
  EXPECT_EQ(run("> delete /NODE:main"), "u");
  EXPECT_EQ(value("/USER:u", "Main") + parents("/USER:u"), "main");  // it waits again
  m_system.undo();
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

  run(node("e") + node("v", "Inside = e"));
  run("&replace " + node("e") + "GROUP: g\n" + node("e") + "END\n");
  EXPECT_EQ(value("/NODE:v", "Inside"), "/NODE:e") << "what comes back at its place is still meant";
  m_system.run(node("v", "Inside = b2"), kslUpdateNoAction);
  EXPECT_EQ(parents("/NODE:v"), "/NODE:e") << "linked by the next command";
  run(node("fresh"));
  EXPECT_EQ(value("/NODE:v", "Inside") + parents("/NODE:v"), "b2/NODE:b2");
  ObjectDB::instance()->getObjectByPath("/NODE:v")->setValue("Own", "own");
  run("GROUP: own\nEND\n> rename from=/NODE:own, to=other");
  EXPECT_EQ(value("/NODE:v", "Own"), "other");
  EXPECT_EQ(m_system.store().find("Own"), std::string::npos) << "internal ones are no text";
  run(node("z", "Source = other"));
  EXPECT_EQ(run("> delete /NODE:other"), "z v") << "who names it in no text comes last";
  m_system.expectConsistent();
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
  ObjectDB::supportOldStylePaths();
  m_system.executive().forceUpdate({"NODE:b"});
  EXPECT_EQ(take(), "b");
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

// Also when it throws what knows nothing of objects, far from the change: the command names who computed.
TEST_F(ComputeTest, ACalculationThatFailsIsNamed)
{
  for (const bool caught : {false, true}) {
    const bool before = SchedulerObject::setCatchExceptions(caught);
    run(node("a") + node("throws", "Source = a"));
    SchedulerObject::setCatchExceptions(before);
    const std::vector<ErrorMsg> errors = m_system.errorList();
    ASSERT_EQ(errors.size(), 1U);
    ASSERT_NE(errors.front().getDiagnostic(), nullptr);
    EXPECT_EQ(errors.front().getDiagnostic()->object, "/NODE:throws");
    EXPECT_EQ(errors.front().getDiagnostic()->line, 4U);
    m_system.run("> delete throws");
  }
}

}  // namespace
}  // namespace orv
