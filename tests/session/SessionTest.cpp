// The front door.
#include "session/Session.h"

#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "command/ActionExecutor.h"
#include "command/ActionFactory.h"
#include "command/KSLInterface.h"
#include "session/Planner.h"
#include "tests/support/TempFolder.h"
#include "tests/support/TestSystem.h"
#include "tests/support/thrown.h"

#include <atomic>
#include <fstream>
#include <gtest/gtest.h>
#include <thread>

namespace orv {
namespace {

class FunctionExecutor : public ActionExecutor {
 public:
  explicit FunctionExecutor(std::function<void()> action) : m_action(std::move(action)) {}
  void invoke(const std::vector<std::string>&) override { m_action(); }

 private:
  std::function<void()> m_action;
};

SessionOptions testOptions()
{
  SessionOptions options;
  options.rules = TestSystem::defaultRules();
  return options;
}

// All that an outcome says, as one text.
std::string told(const Outcome& outcome)
{
  std::string text = outcome ? "good\n" : "failed\n";
  for (const ErrorMsg& error : outcome.errors())
    text += toText(error) + "\n";
  for (const ErrorMsg& warning : outcome.warnings())
    text += toText(warning) + "\n";
  if (outcome.rolledBack() > 0)
    text += "rolled back " + std::to_string(outcome.rolledBack()) + "\n";
  for (const Change& change : outcome.changes())
    text += toText(change) + (change.internal ? " (internal)\n" : "\n");
  return text;
}

class SessionTest : public testing::Test {
 protected:
  std::size_t undoSteps() const
  {
    const Session::Scope scope(session);
    return KSLInterface::instance()->getUndoStack().size();
  }
  Session session{testOptions()};
};

TEST_F(SessionTest, OutcomesSayWhatCameOfACommand)
{
  struct Row {
    const char* text;
    const char* outcome;
  };
  const Row rows[] = {
      {" \n\t\n", "good\n"},
      {"A: a\r\n  x = 1\r\n  LABEL: in\r\n  END\r\nEND",
       "good\ncreated /A:a\nvalue /A:a x = 1\ncreated /A:a/LABEL:in\n"},
      {"A: a\n  x = 1\nEND", "good\n"},
      {"A: a\n  x = 2\nEND\nNONE: b\nEND",
       "failed\nerror[4] ObjectFactory::createObject: Could not find object: NONE\nrolled back 2\n"},
      {"A: \\\n b\nx = \\\n /A:c, \\\n /A:d",
       "failed\nerror[4] KSLInterface::preParseKSL: Not enough END statements in KSL.\n"},
      {"CUT: c\n  Cuts = /CUT:d\nEND\nCUT: d\nEND\nCUT: d\nLABEL: l\nEND\nEND\n",
       "good\ncreated /CUT:c\nvalue /CUT:c Cuts = /CUT:d\ncreated /CUT:d\ncreated /CUT:d/LABEL:l\n"},
      // Of what was below it nothing is said.
      {"> delete /CUT:d", "good\ndeleted /CUT:d\n"},
      {"> undo", "good\ncreated /CUT:d\ncreated /CUT:d/LABEL:l\n"},
      {"> undo\n> undo\n> undo",
       "good\nwarning[8] KSLInterface::getHistoryChanges: Nothing to undo.\n"
       "deleted /CUT:d\ndeleted /CUT:c\ndeleted /A:a\n"},
      {"> redo",
       "good\ncreated /A:a\nvalue /A:a x = 1\ncreated /A:a/LABEL:in\ncreated /CUT:c\n"
       "value /CUT:c Cuts = /CUT:d\ncreated /CUT:d\ncreated /CUT:d/LABEL:l\n"},
  };
  for (const Row& row : rows)
    EXPECT_EQ(told(session.run(row.text)), row.outcome) << row.text;
}

// Of a text that the caller knows. What the session makes of a question of his has no places.
TEST_F(SessionTest, ErrorsKnowTheirPlaceInWhatWasGiven)
{
  const auto place = [](const Outcome& outcome) {
    const Diagnostic* known = outcome.errors().at(0).getDiagnostic().get();
    return !known ? "unknown"
                  : _("%s:%d:%d %s.%s ", known->source, known->line, known->column, known->object,
                      known->parameter)
                        + hintOf(outcome.errors()[0]);
  };
  const TempFolder folder;
  std::ofstream(folder / "a.ksl") << "A: a\nEND\nA: b\n  xx = 1\nEND\n";
  const std::string all = "allowed: Colour, Cuts, Layers, Normal, Offset, Option, Radius, Visible";
  session.run("CUT: c\nEND");
  EXPECT_EQ(place(session.run("CUT: c\n  Offst = 1\nEND\n")),
            ":2:3 /CUT:c.Offst did you mean 'Offset'? " + all);
  EXPECT_EQ(place(session.run("\nNONE: a\nEND\n", {"typed", 10})).substr(0, 11), "typed:11:1 ");
  EXPECT_EQ(place(session.run("A: a\n  x = 1\n\n", {"typed", 10})), "typed:11:0 . ");
  EXPECT_EQ(place(session.runFile(folder / "a.ksl")).substr(0, (folder / "a.ksl").size() + 5),
            (folder / "a.ksl") + ":4:3 ");
  EXPECT_EQ(place(session.set("c", "Offst", "1")), ":0:0 /CUT:c.Offst did you mean 'Offset'? " + all);
}

TEST_F(SessionTest, APlanDoesNothing)
{
  session.run("A: a\nEND");
  const std::string before = session.state();
  const Plan plan = session.plan("A: a\n  x = 1\nEND\nA: b\nEND\n");
  EXPECT_EQ(plan.objects.size(), 2U);
  EXPECT_FALSE(plan.steps.at(0).failed);
  const Plan faulty = session.plan("A: a\n  x = 1\n");
  ASSERT_TRUE(faulty.steps.at(0).failed);
  EXPECT_EQ(faulty.steps[0].reports, session.run("A: a\n  x = 1\n").errors());
  EXPECT_TRUE(session.plan(" ").steps.empty());
  EXPECT_EQ(session.state(), before);
  EXPECT_EQ(undoSteps(), 1U);
}

// The copy of the process that makes a plan needs what another thread holds at this moment.
TEST(SessionParts, PlansAreMadeBesideOtherThreads)
{
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP()
      << "its allocator may be locked by the other thread when the process is copied, for ever in the copy";
#endif
  SessionOptions options = testOptions();
  options.validate = true;
  Session session(options);
  std::atomic<bool> done = false;
  std::thread other([&done] {
    Session own(testOptions());
    own.run("CUT: a\n  Offset = 1 [m]\nEND");
    while (!done)
      EXPECT_THROW(own.quantity("a", "Offset", "none"), Error);
  });
  for (int i = 0; i < 100; ++i)
    EXPECT_FALSE(session.plan("CUT: b\n  Offset = 1 [furlong]\nEND").steps.at(0).failed);
  done = true;
  other.join();
}

// What the front door sets is what is there then, or nothing is set.
TEST_F(SessionTest, SettingAParameterIsACommand)
{
  session.run("A: a \"b # c\"\nEND\nA: a\n  LABEL: in\n  END\nEND\n");
  struct Row {
    const char* object;
    const char* parameter;
    const char* value;
    const char* error;  // null for none
  };
  const Row rows[] = {
      {"/A:a/LABEL:in", "Text", "two  words, \"a # b\"", nullptr},
      {"a", "x", "ends in \\", nullptr},
      {"a", "y", "", nullptr},
      {"/A:b", "x", "1", "Session::set: Object '/A:b' does not exist."},
      {"a", "none", "1", "DataKSLObject::setValue: Parameter 'none' is not recognized on object '/A:a'."},
      {"a", "x", "1 # 2", "Session::set: Value '1 # 2' of parameter 'x' cannot be written as text."},
      {"a", "x", "1\nEND", "Session::set: Value '1\nEND' of parameter 'x' cannot be written as text."},
      {"a", "x = 1 #", "2", "Session::set: Value '2' of parameter 'x = 1 #' cannot be written as text."},
      {"a", "> delete", "2", "Session::set: Value '2' of parameter '> delete' cannot be written as text."},
  };
  for (const Row& row : rows) {
    const std::size_t steps = undoSteps();
    const Outcome outcome = session.set(row.object, row.parameter, row.value);
    EXPECT_EQ(bool(outcome), !row.error) << row.value;
    if (row.error) {
      const ErrorMsg& error = outcome.errors().front();
      EXPECT_EQ(error.getClassName() + "::" + error.getFunction() + ": " + error.getMessage(), row.error);
      EXPECT_EQ(undoSteps(), steps);
    } else {
      EXPECT_EQ(StringUtilities::simplifyWhitespace(session.value(row.object, row.parameter)),
                StringUtilities::simplifyWhitespace(row.value));
      EXPECT_LE(undoSteps(), steps + 1);
    }
  }
}

// ------------------------------------------------------------------------------------------ a command in pieces

TEST_F(SessionTest, ACommandInPiecesIsOneStep)
{
  session.run("A: a\n  x = 1\nEND\nA: b\nEND\n");
  const std::string before = session.state();
  std::vector<std::string> heard;
  session.observe([&](const Outcome& outcome) { heard.push_back(told(outcome)); });
  {
    Session::Command command(session);
    EXPECT_TRUE(session.set("a", "x", "2"));
    EXPECT_EQ(session.value("a", "x"), "2") << "what is done is there for the next piece";
    EXPECT_TRUE(session.run("C: c\nEND\n> delete b"));
    EXPECT_EQ(thrown<internal::error>([&] { Session::Command inner(session); }).getMessage(),
              "A command is under way.");
    EXPECT_TRUE(heard.empty());
    command.end();
    EXPECT_EQ(undoSteps(), 2U);
  }
  const std::string after = session.state();
  EXPECT_EQ(after, "A:a\n  x = 2\nEND\nC:c\nEND\n");
  session.undo();
  EXPECT_EQ(session.state(), before);
  session.redo();
  EXPECT_EQ(session.state(), after);
  ASSERT_EQ(heard.size(), 3U);
  EXPECT_EQ(heard[0], "good\nvalue /A:a x = 2\ncreated /C:c\ndeleted /A:b\n");
}

// However it does not come to its end: nothing is left of it, and what could be done again still can.
TEST_F(SessionTest, ACommandInPiecesThatFailsLeavesNothing)
{
  session.run("A: a\n  x = 1\nEND\n");
  session.run("A: undone\nEND\n");
  session.undo();
  const std::string before = session.state();
  const auto expectNothing = [&](const char* how) {
    EXPECT_EQ(session.state(), before) << how;
    EXPECT_EQ(undoSteps(), 1U) << how;
    const Session::Scope scope(session);
    EXPECT_EQ(KSLInterface::instance()->getRedoStack().size(), 1U) << how;
  };
  const std::pair<std::function<Outcome()>, const char*> failures[] = {
      {[&] { return session.run("NONE: b\nEND"); },
       "error[4] ObjectFactory::createObject: Could not find object: NONE"},
      {[&] { return session.run("A: b"); },
       "error[4] KSLInterface::preParseKSL: Not enough END statements in KSL."},
      {[&] { return session.undo(); }, "error[4] Session::run: '> undo' is not for pieces of a command."},
      {[&] { return session.set("none", "x", "1"); }, "error[4] Session::set: Object 'none' does not exist."},
  };
  for (const auto& [fail, report] : failures) {
    Session::Command command(session);
    session.set("a", "x", "2");
    const Outcome outcome = fail();
    ASSERT_FALSE(outcome) << report;
    EXPECT_EQ(toText(outcome.errors().front()), report);
    expectNothing(report);
    EXPECT_EQ(session.set("a", "x", "3").errors().at(0).getMessage(),
              "The command has failed; nothing is added to it.");
    EXPECT_EQ(command.end().errors().at(0), outcome.errors().at(0));
    expectNothing(report);
  }
  {
    Session::Command command(session);
    session.set("a", "x", "2");
    EXPECT_EQ(told(command.rollBack()), "good\nrolled back 1\n");
    expectNothing("rolled back");
    EXPECT_EQ(told(command.end()), "good\nrolled back 1\n");
  }
  {
    const Session::Command command(session);
    session.set("a", "x", "2");
  }
  expectNothing("abandoned");
  EXPECT_TRUE(session.redo());
  EXPECT_TRUE(session.has("undone"));
}

TEST_F(SessionTest, ACommandInPiecesIsRecordedWhenItIsDone)
{
  const TempFolder folder;
  const std::string file = folder / "work.kses";
  session.run("> session start, filename=" + file);
  for (const bool keep : {false, true}) {
    Session::Command command(session);
    session.run(keep ? "A: kept\nEND" : "A: dropped\nEND");
    session.set(keep ? "kept" : "dropped", "x", "1");
    keep ? command.end() : command.rollBack();
  }
  session.run("> session stop");
  EXPECT_EQ(folder.read("work.kses").find("dropped"), std::string::npos);
  const std::string state = session.state();
  session.run("> delete kept");
  ASSERT_TRUE(session.runFile(file));
  EXPECT_EQ(session.state(), state);
}

// ------------------------------------------------------------------------------------------------ who takes part

// From within a command all is part of it, and a failure passes outward.
TEST(SessionParts, ExecutorsOfTheProgramMayUseTheSession)
{
  std::unique_ptr<Session> session;
  std::string text;
  SessionOptions options = testOptions();
  options.prepare = [&](ActionFactory& actions) {
    actions.registerExecutor("say", std::make_unique<FunctionExecutor>([&] { session->run(text); }));
    actions.registerExecutor("set",
                             std::make_unique<FunctionExecutor>([&] { session->set("none", "x", "1"); }));
    actions.registerExecutor("undo", std::make_unique<FunctionExecutor>([] {}));
  };
  session = std::make_unique<Session>(options);
  text = "A: said\nEND";
  EXPECT_EQ(told(session->run("A: a\nEND\n> say")), "good\ncreated /A:a\ncreated /A:said\n");
  text = "NONE: said\nEND";
  EXPECT_EQ(told(session->run("A: b\nEND\n> say\nA: c\nEND")),
            "failed\nerror[4] ObjectFactory::createObject: Could not find object: NONE\nrolled back 2\n");
  EXPECT_EQ(told(session->run("A: b\nEND\n> set")),
            "failed\nerror[4] Session::set: Object 'none' does not exist.\nrolled back 1\n");
  EXPECT_TRUE(session->undo());
  EXPECT_TRUE(session->has("said")) << "the program's own word";
}

TEST_F(SessionTest, ObserversAreToldWhenACommandIsOver)
{
  std::string heard;
  int second = 0;
  const int first = session.observe([&](const Outcome& outcome) {
    heard += outcome ? "1 " : "1! ";
    session.unobserve(second);
    throw 1;
  });
  second = session.observe([&](const Outcome&) { heard += "2 "; });
  session.observe([&](const Outcome& outcome) {
    heard += "3 ";
    if (!outcome)
      session.run("A: made by an observer\nEND");
  });
  session.run("A: a\nEND");
  session.run("NONE: a\nEND");
  session.unobserve(first);
  session.undo();
  EXPECT_EQ(heard, "1 3 1! 3 1 3 3 ");
}

// Sessions with other rules, on threads of their own, in turn and at once: what each gives is what it gives alone.
TEST(SessionParts, SessionsShareNothing)
{
  const auto work = [](const std::string& type, std::string& all) {
    SessionOptions options;
    options.rules = "RULES:\nKSLObjectClasses = DataKSLObject\nPARAMETER: x\nDefault = 1 [cm]\nEND\nOBJECT: "
                    + type + "\nKSLObject Class = DataKSLObject\nEssential Parameter List = x\nEND\nEND\n";
    Session session(options);
    Session demo;
    for (int i = 0; i < 30; ++i) {
      all += told(session.run(type + ": o" + std::to_string(i) + "\nEND\n"));
      all += told(demo.run("CUT: c\nOffset = " + std::to_string(i) + " [m]\nEND\n" + type + ": none\nEND"));
      all += std::to_string(session.quantity("o0", "x", "m"));
      all += told(i % 3 == 2 ? session.undo() : session.redo());
    }
    all += session.state() + demo.state();
  };
  std::map<std::string, std::string> alone;
  std::map<std::string, std::string> together;
  std::vector<std::thread> threads;
  for (const char* type : {"A", "B", "CUT"}) {
    work(type, alone[type]);
    threads.emplace_back(work, type, std::ref(together[type]));
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(alone, together);
  EXPECT_NE(alone["A"], alone["B"]);
}

TEST(SessionParts, FaultyDefinitionsLeaveNothingBehind)
{
  SessionOptions options;
  options.rules = "RULES:\nTHING: a\nEND\nEND\n";
  EXPECT_EQ(thrown<ksl::invalid>([&] { Session session(options); }).getFunction(), "process");
  EXPECT_TRUE(Session(testOptions()).run("A: a\nEND"));
}

// -------------------------------------------------------------------------------------------------------- queries

TEST_F(SessionTest, QueriesAnswerOrSayWhatIsNotThere)
{
  session.run(
      "CUT: z\n  Offset = 25 [cm]\n  LABEL: in\n  END\n  A: k\n  END\nEND\nVIEW:\nEND\nA: b\n  x = a\nEND\n");
  using Paths = std::vector<std::string>;
  EXPECT_EQ(session.objects("deletable"), (Paths{"/A:b", "/CUT:z", "/CUT:z/A:k"}));
  EXPECT_EQ(session.objects("A"), (Paths{"/A:b", "/CUT:z/A:k"}));
  EXPECT_EQ(session.objects("none"), Paths{});
  EXPECT_EQ(session.children("z"), (Paths{"/CUT:z/A:k", "/CUT:z/LABEL:in"}));
  EXPECT_DOUBLE_EQ(session.quantity("/CUT:z", "Offset").convertTo("m"), 0.25);
  EXPECT_EQ(session.state(Paths{"/VIEW", "b"}), "VIEW:\n  Zoom = 1\nEND\nA:b\n  x = a\nEND\n");
  EXPECT_EQ(session.values("z").count("Cache"), 0U);
  EXPECT_EQ(session.values("z", true).count("Cache"), 1U);
  EXPECT_FALSE(session.has("none"));

  const std::pair<const char*, std::function<void()>> asked[] = {
      {"value", [&] { session.value("none", "x"); }}, {"quantity", [&] { session.quantity("none", "x"); }},
      {"values", [&] { session.values("none"); }},    {"children", [&] { session.children("none"); }},
      {"type", [&] { session.type("none"); }},        {"object", [&] { session.object("none"); }},
      {"state", [&] { session.state("none"); }},
  };
  for (const auto& [function, ask] : asked)
    EXPECT_EQ(thrown<data::notFound>(ask),
              ErrorMsg("Session", function, "Object 'none' does not exist.", errorType::ordinary));
}

TEST(SessionFiles, SaveLoadAndTheDemoOfTheInstallation)
{
  const TempFolder folder;
  SessionOptions options;
  options.library = Session::installedLibrary();
  Session session(options);
  session.run(
      "CUT: a\n  Offset = 2 [m]\n  Protected = On\nEND\nCUT: b\nEND\nDATA READER:\n  Current Results File = "
      + folder.write("flow.res", "DOMAIN: Tunnel\nEND\n") + "\nEND\n");
  EXPECT_EQ(told(session.run("> delete a, b")).substr(5, 73),
            "warning[8] ProtectedObjects::filter: Object '/CUT:a' is protected.\ndelete");
  ASSERT_TRUE(session.save(folder / "work.qst"));
  session.run("CUT: c\nEND");
  const Outcome loaded = session.load(folder / "work.qst");
  EXPECT_TRUE(loaded) << told(loaded);
  std::filesystem::rename(folder / "work.qst", folder / "wo rk.qst");
  EXPECT_TRUE(session.load(folder / "wo rk.qst"));
  folder.write("work.qst", "another");
  EXPECT_EQ(session.load(folder / "wo rk.qst").errors().at(0).getClassName(), "Session");
  EXPECT_TRUE(session.has("/DOMAIN:Tunnel")) << "the results are read as ksl reads them";
  EXPECT_FALSE(session.has("/CUT:c"));
  for (const char* name : {"", "a,b", "two words"})
    EXPECT_EQ(session.save(name).errors().at(0).getClassName(), "Session") << name;
  EXPECT_FALSE(session.runFile(folder / "none.ksl"));
}

}  // namespace
}  // namespace orv
