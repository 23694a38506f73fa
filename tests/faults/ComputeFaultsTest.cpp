// The n-th calculation, link, loading of a plug-in, observer or allocation fails, in commands about objects that compute.
// A command that fails leaves no trace in text, objects and graph: links with their counts, who depends on whom, what is
// pending, what was calculated. Failures that are caught leave a graph that is right all the same.
#include "platform/ORVDynamicLoader.h"
#include "database/ObjectChangeNotify.h"
#include "database/ObjectDB.h"
#include "rules/GenericKSLObject.h"
#include "tests/faults/Trap.h"
#include "tests/support/TestSystem.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

namespace orv {
namespace {

// The function comes from a library that is there, or not, as the test wants.
constexpr const char* rules = R"(RULES:
  KSLObjectClasses = DataKSLObject, Fragile
  SchedulerTypes = Data
  PARAMETER: Outer Radius
    Default = 2 [m]
    Local Type = Data
  END
  PARAMETER: Inner Radius
    Default = 1 [m]
  END
  PARAMETER: Area
    Parameter Type = Internal
    Default = 0 [m^2]
  END
  PARAMETER: Sum
    Parameter Type = Internal
    Default = 0
  END
  PARAMETER: Source
    Parameter Type = String List
    Local Type = Data
    Remote Type = Data
  END
  PARAMETER: Main
    Local Type = Data
    Remote Type = Data
    Default = HUB:main
  END
  OBJECT: NODE
    KSLObject Class = Fragile
    Scheduler = Data
    Calculate Function = Data, fragile, ringArea
    Optional Parameter List = Outer Radius, Inner Radius, Area, Sum, Source, Main
  END
  OBJECT: HUB
    KSLObject Class = Fragile
    Scheduler = Data
    Calculate Function = Data, fragile, ringArea
    Optional Parameter List = Outer Radius, Inner Radius, Area, Sum
  END
  OBJECT: GROUP
    KSLObject Class = DataKSLObject
  END
END
)";

// A folder for plug-ins whose only one can be made to be missing.
class PluginFolder {
 public:
  PluginFolder() : m_folder(std::filesystem::temp_directory_path() / ("faults-" + std::to_string(getpid())))
  {
    std::filesystem::create_directories(m_folder);
    std::filesystem::remove(library());
    std::filesystem::create_symlink(std::string(KSL_PLUGIN_DIR "/libsmallest") + SHLIBEXT, library());
    show(true);
  }
  ~PluginFolder()
  {
    unsetenv("ORV_KSL_PLUGIN_PATH");
    SharedLibrary::destroyInstance();
    std::filesystem::remove_all(m_folder);
  }
  PluginFolder(const PluginFolder&) = delete;
  PluginFolder& operator=(const PluginFolder&) = delete;

  void show(bool there) const
  {
    SharedLibrary::destroyInstance();
    setenv("ORV_KSL_PLUGIN_PATH", there ? m_folder.c_str() : "/", 1);
  }

