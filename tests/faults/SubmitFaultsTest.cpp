// Faults while somebody submits text, and a second one that hits the recovery. Whatever fails, store and database are the
// same afterwards, what began has ended, nothing comes out of the command, and the next one works. Commands are recorded,
// and calculations set values and write a file.
#include "platform/ORVOutputFiles.h"
#include "tests/faults/Trap.h"
#include "tests/support/Model.h"
#include "tests/support/Talkers.h"
#include "tests/support/TempFolder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace orv {
namespace {

constexpr const char* command =
    "&replace B: old\nB: in\nx = 1\nEND\nEND\nB: b\nx = 1\nEND\n> say\nA: b\nx = 2\nEND";
constexpr const char* submitted = "B: b\nx = 9\nEND\nA: said\nx = 9\nEND\n> delete /B:older";

FaultKind kindOf(Place place)
{
  switch (place) {
    case Place::update:
      return FaultKind::update;
    case Place::calculation:
      return FaultKind::calculation;
    case Place::database:
      return FaultKind::observer;
    case Place::progress:
      return FaultKind::step;
    case Place::notification:
      return FaultKind::notification;
    case Place::sink:
      return FaultKind::load;  // none
    default:
      return FaultKind::setValue;  // of an override, after its base
  }
}

// A second fault of zero is none. False when the first was not met.
bool step(const TempFolder& folder, const Talker& talker, const std::string& text, const Trap& first,
          const Trap& second)
{
  TalkingSystem talking;
  std::string drawn;
  talking.onCalculation = [&](KSLObject& object) {
    object.setValue("sum", drawn += "-");
    OutputFiles::instance()->write(folder / "picture", drawn);
  };
  std::filesystem::remove(folder / "s.ksl");
  talking.run("> session start, filename=" + folder / "s.ksl");
  talking.run("B: older\nx = 0\nEND\nB: old\nx = 0\nB: in\nEND\nB: in2\nx = 1\nEND\nEND\nB: last\nEND");
  talking.run("B: last\nx = 1\nEND");
  const std::string before = readDatabase().sorted().toText();
  const std::string picture = folder.read("picture");
  talking.onCall = [](Place place) { failAt(kindOf(place)); };
  Trap waiting;
  talking.onNote = [&waiting](bool) { std::swap(trap, waiting); };
  bool inRecovery = false;
  bool met = false;
  talking.onRecovery = [&] {
    inRecovery = true;
    met = trap.left == 0;
    if (second.left > 0)
      trap = second;
  };
  talking.let(talker, 2, submitted, false);
  trap = first;
  talking.run(text);
  met = met || (trap.left == 0 && (!inRecovery || second.left == 0));
  trap = {};
  std::vector<ErrorMsg> told = talking.takeFailures();
  std::erase_if(told,
                [](const ErrorMsg& error) { return error.getClassName() == "ORVStream"; });  // of the journal
  const std::size_t failures = told.size();
  // A recovery that fails adds its own failure and says so; a text outside the command may fail, too.
  EXPECT_LE(failures, talking.spokeOutside() ? 4U : 3U);
  if (inRecovery && failures == 1 && !talking.spokeOutside()) {
    EXPECT_EQ(readDatabase().sorted().toText(), before) << "the failed command left a trace";
    EXPECT_EQ(folder.read("picture"), picture);
  }
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2)
      << "a file is left over";
  EXPECT_TRUE(folder.read("s.ksl").ends_with("\n\n")) << "half a block was recorded";
  talking.expectSound();
  return met;
}

constexpr FaultKind kinds[] = {FaultKind::allocation,   FaultKind::setValue, FaultKind::observer,
                               FaultKind::update,       FaultKind::step,     FaultKind::calculation,
                               FaultKind::notification, FaultKind::file};

// How many faults were met.
unsigned long sweep(FaultKind first)
{
  const TempFolder folder;
  unsigned long met = 0;
  for (const Talker& talker : talkers()) {
    for (const std::string text : {command, "> undo\n> say\n> fail"}) {
      // Between them the talkers meet every allocation.
      const unsigned long stride = first == FaultKind::allocation ? 5 : 1;
      for (unsigned long n = 1 + met % stride, goesOn = 1; goesOn && !testing::Test::HasFailure();
           n += stride) {
        SCOPED_TRACE(std::string(talker.name) + ": fault " + std::to_string(n) + " of " + text);
        goesOn = step(folder, talker, text, {first, n}, {}) ? 1 : 0;
        // In the recovery something else, sooner or later.
        const FaultKind kind = kinds[n % std::size(kinds)];
        const unsigned long at = 1 + n * 7 % (kind == FaultKind::allocation ? 61 : 7);
        SCOPED_TRACE("then " + std::to_string(static_cast<int>(kind)) + " at " + std::to_string(at));
        step(folder, talker, text, {first, n}, {kind, at});
        met += goesOn;
      }
    }
  }
  return met;
}

}  // namespace

TEST(SubmitFaults, LeaveStoreAndDatabaseTheSame)
{
  for (const FaultKind kind : kinds) {
    SCOPED_TRACE("fault of kind " + std::to_string(static_cast<int>(kind)));
    EXPECT_GT(sweep(kind), 0U);
  }
}

}  // namespace orv
