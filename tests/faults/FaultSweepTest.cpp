// Makes the n-th occasion of a fault fail, n = 1, 2, … until the command gets by without meeting it. Wherever the fault
// strikes, either the command stands and nothing is reported (what ends things must not fail), or nothing has happened,
// one error is reported, and undo and redo are what they were.
#include "platform/ORVProgress.h"
#include "database/DataKSLObject.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "database/PrototypeEditor.h"
#include "command/KSLCoreC.h"
#include "command/KSLUpdateRecorder.h"
#include "tests/faults/Trap.h"
#include "tests/support/Model.h"
#include "tests/support/TestSystem.h"

#include <gtest/gtest.h>
#include <new>
#include <ostream>
#include <stdexcept>

namespace orv {

namespace {

// An object that fails on request.
class FragileObject : public DataKSLObject {
 public:
  std::string setValue(const std::string& name, const std::string& value) override
  {
    failAt(FaultKind::setValue);
    return DataKSLObject::setValue(name, value);
  }
  void initialize(const std::string& parentPath, const std::string& name) override
  {
    failAt(FaultKind::initialize);
    DataKSLObject::initialize(parentPath, name);
  }
  void update() override { failAt(FaultKind::update); }
  KSLObject* clone() const override
  {
    auto copy = std::make_unique<FragileObject>();
    copyInternals(copy.get());
    return copy.release();
  }
};

constexpr const char* rules = R"(RULES:
  KSLObjectClasses = FragileObject
  PARAMETER: x
  END
  PARAMETER: Colour
    Allowed String List = red, green
  END
  OBJECT: A
    KSLObject Class = FragileObject
    Optional Parameter List = x, Colour
  END
  OBJECT: B
    KSLObject Class = FragileObject
    Optional Parameter List = x, Colour
  END
  SINGLETON: S
    KSLObject Class = FragileObject
    Optional Parameter List = x
  END
END
)";

// Registered before the RULES are read.
struct FragileType {
  FragileType() { KSLObject::registerBaseTypeWithFactory("FragileObject", new FragileObject); }
};

// Records what it hears of the database, and fails on request.
class FragileObserver : public KSLUpdateRecorder {
 public:
  void paramChanged(const KSLObject* object, const ParamDefinition* param) override
  {
    failAt(FaultKind::observer);
    KSLUpdateRecorder::paramChanged(object, param);
  }
  void paramDeleted(const KSLObject* object, const std::string& name) override
  {
    failAt(FaultKind::observer);
    KSLUpdateRecorder::paramDeleted(object, name);
  }
  void objectAdded(const KSLObject* object) override
  {
    failAt(FaultKind::observer);
    KSLUpdateRecorder::objectAdded(object);
  }
  void objectDeleteBegin(const KSLObject* object) override
  {
    failAt(FaultKind::observer);
    KSLUpdateRecorder::objectDeleteBegin(object);
  }
  void objectDeleteEnd(const std::string& path, const KSLObject* object) override
  {
    const ScopeGuard record([&] { KSLUpdateRecorder::objectDeleteEnd(path, object); });
    failAt(FaultKind::observer);
  }
};

// Stops work between two of its steps, on request, as people do.
class FragileWatcher : public ProgressWatcher {
 public:
  FragileWatcher() { set(this); }
  ~FragileWatcher() override { set(nullptr); }
  void stepped(const Progress*) override
  {
    if (trap.strikes(FaultKind::step))
      throw Interrupt("FaultSweep", "stepped", "stopped");
  }
};

struct Scenario {
  const char* name;
  std::vector<const char*> before;  // texts
  const char* text;
  kslUpdateMode mode = kslUpdateDefault;
};

const char* tree = R"(A: a
  x = 1
  B: b
    x = 2
    B: empty
    END
    A: deep
      Colour = red
    END
  END
  B: c
  END
END
S:
  x = 3
END
)";

std::string manyObjects()
{
  std::string text;
  for (int i = 0; i < 24; ++i)
    text += "A: " + std::to_string(i) + "\nx = " + std::to_string(i) + "\nB: b\nEND\nEND\n";
  return text;
}