 private:
  std::filesystem::path library() const { return m_folder / (std::string("libfragile") + SHLIBEXT); }
  std::filesystem::path m_folder;
};

const PluginFolder* plugins = nullptr;

// The plug-in gives it an area; with that of its parents, the sum tells whether all was calculated in order.
class Fragile : public GenericKSLObject {
 public:
  KSLObject* clone() const override
  {
    auto copy = std::make_unique<Fragile>();
    copyInternals(copy.get());
    return copy.release();
  }
  void createDelayedParamLinks() override
  {
    failAt(FaultKind::link);
    GenericKSLObject::createDelayedParamLinks();
  }
  void calculate(const std::string& type) override
  {
    failAt(FaultKind::calculation);
    const bool missing = trap.strikes(FaultKind::load);
    if (missing)
      plugins->show(false);
    const ScopeGuard again([missing] {
      if (missing)
        plugins->show(true);
    });
    GenericKSLObject::calculate(type);
    double sum = getFloatValue("Area", "m^2");
    for (const KSLObject* parent : getSchedulerParentObjects())
      sum += parent->getFloatValue("Sum");
    setValue("Sum", StringUtilities::toString(static_cast<float>(sum)));
  }
};

struct FragileType {
  FragileType() { KSLObject::registerBaseTypeWithFactory("Fragile", new Fragile); }
};

// Fails when it is told of a parameter of one of the objects.
class FragileObserver : public ObjectChangeNotify {
 public:
  void paramChanged(const KSLObject*, const ParamDefinition*) override { failAt(FaultKind::observer); }
  void paramDeleted(const KSLObject*, const std::string&) override {}
};

struct System : FragileType, FragileObserver, TestSystem {
  System() : TestSystem(rules) {}
  ~System() { SchedulerObject::setCatchExceptions(false); }
  void observe()
  {
    for (KSLObject* node : nodes())
      node->registerObjectChangeNotify(this);
  }
  static std::vector<KSLObject*> nodes()
  {
    std::vector<KSLObject*> all;
    std::vector<KSLObject*> waiting;
    const auto wait = [&waiting](KSLObject* child) { waiting.push_back(child); };
    ObjectDB::instance()->getRoot()->forEachChild(wait);
    while (!waiting.empty()) {
      KSLObject* object = waiting.back();
      waiting.pop_back();
      if (!object->typeIs("GROUP"))
        all.push_back(object);
      object->forEachChild(wait);
    }
    return all;
  }
};

std::string sortedLines(const std::string& text)
{
  std::vector<std::string> lines = StringUtilities::stringToVector(text, '\n');
  std::sort(lines.begin(), lines.end());
  return StringUtilities::vectorToString(lines, '\n');
}

struct State {
  std::string texts;    // of the store
  std::string objects;  // with what was calculated
  std::string graph;    // schedulers, what waits, dependents
  std::string history;

  static State of(const System& system)
  {
    State state{sortedLines(system.store()),
                sortedLines(system.fullState()),
                {},
                system.undoSteps() + "/" + system.redoSteps()};
    std::set<std::string> objects;
    for (const KSLObject* node : System::nodes()) {
      std::string text = node->getPath() + node->getSchedulerInfo() + "waits:";
      for (const std::string& name : static_cast<const GenericKSLObject*>(node)->getDelayedParams())
        text += " " + name;
      for (const Dependent& dependent : node->getDependents())
        text += "\n<- " + dependent.getObjPath() + " " + dependent.getParamName();
      objects.insert(text + "\n");
    }
    for (const std::string& text : objects)
      state.graph += text;
    return state;
  }
};

bool waits(const KSLObject& node, const std::string& param)
{
  const std::vector<std::string>& delayed = static_cast<const GenericKSLObject&>(node).getDelayedParams();
  return std::find(delayed.begin(), delayed.end(), param) != delayed.end();
}

// What must be so whenever nothing is being done, worked out from the texts.
void expectRight(const std::string& when)
{
  SCOPED_TRACE(when);
  const auto target = [](const std::string& item) {
    const char* start = item.front() == '/' ? "" : item.find(':') == std::string::npos ? "/NODE:" : "/";
    return ObjectDB::instance()->getObjectByPath(start + item);
  };
  for (const KSLObject* node : System::nodes()) {
    const SchedulerObject& scheduler = *node->getSchedulerObject("Data");
    EXPECT_FALSE(scheduler.isPending()) << node->getPath();
    std::map<const KSLObject*, int> expected;
    for (const char* name : {"Source", "Main"}) {
      const ParamDefinition* param = node->lookUpParam(name);
      if (param && !param->hasBeenSet() && waits(*node, name))
        continue;  // a default that comes true is linked when its object is next updated
      for (const std::string& item : param ? param->splitValue() : std::vector<std::string>()) {
        const KSLObject* object = target(item);
        if (!object)
          continue;
        ++expected[object];
        EXPECT_TRUE(object->getDependents().count(Dependent(node, param))) << node->getPath();
      }
    }
    float sum = node->getFloatValue("Area", "m^2");
    std::map<const KSLObject*, int> linked;
    for (const auto& [parent, count] : scheduler.getParents()) {
      linked[parent->getKSLObject()] = count;
      EXPECT_EQ(parent->getChildren().count(&scheduler), count);
      sum += parent->getKSLObject()->getFloatValue("Sum");
    }
    EXPECT_EQ(linked, expected) << node->getPath();
    EXPECT_NEAR(node->getFloatValue("Sum"), sum, 1e-3 * sum) << node->getPath();
  }
}

struct Scenario {
  const char* name;
  std::vector<const char*> before;
  const char* text;
};

constexpr const char* net = R"(NODE: e
  Source = /GROUP:g/NODE:d, a
END
NODE: c
  Source = a, b
END
NODE: b
  Source = a
  Main = a
END
NODE: a
END
GROUP: g
  NODE: d
    Source = c
  END
END
)";
constexpr const char* other =
    "NODE: c\nSource = b\nMain = a\nEND\nNODE: e\nSource = a, c\nOuter Radius = 4 [m]\nEND\n";

