// Several models in one process: no trace of one in another.
#include "platform/ORVApplicationSupport.h"
#include "platform/ORVContext.h"
#include "platform/ORVError.h"
#include "platform/ORVExpressions.h"
#include "platform/ORVOutputFiles.h"
#include "platform/ORVProgress.h"
#include "platform/ORVUnits.h"
#include "platform/ORVUtilities.h"
#include "database/Category.h"
#include "database/DataKSLObject.h"
#include "database/EvaluatingObject.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "database/PrototypeEditor.h"
#include "rules/ExpressionNames.h"
#include "rules/SchedulerObject.h"
#include "command/CommandNotifier.h"
#include "command/HistoryStack.h"
#include "command/KSLCoreAPI.h"
#include "actions/ORVMPStream.h"
#include "services/EngineUnitSystemHandler.h"
#include "services/ExpressionsKSLObject.h"
#include "tests/contexts/Life.h"
#include "tests/support/TempFolder.h"
#include "tests/support/thrown.h"

#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <thread>

namespace orv {

namespace {

// ------------------------------------------------------------------------------------------------------- models

// What each of several models tells does not depend on what the others do between its steps, the process's among them.
TEST(Contexts, InterleavedModelsAreAsIfAlone)
{
  const TempFolder folder;
  const std::vector<Story> stories = {demoStory(folder / "a"), plainStory(), demoStory(folder / "b")};
  std::vector<std::string> alone;
  for (const Story& story : stories)
    alone.push_back(Life(story).tellAll());
  ASSERT_NE(alone[0], alone[1]);

  std::deque<Life> lives;
  for (std::size_t i = 0; i < stories.size(); ++i)
    lives.emplace_back(stories[i], i == 1 ? Life::Place::process : Life::Place::context);
  for (bool going = true; going;) {
    going = false;
    for (Life& life : lives)
      going |= life.tellNext();
  }
  for (std::size_t i = 0; i < lives.size(); ++i)
    EXPECT_EQ(lives[i].told(), alone[i]) << i;
}

// ------------------------------------------------------------------------------------------------------- settings

struct Watcher : ProgressWatcher {
  void stepped(const Progress*) override {}
};
struct Trace : SchedulerTrace {
  void marked(const SchedulerObject&, const SchedulerObject*) noexcept override {}
  void calculated(const SchedulerObject&, double) noexcept override {}
};
struct Resolver : ExpressionResolver {
  std::optional<ExpressionValue> valueOf(const std::string&, const ExpressionDef&,
                                         const std::string&) override
  {
    return std::nullopt;
  }
};
struct Counter : Observer {
  int count = 0;
  void update(ObserverSubject*, int) override { ++count; }
};

void ignoreAssertion(std::string_view, std::string_view) {}
void ignoreTime(const char*, double) {}

// Whatever a static function sets or makes: `set` does that, for as long as what it returns lives; `get` tells it apart
// from the beginning.
using Held = std::shared_ptr<void>;
struct Setting {
  const char* name;
  std::function<Held()> set;
  std::function<std::string()> get;
};

std::vector<Setting> settings(const TempFolder& folder)
{
  static Watcher watcher;
  static Trace trace;
  static Resolver resolver;
  static ErrorCollector sink;
  static UnitSystemHandler units;
  static Counter counter;
  const std::string here = folder / "elsewhere";
  folder.write("elsewhere/lost.txt", "");
  const auto put = [](auto action) {
    return [action] {
      action();
      return Held();
    };
  };
  // Of what can only be exchanged.
  const auto before = [](auto exchange) {
    return [exchange] {
      const auto value = exchange({});
      exchange(value);
      return value ? "set" : "not set";
    };
  };
  const auto isSet = [](auto question) { return [question] { return question() ? "set" : "not set"; }; };
  return {
      {"sink", put([] { ErrorProgressReporter::instance()->setSink(&sink); }),
       before([](ErrorSink* other) { return ErrorProgressReporter::instance()->setSink(other); })},
      {"assertions", put([] { setAssertionHandler(&ignoreAssertion); }), isSet([] {
         const AssertionHandler handler = setAssertionHandler(nullptr);
         setAssertionHandler(handler);
         return handler == &ignoreAssertion;
       })},
      {"progress", put([] { ProgressWatcher::set(&watcher); }), isSet([] { return ProgressWatcher::get(); })},
      {"work", [] { return std::make_shared<Progress>("steps", 1); },
       isSet([] { return Progress("steps", 2).outer(); })},
      {"times", put([] { OperationTimer::setListener(&ignoreTime); }), before(&OperationTimer::setListener)},
      {"preferences", put([] { Preferences::instance()->setValue("a", "b"); }),
       isSet([] { return Preferences::instance()->hasValue("a"); })},
      {"files", put([=] {
         OutputFiles::instance()->begin();
         OutputFiles::instance()->write(here + "/x", "x");
       }),
       isSet([=] { return OutputFiles::instance()->pending(here + "/x") != here + "/x"; })},
      {"units", put([] { UnitSystemHandler::setCurrent(&units); }),
       isSet([] { return UnitSystemHandler::current() == &units; })},
      {"unit system", put([] { EngineUnitSystemHandler::instance(); }),
       isSet([] { return EngineUnitSystemHandler::existing(); })},
      {"resolver", put([] { ExpressionResolver::install(&resolver); }),
       isSet([] { return ExpressionResolver::installed(); })},
      {"names", put([] { ExpressionsKSLObject::registerBaseType(); }),
       isSet([] { return ExpressionNames::installed(); })},
      {"categories", put([] { Category::addCategory("geometry"); }),
       isSet([] { return !Category::getCategories().empty(); })},
      {"types", put([] { DataKSLObject::registerBaseType(); }), isSet([] {
         try {
           return ObjectFactory::instance()->createBaseType("DataKSLObject") != nullptr;
         } catch (const Error&) {
           return false;
         }
       })},
      {"database", put([] { ObjectDB::instance(); }), isSet([] { return ObjectDB::current(); })},
      {"old paths", put([] { KSLObject::supportOldStylePaths(); }), isSet([] {
         DataKSLObject object;
         PrototypeEditor(object).setType("A", false);
         object.initialize("B:b/", "a");
         return object.getPath() == "/B:b/A:a";
       })},
      {"evaluating", [] { return std::make_shared<EvaluatingObject>(ObjectDB::instance()->getRoot()); },
       isSet([] { return EvaluatingObject::current(); })},
      {"trace", put([] { SchedulerObject::setTrace(&trace); }),
       isSet([] { return SchedulerObject::getTrace(); })},
      {"caught", put([] { SchedulerObject::setCatchExceptions(true); }),
       before(&SchedulerObject::setCatchExceptions)},
      {"steps", put([] { HistoryStack().writeableTop(); }),
       isSet([] { return HistoryStack::newestId() != 0; })},
      {"notified", put([] { KSLCoreAPI::instance()->attach(&counter, 77); }), isSet([] {
         const int count = counter.count;
         CommandNotifier::notify(static_cast<CommandNotifier::Notification>(77));
         return counter.count != count;
       })},
      {"core", put([] { KSLCoreAPI::instance(); }), isSet([] { return KSLCoreAPI::current(); })},
      {"fallback", put([=] { ORVMPStream::setFallbackDirectory(here); }),
       isSet([] { return ORVMPStream::findLocalFile("/nowhere/lost.txt", false) != "/nowhere/lost.txt"; })},
  };
}

TEST(Contexts, WhatIsSetInOneIsNotSetInAnother)
{
  const TempFolder folder;
  for (const Setting& setting : settings(folder)) {
    Context one, other;
    const auto in = [&](Context* context) {
      const Context::Scope scope(context);
      return setting.get();
    };
    const std::string unset = in(&other);
    const std::string ofProcess = in(nullptr);
    {
      const Context::Scope scope(one);
      const Held held = setting.set();
      EXPECT_NE(setting.get(), unset) << setting.name;
      EXPECT_EQ(in(&other), unset) << setting.name;
      EXPECT_EQ(in(nullptr), ofProcess) << setting.name;
    }
  }
}

// ------------------------------------------------------------------------------------------------------- contract

TEST(Contexts, ScopesNestAndMoveFromThreadToThread)
{
  Context a, b;
  EXPECT_EQ(Context::current(), nullptr);
  EXPECT_FALSE(a.isInUse());
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
      EXPECT_EQ(Context::current(), nullptr);
      const ErrorMsg refused = thrown<internal::error>([&] { const Context::Scope scope(a); });
      EXPECT_EQ(refused.getMessage(), "The context is in use on another thread.");
      EXPECT_EQ(Context::current(), nullptr);
      const Context::Scope scope(b);
      EXPECT_NE(ObjectDB::instance(), database);
    }).join();
    EXPECT_TRUE(a.isInUse());
  }
  EXPECT_FALSE(a.isInUse());
  std::thread([&] {
    const Context::Scope scope(a);
    EXPECT_EQ(Context::current(), &a);
  }).join();
}

// The parts end in their own context, whichever is current, and tell their own sink.
TEST(Contexts, EndWhereverTheyAre)
{
  const Life kept(plainStory());
  Context current;
  const Context::Scope scope(current);
  ObjectDB* const database = ObjectDB::instance();
  Life ending(plainStory());
  ending.tellAll();
  std::thread([&] { Life(plainStory()).tellAll(); }).join();
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

}  // namespace

}  // namespace orv
