// Makes the n-th occasion of a fault fail, n = 1, 2, … until the command gets by without meeting it. Wherever the fault
// strikes, either the command stands and nothing is reported (what ends things must not fail), or nothing has happened,
// one error is reported, and undo and redo are what they were. Failures of calculations that are caught leave a graph
// that is right all the same.
#include "platform/ORVError.h"
#include "database/DataKSLObject.h"
#include "database/ObjectDB.h"
#include "database/PrototypeEditor.h"
#include "command/KSLCoreC.h"
#include "session/Session.h"
#include "tests/faults/SweepSystem.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <new>

namespace orv {

namespace {

struct Scenario {
  const char* name;
  std::vector<const char*> before;  // texts, each updated at its end
  const char* text;
  kslUpdateMode mode = kslUpdateDefault;
  bool isObserved = true;
};

const char* const tree =
    "A: a\nx = 1\n"
    "B: b\nx = 2\nB: empty\nEND\nA: deep\nColour = red\nEND\nEND\n"
    "B: c\nEND\nEND\n"
    "S:\nx = 3\nEND\n";

const char* const data =
    "DATA: a\nx = 1\nDATA: b\nx = 2\nColour = red\nEND\nA: c\nx = 3\nEND\nEND\nDATA: d\nx = 4\nEND\n";

std::string manyObjects()
{
  std::string text;
  for (int i = 0; i < 24; ++i)
    text += "A: " + std::to_string(i) + "\nx = " + std::to_string(i) + "\nB: b\nEND\nEND\n";
  return text;
}

// Their paths are longer than what is kept as one text.
std::string deepPath()
{
  return "/A:" + std::string(150, 'p') + "/B:" + std::string(150, 'q') + "/A:" + std::string(150, 'r');
}

std::string deepObjects()
{
  std::string text;
  for (const std::string& line : StringUtilities::stringToVector(deepPath().substr(1), '/'))
    text += line + "\nx = 1\n";
  return text + "NODE: in\nSource = out\nEND\nEND\nEND\nEND\nNODE: out\nEND\n";
}

const char* const net =
    "NODE: e\nSource = /GROUP:g/NODE:d, a\nEND\n"
    "NODE: c\nSource = a, b\nEND\n"
    "NODE: b\nSource = a\nMain = a\nEND\n"
    "NODE: a\nEND\n"
    "GROUP: g\nNODE: d\nSource = c\nEND\nEND\n";
const char* const other =
    "NODE: c\nSource = b\nMain = a\nEND\nNODE: e\nSource = a, c\nOuter Radius = 4 [m]\nEND\n";
// All are named: a default is linked when its object is next updated.
const char* const comesTrue =
    "HUB: main\nEND\nNODE: a\nOuter Radius = 3 [m]\nEND\nNODE: c\nOuter Radius = 3 [m]\nEND\n"
    "NODE: e\nOuter Radius = 3 [m]\nEND\nGROUP: g\nNODE: d\nOuter Radius = 3 [m]\nEND\nEND\n";

const std::vector<Scenario>& textScenarios()
{
  static const std::string many = manyObjects();
  static const std::string deep = deepObjects();
  static const std::string deepReplaced = "&replace " + deep + "> delete " + deepPath() + "\n";
  constexpr kslUpdateMode atEnd = kslUpdateAtEnd;
  static const std::vector<Scenario> table{
      {"define", {}, "A: a\nx = 1\nColour = red\nEND\nB: b\nEND\n"},
      {"define nested", {"A: a\nEND"}, tree},
      {"delete several", {tree, "A: z\nx = 1\nEND"}, "> delete /A:a/B:b, /S, /A:z\n"},
      {"copy and rename", {tree}, "> copy from=/A:a, to=copy\n> rename from=/A:copy, to=/A:a/A:in\n"},
      {"undo a rename", {tree, "> rename from=/A:a, to=b"}, "> undo\n"},
      {"undo a definition", {"S:\nx = 1\nEND", tree}, "> undo\n"},
      {"undo a deletion", {tree, "> delete /A:a, /S"}, "> undo\n"},
      {"redo a definition", {"S:\nx = 1\nEND", tree, "> undo"}, "> redo\n"},
      {"redo a deletion", {tree, "> delete /A:a, /S", "> undo"}, "> redo\n"},
      {"undo data", {data}, "> undo\n", kslUpdateDefault, false},
      {"redo data", {data, "> undo"}, "> redo\n", kslUpdateDefault, false},
      {"define, delete, define",
       {tree},
       "B: n\nx = 1\nEND\n> delete /B:n, /A:a\nA: a\nx = 7\nB: n\nEND\nEND\n"},
      {"replace", {tree}, "&replace A: a\nx = 1\nB: b\nEND\nEND\n"},
      {"nested text", {tree}, "> define /A:a\nS:\nx = 4\nEND\n"},
      {"at end",
       {tree},
       "A: a\nx = 2\nB: b\nx =\nEND\nEND\nB: n\nB: m\nx = 1\nEND\nEND\nS:\nx = 4\nEND\n",
       atEnd},
      {"many objects", {}, many.c_str(), atEnd},
      {"replace long paths", {deep.c_str()}, deepReplaced.c_str(), atEnd},
      {"in pieces",
       {tree},
       "A: a\nx = 2\nEND\n\fB: n\nB: m\nx = 1\nEND\nEND\n> delete /S\n\fA: a\nx = 3\nEND\n",
       atEnd},
  };
  return table;
}

const std::vector<Scenario>& netScenarios()
{
  constexpr kslUpdateMode atEnd = kslUpdateAtEnd;
  static const std::vector<Scenario> table{
      {"define a net", {}, net, atEnd},
      {"link otherwise", {net}, other, atEnd},
      {"turn a link round", {net}, "NODE: a\nSource = b\nEND\nNODE: b\nSource =\nMain =\nEND\n", atEnd},
      {"delete a node", {net}, "> delete /NODE:b\n", atEnd},
      {"delete a group", {net}, "> delete /GROUP:g\n", atEnd},
      {"replace nodes",
       {net},
       "&replace NODE: c\nSource = a\nEND\n&replace NODE: a\nOuter Radius = 5 [m]\nEND\n",
       atEnd},
      {"a default comes true", {net}, comesTrue, atEnd},
      {"undo definitions", {"NODE: a\nEND\n", net}, "> undo\n", atEnd},
      {"undo links",
       {"HUB: main\nEND\nNODE: a\nEND\nNODE: b\nEND\n", "NODE: b\nSource = a\nMain = a\nEND\n"},
       "> undo\n",
       atEnd},
      {"undo other links", {net, other}, "> undo\n", atEnd},
      {"undo the deletion of nodes", {net, "> delete /GROUP:g, /NODE:a"}, "> undo\n", atEnd},
      {"redo other links", {net, other, "> undo\n"}, "> redo\n", atEnd},
      {"redo the deletion of nodes", {net, "> delete /GROUP:g, /NODE:a", "> undo\n"}, "> redo\n", atEnd},
  };
  return table;
}

struct FaultCase {
  FaultKind kind;
  const char* name;
  enum { texts = 1, nets = 2 };
  int scenarios = texts | nets;
  bool caught = false;  // what calculations throw is reported, and the rest goes on
};

class FaultSweepTest : public testing::TestWithParam<FaultCase> {
 protected:
  struct Completed {
    SweepState state;
    SweepState calculatedAgain;  // which also links defaults that came true
  };

