// Who may submit text, from where, and what comes of it: before, while and after a command fails. The table is the one of
// docs/embedding.md.
#include "tests/support/Model.h"
#include "tests/support/Talkers.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace orv {
namespace {

struct SubmittedCommand {
  const char* name;
  const char* text;
  bool fails;
};

constexpr SubmittedCommand commands[] = {
    {"good", "B: b\nx = 1\nEND\n> delete /B:old\n> say", false},
    {"failing", "&replace B: old\nEND\nB: b\nx = 1\nEND\n> say\n> fail", true},
    {"failing in an update", "B: b\nx = 1\nEND\n> say\nA: b\nx = 1\nmode = bogus\nEND", true},
    {"failing undo", "> undo\n> say\n> fail", true},
};

constexpr const char* good = "B: b\nx = 9\nEND\nA: said\nx = 9\nEND";
constexpr const char* bad = "A: kept\nmode = bogus\nx = 9\nEND\nA: said\nEND";

class Contract : public testing::Test {
 protected:
  // One command, with one text submitted. False when there was no such occasion.
  bool walk(const Talker& talker, unsigned long occasion, const SubmittedCommand& command,
            const std::string& text, bool swallows);
};

bool Contract::walk(const Talker& talker, unsigned long occasion, const SubmittedCommand& command,
                    const std::string& text, bool swallows)
{
  TalkingSystem talking;
  talking.run("B: older\nx = 0\nEND\nB: old\nx = 0\nEND\nA: kept\nEND");
  talking.run("A: kept\nx = 1\nEND\nB: old\nx = 2\nEND");
  const std::string before = readDatabase().sorted().toText();
  talking.let(talker, occasion, text, swallows);
  talking.run(command.text);
  if (!talking.hasSpoken())
    return false;
  const std::string now = readDatabase().sorted().toText();
  const auto failures = talking.takeFailures();
  std::string told;
  for (const ErrorMsg& failure : failures)
    told += toText(failure) + "\n";
  SCOPED_TRACE(told);
  const bool isOwn = talking.spokeOutside();
  const bool refused = talking.spokeInRecovery();
  EXPECT_EQ(talking.takeRefusals(), refused ? 1 : 0);
  if (text == "> undo") {  // takes a step, is refused, or fails the command
    EXPECT_LE(failures.size(), 1U);
  } else {
    const bool textFails = text == bad;
    const bool stands = !command.fails && (isOwn || refused || !textFails);
    const bool said = !refused && !textFails && (isOwn || stands);
    EXPECT_EQ(now.find("A:said") != std::string::npos, said);
    EXPECT_EQ(now.find("B:old\n") == std::string::npos && !command.fails, stands);
    if (!said && !stands) {
      EXPECT_EQ(now, before);
    }
    const std::size_t own = isOwn && textFails ? 1 : 0;
    EXPECT_EQ(failures.size(), own + (command.fails || (!isOwn && !refused && textFails) ? 1 : 0));
  }
  talking.expectSound();
  return true;
}

TEST_F(Contract, EachPlaceInEachPhase)
{
  for (const Talker& talker : talkers()) {
    bool everSpoke = false;
    for (const SubmittedCommand& command : commands) {
      for (const std::string text : {good, bad, "> undo"}) {
        for (const bool swallows : {false, true}) {
          bool spoke = true;
          for (unsigned long occasion = 1; spoke && !HasFailure(); ++occasion) {
            SCOPED_TRACE(std::string(talker.name) + ", occasion " + std::to_string(occasion) + ", command "
                         + command.name + ", text " + text + (swallows ? ", swallowed" : ""));
            spoke = walk(talker, occasion, command, text, swallows);
            everSpoke = everSpoke || spoke;
          }
        }
      }
    }
    EXPECT_TRUE(everSpoke) << talker.name;
  }
}

// What failed in the middle of something can be said again, and is not lost.
TEST_F(Contract, WhatWasTakenBackCanBeSaidAgain)
{
  for (const Talker& talker : talkers()) {
    if (talker.number == 12 || talker.number > 13)
      continue;  // not in this command
    SCOPED_TRACE(talker.name);
    TalkingSystem talking;
    talking.run("A: kept\nEND");
    talking.let(talker, 1, bad, true);
    talking.run(talker.number == 13 ? "B: b\nx = 1\nEND\n> fail" : "B: b\nx = 1\nEND\n> say");
    EXPECT_TRUE(talking.hasSpoken());
    talking.run("A: kept\nx = 9\nEND");
    talking.run("> delete /A:kept");
    talking.run("> undo");
    EXPECT_NE(talking.system.state().find("A:kept\n  x = 9\n"), std::string::npos);
    talking.expectSound();
  }
}

struct Sequence {
  const char* name;
  std::vector<const char*> texts;
  const char* errors;  // of all
  const char* state;   // of both, whole
};

TEST(WayBack, Sequences)
{
  const char* const failed = "error[4] Test::fail: failed";
  const char* const rules =
      "error[4] KSLAPI::loadKSLData: Object type 'RULES' cannot be changed by a command.";
  const Sequence table[] = {
      {"what only the store had done goes where it was",
       {"B: b1\nEND\nB: b2\nEND", "&replace B: b1\n?\nEND"},
       "error[4] KSLAPI::loadKSLData: Syntax error in KSL line: '?'.",
       "B:b1\nEND\nB:b2\nEND\n"},
      {"what the database had deleted comes back last, in both",
       {"B: b1\nx = 1\nB: in\nEND\nB: in2\nEND\nEND\nB: b2\nEND", "&replace B: b1\nEND\n> fail"},
       failed,
       "B:b2\nEND\nB:b1\n  x = 1\n  B:in\n  END\n  B:in2\n  END\nEND\n"},
      {"a deletion that an update did not reach",
       {"B: b1\nEND\nB: b2\nEND", "A: a\nmode = bogus\nEND\n&replace B: b1\nEND"},
       "error[4] ParamDefinition::setValue: Parameter 'mode' cannot have value 'bogus'.",
       "B:b1\nEND\nB:b2\nEND\n"},
      {"RULES in a command", {"B: b\nEND\nRULES:\nOBJECT: C\nEND\nEND"}, rules, ""},
      {"RULES in a command, replaced", {"&replace \"RULES\":\nEND"}, rules, ""},
      {"RULES by another way",
       {"A: a\nx = 1\nEND", "> copy from=/A:a, to=b", "> rename from=/A:a, to=/RULES"},
       nullptr,
       nullptr},
  };
  for (const Sequence& entry : table) {
    SCOPED_TRACE(entry.name);
    TalkingSystem talking;
    for (const char* text : entry.texts)
      talking.run(text);
    std::string errors;
    for (const ErrorMsg& error : talking.takeFailures())
      errors += (errors.empty() ? "" : "\n") + toText(error);
    if (entry.errors) {
      EXPECT_EQ(errors, entry.errors);
      EXPECT_EQ(talking.system.state(), entry.state);
    }
    EXPECT_EQ(talking.system.text()->getObjectInfo("/RULES").empty(), false);
    talking.expectSound();
  }
}

// Who submits a text whenever one is run is stopped by one failure, told once; whoever is told of texts has had his.
TEST(WayBack, TextsThatNestWithoutEndFail)
{
  for (const int type : {-1, 0, 1, 4}) {
    SCOPED_TRACE(type);
    TestSystem system;
    system.run("A: a\nx = 1\nEND");
    system.notifications();
    const std::string before = system.state();
    const std::string text = type == -1 ? "> again" : type == 4 ? "> forceupdate /A:a" : "> update";
    system.registerAction("again", [&](const auto&) { system.run("A: n\nx = 1\nEND\n" + text); });
    system.onNotification = [&](int told) {
      if (told == type)
        system.run(text);
    };
    system.run(text);
    system.onNotification = nullptr;
    const ErrorMsg tooDeep("KSLInterface", "parseKSL",
                           "Operation 'parseKSL' failed. Texts are nested too deeply.", errorType::internal);
    EXPECT_EQ(std::ranges::count(system.errorList(), tooDeep), 1);
    EXPECT_EQ(system.state(), before);
    const std::vector<std::string> told = StringUtilities::stringToVector(system.notifications(), ' ');
    EXPECT_EQ(std::ranges::count(told, "0"), std::ranges::count(told, "1"));
    system.run("A: a\nx = 2\nEND");
    EXPECT_EQ(system.errors(), "");
    system.expectConsistent();
  }
}

// Recovery goes on past what fails, counts what it put back, and the store follows the database in the rest.
TEST(WayBack, ARecoveryThatFailsLeavesStoreAndDatabaseTheSame)
{
  TalkingSystem talking;
  talking.run("B: b\nx = 1\nEND\nB: c\nx = 1\nEND");
  bool recovering = false;
  talking.onRecovery = [&] { recovering = true; };
  talking.onCall = [&](Place place) {
    if (recovering && place == Place::executor && std::exchange(recovering, false))
      throw data::invalid("Test", "override", "stored, then refused");
  };
  talking.run("B: b\nx = 2\nEND\nB: c\nx = 2\nEND\nA: n\nx = 1\nEND\n> fail");
  const auto failures = talking.takeFailures();
  ASSERT_EQ(failures.size(), 3U);
  EXPECT_EQ(toText(failures[1]), "error[4] Test::override: stored, then refused");
  EXPECT_EQ(toText(failures[2]),
            "error[1] KSLInterface::parseHistory: An attempt to recover from a previous error has failed.\n"
            "  The application is likely to be in an unstable state.");
  EXPECT_EQ(talking.system.state(), "B:b\n  x = 1\nEND\nB:c\n  x = 2\nEND\n");
  EXPECT_EQ(talking.system.interface()->getLastRecoverySize(), 3U);  // of four
  talking.expectSound();
}

}  // namespace
}  // namespace orv