// All are named: a default is linked when its object is next updated.
constexpr const char* comesTrue = R"(HUB: main
END
NODE: a
  Outer Radius = 3 [m]
END
NODE: c
  Outer Radius = 3 [m]
END
NODE: e
  Outer Radius = 3 [m]
END
GROUP: g
  NODE: d
    Outer Radius = 3 [m]
  END
END
)";

const std::vector<Scenario>& scenarios()
{
  static const std::vector<Scenario> table{
      {"define", {}, net},
      {"edit", {net}, "NODE: a\nOuter Radius = 3 [m]\nEND\n"},
      {"link otherwise", {net}, other},
      {"turn a link round", {net}, "NODE: a\nSource = b\nEND\nNODE: b\nSource =\nMain =\nEND\n"},
      {"delete", {net}, "> delete /NODE:b\n"},
      {"delete a subtree", {net}, "> delete /GROUP:g\n"},
      {"replace", {net}, "&replace NODE: c\nSource = a\nEND\n&replace NODE: a\nOuter Radius = 5 [m]\nEND\n"},
      {"a default comes true", {net}, comesTrue},
      {"undo definitions", {"NODE: a\nEND\n", net}, "> undo\n"},
      {"undo links",
       {"HUB: main\nEND\nNODE: a\nEND\nNODE: b\nEND\n", "NODE: b\nSource = a\nMain = a\nEND\n"},
       "> undo\n"},
      {"undo other links", {net, other}, "> undo\n"},
      {"undo a deletion", {net, "> delete /GROUP:g, /NODE:a"}, "> undo\n"},
      {"redo other links", {net, other, "> undo\n"}, "> redo\n"},
      {"redo a deletion", {net, "> delete /GROUP:g, /NODE:a", "> undo\n"}, "> redo\n"},
  };
  return table;
}

struct Case {
  FaultKind kind;
  bool caught;
  const char* name;
};

void PrintTo(const Case& value, std::ostream* out)
{
  *out << value.name;
}

class ComputeFaultsTest : public testing::TestWithParam<Case> {
 protected:
  ComputeFaultsTest() { plugins = &m_plugins; }
  ~ComputeFaultsTest() override { plugins = nullptr; }

  static void prepare(System& system, const Scenario& scenario)
  {
    for (const char* text : scenario.before)
      system.run(text, kslUpdateAtEnd);
    ASSERT_EQ(system.errors(), "");
    expectRight("before");
  }
  struct Completed {
    State state;
    State calculatedAgain;  // which also links defaults that came true
  };
  static Completed complete(const Scenario& scenario);
  static void calculateAgain(System& system)
  {
    for (const KSLObject* node : System::nodes())
      system.run("> forceupdate " + node->getPath());
  }
  static void strike(const Scenario& scenario, const Completed& completed, unsigned long n, bool& met);
  static void expectUsable(System& system, const State& now, bool stepLost);

  PluginFolder m_plugins;
};

ComputeFaultsTest::Completed ComputeFaultsTest::complete(const Scenario& scenario)
{
  System system;
  prepare(system, scenario);
  system.run(scenario.text, kslUpdateAtEnd);
  EXPECT_EQ(system.errors(), "");
  expectRight("completed");
  Completed completed{State::of(system), {}};
  calculateAgain(system);
  completed.calculatedAgain = State::of(system);
  return completed;
}