  static void prepare(SweepSystem& system, const Scenario& scenario);
  static void enter(SweepSystem& system, const Scenario& scenario);
  static Completed complete(const Scenario& scenario);
  // False when the command met no fault.
  static bool strike(const Scenario& scenario, const Completed& completed, unsigned long n);
  static unsigned long sweep(const std::vector<Scenario>& scenarios);
  static void expectLinkable(SweepSystem& system);
  static void expectUsable(SweepSystem& system, const SweepState& now, bool stepLost);

  const SweepPlugins m_plugins;
};

void FaultSweepTest::prepare(SweepSystem& system, const Scenario& scenario)
{
  for (const char* text : scenario.before)
    system.run(text, kslUpdateAtEnd);
  ASSERT_EQ(system.errors(), "");
  expectRightGraph("before");
}

// A text that form feeds cut into pieces is one command all the same.
void FaultSweepTest::enter(SweepSystem& system, const Scenario& scenario)
{
  const std::vector<std::string> pieces = StringUtilities::stringToVector(scenario.text, '\f');
  if (pieces.size() == 1)
    return system.run(scenario.text, scenario.mode);
  KSLCoreAPI* api = KSLCoreAPI::instance();
  if (!api->beginCommand())
    return;
  bool failed = false;
  for (const std::string& piece : pieces) {
    try {
      if (!failed)
        system.run(piece, scenario.mode);
    } catch (const Unwind&) {
      failed = true;
    }
  }
  const bool done = api->endCommand(true);
  EXPECT_FALSE(failed && done) << "a piece that fails fails the command";
}

FaultSweepTest::Completed FaultSweepTest::complete(const Scenario& scenario)
{
  SweepSystem system(scenario.isObserved);
  prepare(system, scenario);
  enter(system, scenario);
  EXPECT_EQ(system.errors(), "");
  expectRightGraph("completed");
  Completed completed{SweepState::now(), {}};
  system.calculateAgain();
  completed.calculatedAgain = SweepState::now();
  return completed;
}

bool FaultSweepTest::strike(const Scenario& scenario, const Completed& completed, unsigned long n)
{
  SweepSystem system(scenario.isObserved);
  prepare(system, scenario);
  const SweepState before = SweepState::now();
  bool begun = false;
  system.onNotification = [&begun](int type) {
    failAt(FaultKind::notification);
    begun = begun || type == KSLCoreAPI::parseBegin;
  };
  const std::string text = scenario.text;
  SchedulerObject::setCatchExceptions(GetParam().caught);
  trap = {GetParam().kind, n};
  bool thrown = false;
  try {
    enter(system, scenario);
  } catch (...) {
    thrown = true;
  }
  const bool met = trap.left == 0;
  trap = {};
  SchedulerObject::setCatchExceptions(false);
  EXPECT_TRUE(!thrown || !begun) << "only the first notification may fail to the caller";

  std::vector<ErrorMsg> errors = system.errorList();
  std::erase_if(errors, [](const ErrorMsg& error) {
    // An observer who fails while an object ends stops nothing, and is told of.
    return error.getType() == errorType::warning
           || (GetParam().kind == FaultKind::observer && error.getFunction() == "~GenericKSLObject");
  });
  SweepState now = SweepState::now();
  const bool lacksAResult =
      GetParam().caught && !errors.empty() && now.texts == completed.state.texts && now.texts != before.texts;
  const bool stands = lacksAResult || (errors.empty() && !thrown);
  EXPECT_EQ(errors.size(), lacksAResult || !(stands || thrown) ? 1 : 0)
      << (errors.empty() ? "" : toText(errors.back()));
  if (lacksAResult) {
    system.calculateAgain();
    now = SweepState::now();
  }
  const SweepState& expected = lacksAResult ? completed.calculatedAgain : stands ? completed.state : before;
  EXPECT_EQ(now.texts, expected.texts)
      << (stands ? "not what it should do" : "the failed command left a trace");
  EXPECT_EQ(now.objects, expected.objects);
  EXPECT_EQ(now.graph, expected.graph);
  const bool stepLost =
      !stands && (text == "> undo\n" || text == "> redo\n") && now.history != before.history;
  EXPECT_TRUE(stepLost || now.history == expected.history) << now.history;
  expectRightGraph("after the fault");
  expectUsable(system, now, stepLost);
  return met;
}

// Links are made and calculated along as ever.
void FaultSweepTest::expectLinkable(SweepSystem& system)
{
  system.run("NODE: late\nSource = later\nEND\nNODE: later\nOuter Radius = 9 [m]\nEND\n", kslUpdateAtEnd);
  std::string all = "later";
  for (const KSLObject* node : SweepSystem::nodes())
    all += node->getName().size() == 1 ? ", " + node->getPath() : "";
  system.run("NODE: late\nSource = " + all + "\nEND\nNODE: later\nOuter Radius = 8 [m]\nEND\n"
                 + "NODE: a\nOuter Radius = 7 [m]\nEND\n",
             kslUpdateAtEnd);
  expectRightGraph("later links");
}

// A command works, can be undone and done again, and what there is to undo leads back to the beginning.
void FaultSweepTest::expectUsable(SweepSystem& system, const SweepState& now, bool stepLost)
{
  const auto steps = [&system] { return system.interface()->getUndoStack().size(); };
  const auto expect = [&system](const SweepState& state, const char* when) {
    const SweepState reached = SweepState::now();
    EXPECT_EQ(reached.texts + reached.objects + reached.graph, state.texts + state.objects + state.graph)
        << when;
  };
  const std::size_t stepsNow = steps();
  system.run("A: a\nx = after\nA: after\nColour = green\nEND\nEND\n");
  const SweepState after = SweepState::now();
  EXPECT_EQ(steps(), stepsNow + 1);
  EXPECT_NE(after.texts.find("A:after"), std::string::npos);
  system.undo();
  expect(now, "undo of the command after");
  system.redo();
  expect(after, "redo of the command after");

  if (!SweepSystem::nodes().empty())
    expectLinkable(system);
  while (steps() > stepsNow)
    system.undo();
  expect(now, "undo of all that came after");
  while (steps() > 0)
    system.undo();
  EXPECT_EQ(system.errors(), "");
  EXPECT_TRUE(stepLost || SweepState::now().texts.empty()) << "undo of all leads to\n" << system.state();
  expectRightGraph("undone");
}

// The number of faults that were met.
unsigned long FaultSweepTest::sweep(const std::vector<Scenario>& scenarios)
{
  unsigned long met = 0;
  for (const Scenario& scenario : scenarios) {
    const Completed completed = complete(scenario);
    for (unsigned long n = 1; !HasFailure(); ++n, ++met) {
      SCOPED_TRACE(std::string(scenario.name) + ": fault " + std::to_string(n));
      if (!strike(scenario, completed, n))
        break;
    }
  }
  return met;
}

}  // namespace

TEST_P(FaultSweepTest, LeavesNoTraceOrNoError)
{
  const unsigned long met = (GetParam().scenarios & FaultCase::texts ? sweep(textScenarios()) : 0)
                            + (GetParam().scenarios & FaultCase::nets ? sweep(netScenarios()) : 0);
  EXPECT_GT(met, 0U) << "nothing was ever made to fail";
}

INSTANTIATE_TEST_SUITE_P(
    Faults, FaultSweepTest,
    testing::Values(FaultCase{FaultKind::allocation, "AllocationInTexts", FaultCase::texts},
                    FaultCase{FaultKind::allocation, "AllocationInNets", FaultCase::nets},
                    FaultCase{FaultKind::setValue, "SetValue"},
                    FaultCase{FaultKind::initialize, "Initialize"}, FaultCase{FaultKind::update, "Update"},
                    FaultCase{FaultKind::calculation, "Calculation"}, FaultCase{FaultKind::link, "Link"},
                    FaultCase{FaultKind::load, "Load"}, FaultCase{FaultKind::notification, "Notification"},
                    FaultCase{FaultKind::observer, "Observer"}, FaultCase{FaultKind::action, "Action"},
                    FaultCase{FaultKind::step, "Step"},
                    FaultCase{FaultKind::allocation, "AllocationCaught", FaultCase::nets, true},
                    FaultCase{FaultKind::calculation, "CalculationCaught", FaultCase::nets, true},
                    FaultCase{FaultKind::link, "LinkCaught", FaultCase::nets, true},
                    FaultCase{FaultKind::load, "LoadCaught", FaultCase::nets, true},
                    FaultCase{FaultKind::observer, "ObserverCaught", FaultCase::nets, true}),
    [](const auto& test) { return std::string(test.param.name); });

namespace {

// A session that is swept like a SweepSystem.
struct SweepSession {
  explicit SweepSession(kslUpdateMode mode) : session(options(mode))
  {
    session.observe([this](const Outcome& outcome) {
      ++told;
      last = outcome;
    });
  }
  static SessionOptions options(kslUpdateMode mode)
  {
    SessionOptions options;
    options.rules = SweepSystem::rules();
    options.updateMode = mode;
    options.prepare = [](ActionFactory& actions) {
      const FragileType registered;
      actions.registerExecutor("define", std::make_unique<FragileExecutor>());
    };
    return options;
  }
  Outcome enter(const std::vector<std::string>& pieces)
  {
    if (pieces.size() == 1)
      return session.run(pieces.front());
    Session::Command command(session, "in pieces");
    for (const std::string& piece : pieces)
      if (!session.run(piece))
        break;
    return command.end();
  }
  SweepState state() const
  {
    const Session::Scope scope(session);
    expectRightGraph("of a session");
    return SweepState::now();
  }