const std::vector<Scenario>& scenarios()
{
  static const std::string many = manyObjects();
  static const std::vector<Scenario> table{
      {"define", {}, "A: a\nx = 1\nColour = red\nEND\nB: b\nEND\n"},
      {"redefine", {tree}, "A: a\nx = 9\nColour = red\nB: b\nx =\nEND\nEND\nS:\nx = 4\nEND\n"},
      {"define nested", {"A: a\nEND"}, tree},
      {"delete a subtree", {tree}, "> delete /A:a\n"},
      {"delete several", {tree, "A: z\nx = 1\nEND"}, "> delete /A:a/B:b, /S, /A:z\n"},
      {"copy and rename", {tree}, "> copy from=/A:a, to=copy\n> rename from=/A:copy, to=/A:a/A:in\n"},
      {"undo a rename", {tree, "> rename from=/A:a, to=b"}, "> undo\n"},
      {"undo a definition", {"S:\nx = 1\nEND", tree}, "> undo\n"},
      {"undo a deletion", {tree, "> delete /A:a, /S"}, "> undo\n"},
      {"redo a definition", {"S:\nx = 1\nEND", tree, "> undo"}, "> redo\n"},
      {"redo a deletion", {tree, "> delete /A:a, /S", "> undo"}, "> redo\n"},
      {"define, delete, define",
       {tree},
       "B: n\nx = 1\nEND\n> delete /B:n, /A:a\nA: a\nx = 7\nB: n\nEND\nEND\n"},
      {"define and undo", {tree}, "B: n\nx = 1\nEND\n> undo\n"},
      {"replace", {tree}, "&replace A: a\nx = 1\nB: b\nEND\nEND\n"},
      {"nested text", {tree}, "> define /A:a\nS:\nx = 4\nEND\n"},
      {"at end", {tree}, "A: a\nx = 2\nEND\nB: n\nB: m\nx = 1\nEND\nEND\nS:\nx = 4\nEND\n", kslUpdateAtEnd},
      {"many objects", {}, many.c_str(), kslUpdateAtEnd},
  };
  return table;
}

class Sweep {
 public:
  Sweep(const Scenario& scenario, FaultKind kind) : m_scenario(scenario), m_kind(kind)
  {
    System system;
    prepare(system);
    system.run(scenario.text, scenario.mode);
    EXPECT_EQ(system.errors(), "");
    m_completed = stateOf(system);
  }

  // False when the command met no fault.
  bool step(unsigned long n);

 private:
  struct System : FragileType, FragileObserver, FragileWatcher, TestSystem {
    System() : TestSystem(rules) { ObjectDB::instance()->registerChangeNotify(this); }
  };
  struct State {
    ModelNode tree;
    std::vector<std::string> history;  // the stacks, rendered

    bool operator==(const State&) const = default;
  };

  void prepare(System& system);
  static State stateOf(const System& system);
  static std::vector<std::string> render(const HistoryStack& stack);
  void expectUntouched(const System& system, const State& before);
  void expectUsable(System& system, const State& now, bool stepLost);

  const Scenario& m_scenario;
  FaultKind m_kind;
  State m_completed;
};

void Sweep::prepare(System& system)
{
  system.registerAction("define", [](const std::vector<std::string>& words) {
    failAt(FaultKind::action);
    KSLCoreAPI::instance()->processKSL("B: made\nx = 1\nEND\n> delete " + words.at(1), kslUpdateDefault);
    failAt(FaultKind::action);
    KSLCoreAPI::instance()->processKSL("B: made\nx = 2\nEND", kslUpdateDefault);
    failAt(FaultKind::action);
  });
  for (const char* text : m_scenario.before)
    system.run(text);
  EXPECT_EQ(system.errors(), "");
}

std::vector<std::string> Sweep::render(const HistoryStack& stack)
{
  return {std::to_string(stack.size()), stack.top() ? TestSystem::render(*stack.top()) : ""};
}

Sweep::State Sweep::stateOf(const System& system)
{
  const ModelNode database = readDatabase().sorted();
  EXPECT_EQ(readStore().sorted().toText(), database.toText()) << "store and database";
  State state{database, render(system.interface()->getUndoStack())};
  for (std::string& text : render(system.interface()->getRedoStack()))
    state.history.push_back(text);
  return state;
}

bool Sweep::step(unsigned long n)
{
  System system;
  prepare(system);
  const State before = stateOf(system);
  bool begun = false;
  system.onNotification = [&begun](int type) {
    failAt(FaultKind::notification);
    begun = begun || type == KSLCoreAPI::parseBegin;
  };
  const std::string text = m_scenario.text;
  trap = {m_kind, n};
  bool thrown = false;
  try {
    system.run(text, m_scenario.mode);
  } catch (...) {
    thrown = true;
  }
  const bool met = trap.left == 0;
  trap = {};
  EXPECT_TRUE(!thrown || !begun) << "only the first notification may fail to the caller";

  const std::vector<ErrorMsg> errors = system.errorList();
  const State now = stateOf(system);
  bool stepLost = false;
  if (errors.empty() && !thrown) {
    EXPECT_EQ(now.tree.toText(), m_completed.tree.toText()) << "the command stands, but not as it should";
    EXPECT_EQ(now.history, m_completed.history);
  } else {
    EXPECT_EQ(errors.size(), thrown ? 0 : 1) << (errors.empty() ? "" : errors.back().getMessage());
    EXPECT_EQ(now.tree.toText(), before.tree.toText()) << "the failed command left a trace";
    const bool isHistory = text == "> undo\n" || text == "> redo\n";
    stepLost = isHistory && now.history != before.history;
    EXPECT_TRUE(stepLost || now.history == before.history) << now.history[1];
  }
  expectUsable(system, now, stepLost);
  return met;
}