void ComputeFaultsTest::strike(const Scenario& scenario, const Completed& completed, unsigned long n,
                               bool& met)
{
  System system;
  prepare(system, scenario);
  const State before = State::of(system);
  system.observe();
  SchedulerObject::setCatchExceptions(GetParam().caught);
  trap = {GetParam().kind, n};
  try {
    system.run(scenario.text, kslUpdateAtEnd);
  } catch (const std::bad_alloc&) {}  // before anything has begun
  met = trap.left == 0;
  trap = {};
  SchedulerObject::setCatchExceptions(false);

  int errors = 0;
  for (const ErrorMsg& error : system.errorList())
    errors += error.getType() != errorType::warning;
  State now = State::of(system);
  const bool stands = now.texts == completed.state.texts && (errors == 0 || GetParam().caught);
  EXPECT_LE(errors, 1);
  const bool lacksAResult = stands && errors == 1;
  if (lacksAResult) {
    calculateAgain(system);
    now = State::of(system);
  }
  const State& expected = lacksAResult ? completed.calculatedAgain : stands ? completed.state : before;
  EXPECT_EQ(now.texts, expected.texts);
  EXPECT_EQ(now.objects, expected.objects);
  EXPECT_EQ(now.graph, expected.graph);
  const bool stepLost = !stands && scenario.text[0] == '>' && now.history != before.history;
  EXPECT_TRUE(stepLost || now.history == expected.history) << now.history;
  expectRight("after the fault");
  expectUsable(system, now, stepLost);
}

// Links are made, calculated along and taken back as ever.
void ComputeFaultsTest::expectUsable(System& system, const State& now, bool stepLost)
{
  system.run("NODE: late\nSource = later\nEND\nNODE: later\nOuter Radius = 9 [m]\nEND\n", kslUpdateAtEnd);
  for (const KSLObject* node : System::nodes()) {
    if (node->getName().size() == 1)
      system.run("NODE: late\nSource = later, " + node->getPath()
                     + "\nEND\nNODE: later\nOuter Radius = 8 [m]\nEND\n"
                     + (node->getName() == "a" ? "NODE: a\nOuter Radius = 7 [m]\nEND\n" : ""),
                 kslUpdateAtEnd);
  }
  EXPECT_EQ(system.errors(), "");
  expectRight("later links");
  while (system.interface()->getUndoStack().size() > 0 && State::of(system).texts != now.texts)
    system.undo();
  EXPECT_EQ(State::of(system).objects, now.objects);
  EXPECT_EQ(State::of(system).graph, now.graph);
  while (system.interface()->getUndoStack().size() > 0)
    system.undo();
  EXPECT_EQ(system.errors(), "");
  EXPECT_TRUE(stepLost || System::nodes().empty());
  expectRight("undone");
}

}  // namespace

TEST_P(ComputeFaultsTest, LeaveNoTraceOrARightGraph)
{
  constexpr unsigned long tooMany = 100000;
  unsigned long strikes = 0;
  for (const Scenario& scenario : scenarios()) {
    const Completed completed = complete(scenario);
    bool met = true;
    for (unsigned long n = 1; met && n < tooMany && !HasFailure(); ++n) {
      SCOPED_TRACE(std::string(scenario.name) + ": fault " + std::to_string(n));
      strike(scenario, completed, n, met);
      strikes += met;
    }
  }
  RecordProperty("faults", std::to_string(strikes));
  EXPECT_GT(strikes, 0U) << "nothing was ever made to fail";
}

INSTANTIATE_TEST_SUITE_P(Faults, ComputeFaultsTest,
                         testing::Values(Case{FaultKind::calculation, false, "Calculation"},
                                         Case{FaultKind::calculation, true, "CalculationCaught"},
                                         Case{FaultKind::load, false, "Load"},
                                         Case{FaultKind::load, true, "LoadCaught"},
                                         Case{FaultKind::link, false, "Link"},
                                         Case{FaultKind::link, true, "LinkCaught"},
                                         Case{FaultKind::observer, false, "Observer"},
                                         Case{FaultKind::observer, true, "ObserverCaught"},
                                         Case{FaultKind::allocation, false, "Allocation"},
                                         Case{FaultKind::allocation, true, "AllocationCaught"}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace orv