  Session session;
  int told = 0;
  Outcome last;
};

std::vector<Scenario> sessionScenarios(const std::string& file)
{
  std::vector<Scenario> all = textScenarios();
  std::erase_if(all, [](const Scenario& scenario) { return scenario.name == std::string("many objects"); });
  all.insert(all.end(), {netScenarios()[0], netScenarios()[3]});
  static std::string save;
  static std::string load;
  save = "> savestate filename=" + file + ", mode=overwrite\n";
  load = "> readstate filename=" + file + ", mode=append, load=true\n";
  all.push_back({"save", {tree}, save.c_str()});
  all.push_back({"load", {tree, save.c_str(), "> delete /A:a, /S\n"}, load.c_str()});
  all.push_back({"fail", {tree}, "&replace A: a\nx = 2\nEND\n> delete /S\nB: n\nx = 1\nbogus = 1\nEND\n"});
  return all;
}

void prepare(SweepSession& system, const Scenario& scenario)
{
  for (const char* text : scenario.before)
    EXPECT_TRUE(system.session.run(text)) << text;
}

std::string contents(const SweepState& state)
{
  return state.texts + state.objects + state.graph;
}

// False when there was no fault to meet.
bool strikeSession(const Scenario& scenario, const Outcome& completed, const SweepState& after,
                   unsigned long n)
{
  SweepSession system(scenario.mode);
  prepare(system, scenario);
  const std::vector<std::string> pieces = StringUtilities::stringToVector(scenario.text, '\f');
  const SweepState before = system.state();
  system.told = 0;
  trap = {FaultKind::allocation, n};
  Outcome outcome;
  EXPECT_NO_THROW(outcome = system.enter(pieces));
  const bool met = trap.left == 0;
  trap = {};

  EXPECT_TRUE(completed || !outcome);
  EXPECT_EQ(system.told, 1);
  EXPECT_EQ(static_cast<bool>(system.last), static_cast<bool>(outcome));
  EXPECT_LE(outcome.errors().size(), 1U) << toText(outcome.errors().back());
  EXPECT_EQ(outcome.changes(), outcome ? completed.changes() : std::vector<Change>());
  const SweepState now = system.state();
  EXPECT_EQ(contents(now), contents(outcome ? after : before));
  EXPECT_TRUE(system.session.run("A: a\nx = after\nEND\n"));
  EXPECT_TRUE(system.session.undo());
  EXPECT_EQ(system.state().texts, now.texts);
  return met;
}

}  // namespace

// Through the front door: nothing is thrown, and the outcome is true when, and only when, the command was done.
TEST(FaultSweep, OutcomesSayWhatBecameOfTheCommand)
{
  const SweepPlugins plugins;
  const TempFolder folder;
  unsigned long met = 0;
  for (const Scenario& scenario : sessionScenarios(folder / "s.qst")) {
    SweepSession plain(scenario.mode);
    prepare(plain, scenario);
    const Outcome completed = plain.enter(StringUtilities::stringToVector(scenario.text, '\f'));
    const SweepState after = plain.state();
    for (unsigned long n = 1; !HasFailure(); ++n, ++met) {
      SCOPED_TRACE(std::string(scenario.name) + ": fault " + std::to_string(n));
      if (!strikeSession(scenario, completed, after, n))
        break;
    }
  }
  EXPECT_GT(met, 0U);
}

// A program in C hears of a lack of memory like of anything else: never by an exception.
TEST(FaultSweep, CFunctionsFailByReportAlone)
{
  SweepSystem system;
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

// The words for what went wrong may need memory that is not there either.
TEST(FaultSweep, AFailureThatCannotBeSaidIsStillOne)
{
  SweepSystem system;
  system.registerAction("starve", [](const auto&) {
    trap = {FaultKind::allocation, 1};
    throw 1;
  });
  system.run("A: late\nEND\n> starve");
  EXPECT_EQ(system.errors(), "error[1] KSLInterface::parseKSL: Operation failed. Insufficient memory.");
  EXPECT_EQ(system.state(), "");
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

}  // namespace orv