// A command works, can be undone and done again; and what there is to undo leads back to the beginning.
void Sweep::expectUsable(System& system, const State& now, bool stepLost)
{
  const auto steps = [&system] { return system.interface()->getUndoStack().size(); };
  const std::size_t stepsNow = steps();
  system.run("A: a\nx = after\nA: after\nColour = green\nEND\nEND\n");
  const State after = stateOf(system);
  EXPECT_EQ(steps(), stepsNow + 1);
  EXPECT_NE(after.tree.find("/A:a/A:after"), nullptr);
  system.undo();
  EXPECT_EQ(stateOf(system).tree.toText(), now.tree.toText()) << "undo of the command after";
  system.redo();
  EXPECT_EQ(stateOf(system).tree.toText(), after.tree.toText()) << "redo of the command after";
  while (steps() > 0)
    system.undo();
  const State start = stateOf(system);
  EXPECT_TRUE(stepLost || start.tree.children.empty()) << "undo of all leads to\n" << start.tree.toText();
  EXPECT_EQ(system.errors(), "");
}

struct KindCase {
  FaultKind kind;
  const char* name;
};

void PrintTo(const KindCase& value, std::ostream* out)
{
  *out << value.name;
}

class FaultSweepTest : public testing::TestWithParam<KindCase> {};

}  // namespace

TEST_P(FaultSweepTest, LeavesNoTraceOrNoError)
{
  const FaultKind kind = GetParam().kind;
  constexpr unsigned long tooMany = 100000;
  unsigned long met = 0;
  for (const Scenario& scenario : scenarios()) {
    Sweep sweep(scenario, kind);
    for (unsigned long n = 1; n < tooMany; ++n) {
      SCOPED_TRACE(std::string(scenario.name) + ": fault " + std::to_string(n));
      if (!sweep.step(n))
        break;
      ++met;
      if (HasFailure())
        break;
    }
  }
  RecordProperty("faults", std::to_string(met));
  EXPECT_GT(met, 0U) << "nothing was ever made to fail";
}

// A program in C hears of a lack of memory like of anything else: never by an exception.
TEST(FaultSweep, CFunctionsFailByReportAlone)
{
  const FragileType type;
  TestSystem system(rules);
  system.run(tree);
  const auto ask = [] { return getObjectParameterInfo("/A:a/B:b/A:deep", "Colour"); };
  freeKSLText(ask());
  unsigned long n = 0;
  for (bool met = true; met;) {
    trap = {FaultKind::allocation, ++n};
    char* const text = ask();
    met = trap.left == 0;
    trap = {};
    EXPECT_EQ(text == nullptr, met) << n;
    EXPECT_EQ(
        system.errors(),
        met ? "error[1] KSLInterface::getObjectParameterInfo: Operation failed. Insufficient memory." : "");
    freeKSLText(text);
  }
  EXPECT_GT(n, 2U);
}

// An object by itself, without the journal that takes back what a failed command has done.
TEST(FaultSweep, AValueIsStoredOnlyWhenItsRecordIsSafe)
{
  const std::string longText(100, 'x');
  for (const auto& [before, after] :
       {std::pair(std::string("a"), longText), std::pair(longText, std::string("b"))}) {
    DataKSLObject original;
    PrototypeEditor(original).setType("A", false);
    PrototypeEditor(original).addParameter(
        std::make_unique<ParamDefinition>("p", "", "", "String", before, ""));
    unsigned long failed = 0;
    for (bool stands = false; !stands; ++failed) {
      const std::unique_ptr<KSLObject> object(original.clone());
      trap = {FaultKind::allocation, failed + 1};
      try {
        object->setValue("p", after);
        stands = true;
      } catch (const std::bad_alloc&) {}
      trap.left = 0;
      EXPECT_EQ(object->getValue("p"), stands ? after : before) << failed;
    }
    EXPECT_GT(failed, 2U);  // a definition of its own, the record
  }
}

INSTANTIATE_TEST_SUITE_P(
    Faults, FaultSweepTest,
    testing::Values(KindCase{FaultKind::allocation, "Allocation"}, KindCase{FaultKind::setValue, "SetValue"},
                    KindCase{FaultKind::initialize, "Initialize"}, KindCase{FaultKind::update, "Update"},
                    KindCase{FaultKind::notification, "Notification"},
                    KindCase{FaultKind::observer, "Observer"}, KindCase{FaultKind::action, "Action"},
                    KindCase{FaultKind::step, "Step"}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace orv
