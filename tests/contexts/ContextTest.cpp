// Several models in one process, on one thread and on several: no trace of one in another. To be run under the thread
// sanitizer, too.
#include "platform/ORVApplicationSupport.h"
#include "platform/ORVContext.h"
#include "platform/ORVError.h"
#include "platform/ORVProgress.h"
#include "platform/ORVUnits.h"
#include "platform/ORVUtilities.h"
#include "platform/internal/FreeBlocks.h"
#include "database/DataKSLObject.h"
#include "database/EvaluatingObject.h"
#include "database/ObjectDB.h"
#include "database/PrototypeEditor.h"
#include "rules/SchedulerObject.h"
#include "command/KSLCoreAPI.h"
#include "actions/ORVMPStream.h"
#include "tests/contexts/Life.h"
#include "tests/support/TempFolder.h"
#include "tests/support/TestSystem.h"
#include "tests/support/thrown.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <thread>
#include <utility>
#include <vector>

namespace orv {

namespace {

// What each of several models tells does not depend on what the others do between its steps, the process's among them.
TEST(Contexts, InterleavedModelsAreAsIfAlone)
{
  const TempFolder folder;
  const std::vector<Story> stories = {demoStory(folder / "a", 1), plainStory(), demoStory(folder / "b", 2)};
  std::vector<std::string> alone;
  for (const Story& story : stories)
    alone.push_back(Life(story).tellAll());
  TestSystem process;
  std::deque<Life> lives;
  for (const Story& story : stories)
    lives.emplace_back(story);
  for (bool going = true; going;) {
    going = false;
    for (Life& life : lives)
      going |= life.tellNext();
    process.run("A: " + std::to_string(process.interface()->getUndoStack().size()) + "\nEND\n");
  }
  for (std::size_t i = 0; i < lives.size(); ++i)
    EXPECT_EQ(lives[i].told(), alone[i]) << i;
  EXPECT_EQ(ObjectDB::instance()->size(), process.interface()->getUndoStack().size());
  EXPECT_EQ(process.errors(), "");
  process.expectConsistent();
}

// What a thread tells of its models is what one thread alone tells of them. The rules alternate, so that models begin
// and end while others are at work; units are read by all of them for the first time.
TEST(Contexts, ModelsOnThreadsAreAsIfAlone)
{
  constexpr int threads = 4, rounds = 3;
  const TempFolder folder;
  const auto tell = [&](int thread, int round) {
    const int number = thread * rounds + round;
    return Life(number % 3 == 2 ? plainStory() : demoStory(folder / std::to_string(thread), number))
        .tellAll();
  };
  std::string told[threads][rounds];
  std::vector<std::thread> running;
  for (int thread = 0; thread < threads; ++thread) {
    running.emplace_back([&, thread] {
      for (int round = 0; round < rounds; ++round)
        told[thread][round] = tell(thread, round);
    });
  }
  for (std::thread& thread : running)
    thread.join();
  for (int thread = 0; thread < threads; ++thread)
    for (int round = 0; round < rounds; ++round)
      EXPECT_EQ(told[thread][round], tell(thread, round)) << thread << ' ' << round;
}

// The package that reads units is not for several threads.
TEST(Contexts, UnitsAreReadOnAllThreads)
{
  std::vector<std::thread> running;
  for (int thread = 0; thread < 4; ++thread) {
    running.emplace_back([] {
      Context context;
      const Context::Scope scope(context);
      for (int i = 0; i < 2000; ++i) {
        const int length = i % 50 + 1, time = -(i / 50 + 1);
        const UnitDimensions read("km^" + std::to_string(length) + " ms^" + std::to_string(time));
        EXPECT_EQ(read.exponents()[1], length);
        EXPECT_EQ(read.exponents()[3], time);
      }
    });
  }
  for (std::thread& thread : running)
    thread.join();
}

// ------------------------------------------------------------------------------------------------------- settings

struct Watcher : ProgressWatcher {
  void stepped(const Progress*) override {}
};
struct Trace : SchedulerTrace {
  void marked(const SchedulerObject&, const SchedulerObject*) noexcept override {}
  void calculated(const SchedulerObject&, double) noexcept override {}
};

void ignoreAssertion(std::string_view, std::string_view) {}
void ignoreTime(const char*, double) {}

bool hasOldPaths()
{
  DataKSLObject object;
  PrototypeEditor(object).setType("A", false);
  object.initialize("B:b/", "a");
  return object.getPath() == "/B:b/A:a";
}

// What static functions set, but for what models above show: `set` makes the difference that `isSet` sees.
struct Setting {
  const char* name;
  std::function<std::shared_ptr<void>()> set;  // for as long as that lives, if it is anything
  std::function<bool()> isSet;
};

std::vector<Setting> settings(const TempFolder& folder)
{
  static Watcher watcher;
  static Trace trace;
  static UnitSystemHandler units;
  const std::string here = folder / "elsewhere";
  folder.write("elsewhere/lost.txt", "");
  const auto done = [](auto&&...) { return std::shared_ptr<void>(); };
  const auto has = [](auto set, auto value) {
    const auto before = set(value);
    set(before);
    return before == value;
  };
  return {
      {"assertions", [=] { return done(setAssertionHandler(&ignoreAssertion)); },
       [=] { return has(setAssertionHandler, &ignoreAssertion); }},
      {"progress", [=] { return done(ProgressWatcher::set(&watcher)); },
       [] { return ProgressWatcher::get() != nullptr; }},
      {"work", [] { return std::make_shared<Progress>("steps", 1); },
       [] { return Progress("steps", 2).outer() != nullptr; }},
      {"times", [=] { return done(OperationTimer::setListener(&ignoreTime)); },
       [=] { return has(OperationTimer::setListener, &ignoreTime); }},
      {"preferences",
       [=] {
         Preferences::instance()->setValue("a", "b");
         return done();
       },
       [] { return Preferences::instance()->hasValue("a"); }},
      {"units", [=] { return done(UnitSystemHandler::setCurrent(&units)); },
       [] { return UnitSystemHandler::current() == &units; }},
      {"old paths",
       [=] {
         KSLObject::supportOldStylePaths();
         return done();
       },
       hasOldPaths},
      {"evaluating", [] { return std::make_shared<EvaluatingObject>(ObjectDB::instance()->getRoot()); },
       [] { return EvaluatingObject::current() != nullptr; }},
      {"trace", [=] { return done(SchedulerObject::setTrace(&trace)); },
       [] { return SchedulerObject::getTrace() != nullptr; }},
      {"caught", [=] { return done(SchedulerObject::setCatchExceptions(true)); },
       [=] { return has(SchedulerObject::setCatchExceptions, true); }},
      {"fallback",
       [=] {
         ORVMPStream::setFallbackDirectory(here);
         return done();
       },
       [] { return ORVMPStream::findLocalFile("/nowhere/lost.txt", false) != "/nowhere/lost.txt"; }},
  };
}

TEST(Contexts, WhatIsSetInOneIsNotSetInAnother)
{
  const TempFolder folder;
  for (const Setting& setting : settings(folder)) {
    Context one, other;
    const Context::Scope scope(one);
    const auto held = setting.set();
    EXPECT_TRUE(setting.isSet()) << setting.name;
    for (Context* place : {&other, static_cast<Context*>(nullptr)}) {
      const Context::Scope elsewhere(place);
      EXPECT_FALSE(setting.isSet()) << setting.name;
    }
  }
}

// ------------------------------------------------------------------------------------------------------- contract

TEST(Contexts, ScopesNestAndMoveFromThreadToThread)
{
  Context a, b;
  {
    const Context::Scope outer(a);
    ObjectDB* const database = ObjectDB::instance();
    {
      const Context::Scope other(b);
      EXPECT_NE(ObjectDB::instance(), database);
      const Context::Scope again(a);
      EXPECT_EQ(ObjectDB::instance(), database);
      const Context::Scope process(nullptr);
      EXPECT_EQ(Context::current(), nullptr);
    }
    EXPECT_EQ(Context::current(), &a);
    EXPECT_FALSE(b.isInUse());
    std::thread([&] {
      const ErrorMsg refused = thrown<internal::error>([&] { const Context::Scope scope(a); });
      EXPECT_EQ(refused.getMessage(), "The context is in use on another thread.");
      EXPECT_EQ(Context::current(), nullptr);
    }).join();
  }
  EXPECT_FALSE(a.isInUse());
  std::thread([&] {
    const Context::Scope scope(a);
    EXPECT_EQ(Context::current(), &a);
  }).join();
}

// The parts end in their own context, whichever is current, and on any thread.
TEST(Contexts, EndWhereverTheyAre)
{
  Context current;
  const Context::Scope scope(current);
  ObjectDB* const database = ObjectDB::instance();
  auto ending = std::make_unique<Life>(plainStory());
  ending->tellAll();
  std::thread([&] { ending.reset(); }).join();
  EXPECT_EQ(Context::current(), &current);
  EXPECT_EQ(ObjectDB::current(), database);
}

TEST(ContextsDeathTest, DoNotEndWhileTheyAreInUse)
{
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(
      {
        auto context = std::make_unique<Context>();
        const Context::Scope scope(*context);
        context.reset();
      },
      "a context that ends is not in use");
}

std::mutex& lockOfBlocks() noexcept
{
  static constinit std::mutex lock;
  return lock;
}

// Blocks that threads take, hand to each other and leave behind: none is given out twice.
TEST(Contexts, SmallBlocksServeAllThreads)
{
  using Blocks = FreeBlocks<48, lockOfBlocks>;
  struct Marked {
    std::array<std::size_t, 6> marks;
  };
  std::mutex lock;
  std::vector<Marked*> shared;
  std::atomic<int> twice = 0;
  const auto give = [&twice](Marked* block) {
    twice += std::ranges::count(block->marks, block->marks[0]) != 6;
    Blocks::give(block);
  };
  const auto taken = [](std::vector<Marked*>& from, std::size_t at) {
    Marked* const block = std::exchange(from[at % from.size()], from.back());
    from.pop_back();
    return block;
  };
  const auto live = [&](unsigned seed) {
    std::mt19937 random(seed);
    std::vector<Marked*> mine;
    for (int step = 0; step < 3000; ++step) {
      const unsigned choice = random() % 8;
      if (mine.empty() || choice < 4)
        (new (mine.emplace_back(static_cast<Marked*>(Blocks::take()))) Marked)->marks.fill(seed);
      else if (choice < 6)
        give(taken(mine, random()));
      else {
        std::unique_lock guard(lock);
        shared.push_back(taken(mine, random()));
        Marked* const other = choice == 7 ? taken(shared, random()) : nullptr;
        guard.unlock();
        if (other)
          give(other);
      }
    }
    for (; !mine.empty(); give(taken(mine, random()))) {}
  };
  for (unsigned round = 0; round < 5; ++round) {
    std::deque<std::thread> threads;
    for (unsigned number = 1; number < 5; ++number)
      threads.emplace_back(live, round * 5 + number);
    live(round * 5);
    for (std::thread& thread : threads)
      thread.join();
  }
  for (; !shared.empty(); give(taken(shared, 0))) {}
  EXPECT_EQ(twice, 0);
}

// Whatever order the blocks of a former model came back in.
TEST(Contexts, SmallBlocksThatAreTakenInARowLieTogether)
{
  using Blocks = FreeBlocks<64, lockOfBlocks>;
  std::vector<void*> blocks(4000);
  const auto takeFirst = [&blocks](std::size_t count) {
    std::set<std::uintptr_t> pages;
    for (std::size_t i = 0; i < count; ++i)
      pages.insert(reinterpret_cast<std::uintptr_t>(blocks[i] = Blocks::take()) / 4096);
    return pages.size();
  };
  const std::size_t pages = takeFirst(blocks.size());
  std::ranges::shuffle(blocks, std::mt19937(1));
  std::ranges::for_each(blocks, Blocks::give);
  EXPECT_LT(takeFirst(blocks.size() / 10), pages / 5);
}

}  // namespace

}  // namespace orv
