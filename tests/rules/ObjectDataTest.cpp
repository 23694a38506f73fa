// What calculate functions keep with objects, ask of them, and are told.
#include "platform/ORVContext.h"
#include "platform/ORVDynamicLoader.h"
#include "platform/ORVProgress.h"
#include "database/ObjectDB.h"
#include "rules/GenericKSLObject.h"
#include "tests/support/TestSystem.h"
#include "tests/support/thrown.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>

namespace orv::test {
namespace {

const char* const rules =
    "RULES:\nSchedulerTypes = Data, Look\nKSLObjectClasses = GenericKSLObject\n"
    "PARAMETER: From\nParameter Type = String List\n"
    "Local Type = Data\nRemote Type = Data\nEND\n"
    "PARAMETER: Field\nLocal Type = Data\nRemote Type = Data\nRemote Optional = True\nEND\n"
    "PARAMETER: Size\nParameter Type = Real List\nLocal Type = Data\nDefault = 0\nEND\n"
    "PARAMETER: Shift\nParameter Type = Real List\nLocal Type = Data\nDefault = 0\nEND\n"
    "PARAMETER: Tint\nLocal Type = Look\nEND\nPARAMETER: Note\nEND\n"
    "OBJECT: BARE\nKSLObject Class = GenericKSLObject\nScheduler = Data\nEND\n"
    "OBJECT: N\nKSLObject Class = GenericKSLObject\nScheduler = Data, Look\nScheduler Links = Data, Look\n"
    "Calculate Function = Data, counted, keep\nOptional Parameter List = From, Field, Size, Shift, Tint, "
    "Note\n"
    "Internal Parameter List = Sum\nEND\nPARAMETER: Sum\nEND\nEND\n";

// Says how many there are, and of what size; what it is made from is shared.
struct Counted : ObjectData {
  explicit Counted(double value) : size(value) { ++alive; }
  Counted(const ResultKey& key, double value) : ObjectData(key), size(value) { ++alive; }
  ~Counted() override { --alive; }
  static inline int alive = 0;
  double size;
};

const Counted* kept(const std::string& path)
{
  const auto* object = dynamic_cast<const GenericKSLObject*>(ObjectDB::instance()->getObjectByPath(path));
  return object ? dynamic_cast<const Counted*>(object->getData("Data")) : nullptr;
}

// Keeps the sum of its own size and those of the objects that it names, and logs these; -1 is no size.
class Keep : public CalculateFunction {
 public:
  static inline std::string log;
  void calculate(KSLObject* object, const std::string& type) override
  {
    auto& own = dynamic_cast<GenericKSLObject&>(*object);
    EXPECT_EQ(own.getData(type), nullptr);  // of the calculation before
    double size = own.getRealArray("Size", "m").at(0);
    own.keepData(type, std::make_unique<Counted>(size));
    log += own.getName() + ":";
    for (const KSLObject* named : own.namedObjects(*own.lookUpParam("From"))) {
      log += named ? " " + named->getName() : " -";
      if (named)
        size += kept(named->getPath())->size;
    }
    log += "; ";
    if (size < 0)
      throw data::invalid("Keep", "calculate", "No size.");
    own.keepData(type, std::make_unique<Counted>(size));
  }
};

// The same, from memory where it was computed before.
class Recall : public CalculateFunction {
 public:
  void calculate(KSLObject* object, const std::string& type) override
  {
    auto& own = dynamic_cast<GenericKSLObject&>(*object);
    const ResultKey key = own.resultKey(type);
    const auto sum = ResultMemory::instance().recall<double>(key, own.getName(), [&](ResultMemory::Making&) {
      Keep().calculate(object, type);
      return std::make_shared<double>(dynamic_cast<const Counted&>(*own.getData(type)).size);
    });
    own.keepData(type, std::make_unique<Counted>(key, *sum));
    own.setValue("Sum", StringUtilities::toString(*sum));
  }
};

class ObjectDataTest : public ::testing::Test {
 protected:
  ObjectDataTest()
  {
    GenericKSLObject::registerBaseType();
    m_system = std::make_unique<TestSystem>(rules);
    SharedLibrary::instance()->provide("libcounted.so", [](const std::string&) { return new Keep; });
    Keep::log.clear();
  }
  std::string enter(const std::string& text)
  {
    m_system->run(text);
    return m_system->errors();
  }
  std::string sizes() const
  {
    std::string text;
    for (const char* path : {"/N:a", "/N:b", "/N:c"})
      text += kept(path) ? StringUtilities::toString(kept(path)->size) + " " : "none ";
    return text + "of " + std::to_string(Counted::alive);
  }
  std::unique_ptr<TestSystem> m_system;
};

TEST_F(ObjectDataTest, LivesFromCalculationToCalculationAndEndsWithItsObject)
{
  enter("N: b\nSize = 2\nEND\nN: a\nSize = 1\nEND\nN: c\nSize = 0.1 [m]\nFrom = b, , /N:a\nEND\n");
  EXPECT_EQ(Keep::log, "b:; a:; c: b - a; ");
  EXPECT_EQ(sizes(), "1 2 3.1 of 3");
  enter("N: a\nSize = 5 [cm]\nEND\n");
  EXPECT_EQ(sizes(), "0.05 2 2.15 of 3");
  EXPECT_NE(enter("N: b\nSize = -9\nEND\n").find("No size."), std::string::npos);
  EXPECT_EQ(sizes(), "0.05 2 2.15 of 3");  // computed again
  m_system->undo();
  EXPECT_EQ(sizes(), "1 2 3.1 of 3");
  enter("N: c\nFrom = a\nEND\n");
  ObjectDB::instance()->getObjectByPath("/N:b")->setPending();
  EXPECT_EQ(sizes(), "1 none 1.1 of 3");
  m_system.reset();
  EXPECT_EQ(Counted::alive, 0);
}

// What may name an object, or something else that only the calculation knows.
TEST_F(ObjectDataTest, AnOptionalReferenceFollowsAnObjectWhenThereIsOne)
{
  EXPECT_EQ(enter("N: a\nField = p\nEND\n"), "");
  EXPECT_EQ(enter("N: p\nEND\n"), "");
  Keep::log.clear();
  EXPECT_EQ(enter("N: p\nSize = 1\nEND\n"), "");
  EXPECT_EQ(Keep::log, "p:; a:; ");
  EXPECT_NE(enter("N: p\nField = a\nEND\n").find("cyclic"), std::string::npos);
  EXPECT_EQ(enter(">delete /N:p\n"), "");
  EXPECT_EQ(enter("N: a\nField = q\nEND\n"), "");
}

// What a command that is taken back had computed anew, and what is undone, comes back from memory.
TEST_F(ObjectDataTest, ResultsAreFoundByWhatTheyWereComputedFrom)
{
  SharedLibrary::instance()->provide("libcounted.so", [](const std::string&) { return new Recall; });
  const auto computed = [&](const std::string& text) {
    Keep::log.clear();
    enter(text);
    return Keep::log;
  };
  EXPECT_EQ(computed("N: a\nSize = 1\nEND\nN: b\nSize = 2\nFrom = a\nEND\nN: c\nFrom = b\nField = q\nEND\n"),
            "a:; b: a; c: b; ");
  const std::string before = m_system->fullState();
  EXPECT_EQ(computed("N: a\nSize = 5\nEND\nN: c\nSize = -9\nEND\n"), "a:; b: a; c: b; c: b; ");
  EXPECT_EQ(m_system->fullState(), before);
  for (const auto& [text, wanted] : std::vector<std::pair<std::string, std::string>>{
           {"N: a\nSize = 5\nEND\n", ""},  // as in the command that failed
           {"N: a\nSize = 6\nEND\n", "a:; b: a; c: b; "},
           {"N: a\nSize = 2 * 0.5\nEND\n", ""},  // a value is what it gives
           {"N: a\nTint = red\nEND\n", ""},      // of a calculation that comes later
           {"N: b\nFrom = /N:a\nEND\n", ""},     // the same object
           {"N: b\nFrom = a, a\nEND\n", "b: a a; c: b; "},
           {"N: c\nField = w\nEND\n", "c: b; "},  // only the calculation knows what that is
           {"N: a\nNote = x\nEND\nN: a\nSize = 1\nEND\n", "a:; b: a a; c: b; "},  // it may be read
           {"N: d\nSize = 2\nFrom = a, a\nEND\n", ""},                            // as b
           {"> delete /N:d, /N:c\n", ""},
           {"N: c\nFrom = b\nField = w\nEND\n", ""}}) {
    EXPECT_EQ(computed(text), wanted) << text;
    m_system->undo();
    EXPECT_EQ(m_system->errors(), "");
    EXPECT_EQ(Keep::log, wanted) << "undo of " << text;
    m_system->redo();
    EXPECT_EQ(Keep::log, wanted) << "redo of " << text;
  }
  EXPECT_EQ(sizes(), "1 4 4 of 3");
}

// Each of a pair is read, or computed, otherwise than the other.
TEST_F(ObjectDataTest, KeysTellApartWhatIsNotTheSame)
{
  struct Idle : CalculateFunction {
    void calculate(KSLObject*, const std::string&) override {}
  };
  const auto provide = [] {
    SharedLibrary::instance()->provide("libcounted.so", [](const std::string&) { return new Idle; });
  };
  provide();
  enter("BARE: p\nEND\nBARE: q\nEND\nN: a\nEND\n");
  const auto* object = dynamic_cast<const GenericKSLObject*>(ObjectDB::instance()->getObjectByPath("/N:a"));
  const auto keyOf = [&](const std::string& line) {
    EXPECT_EQ(enter("N: a\n" + line + "\nEND\n"), "");
    return object->resultKey("Data");
  };
  for (const auto& [line, other] : std::vector<std::pair<std::string, std::string>>{
           {"Shift = 20 [K]", "Shift = 30 [K] - 10 [K]"},  // in degrees Celsius
           {"From = p", "From = q"},
           {"From = p", "From = p, q"},
           {"Shift = ?, Size, ?\nSize =", "Shift = ?\nSize = ?, Size"}}) {
    const ResultKey before = keyOf(line);
    EXPECT_NE(keyOf(other), before) << other;
    EXPECT_EQ(keyOf(line), before) << line;
  }
  const ResultKey before = object->resultKey("Data");
  provide();
  EXPECT_NE(object->resultKey("Data"), before);
}

TEST_F(ObjectDataTest, NothingIsLeftOfACalculationThatFailed)
{
  enter("N: a\nSize = 1\nEND\n");
  auto* object = ObjectDB::instance()->getObjectByPath("/N:a");
  object->setValue("Size", "-1");
  EXPECT_THROW(object->update(), data::invalid);
  EXPECT_EQ(Counted::alive, 0);
}

TEST_F(ObjectDataTest, PointsAreReadInFullPrecision)
{
  enter("N: a\nSize = 123456.789012 [m], 1 [cm], -2 [km]\nEND\n");
  const KSLObject* object = ObjectDB::instance()->getObjectByPath("/N:a");
  const TripletBase<double> point = object->getPointValue("Size", "m");
  EXPECT_EQ(point.x, 123456.789012);
  EXPECT_EQ(point.y, 0.01);
  EXPECT_EQ(point.z, -2000);
  EXPECT_EQ(thrown<data::invalid>([&] { object->getPointValue("Size", "K"); }).getFunction(), "convertUnits");
  enter("N: a\nSize = 1, 2\nEND\n");
  EXPECT_EQ(thrown<data::invalid>([&] { object->getPointValue("Size", ""); }).getMessage(),
            "Parameter Size must have exactly three values.");
}

TEST(CallbackProgressTest, WhatIsThrownWaitsForTheForeignCode)
{
  struct Impatient : ProgressWatcher {
    void stepped(const Progress* innermost) override
    {
      ++told;
      if (innermost->done() == 2)
        throw Interrupt("Impatient", "stepped", "Stop.");
    }
    int told = 0;
  } watcher;
  ProgressWatcher::set(&watcher);
  CallbackProgress progress("percent", 100);
  EXPECT_TRUE(progress.advance(1));
  std::thread([&] { EXPECT_TRUE(progress.advance(2)); }).join();
  EXPECT_FALSE(progress.advance(2));
  std::thread([&] { EXPECT_FALSE(progress.advance(3)); }).join();
  EXPECT_FALSE(progress.advance(3));
  EXPECT_EQ(watcher.told, 2);
  EXPECT_THROW(progress.check(), Interrupt);
  EXPECT_NO_THROW(progress.check());
  EXPECT_TRUE(progress.isStopped());
  ProgressWatcher::set(nullptr);
}

// Each context begins and ends a library for itself; its classes are there when the RULES go on.
TEST(CalculateLibraryHooks, ClassesComeWithTheLibraryThatRulesName)
{
  const std::string hooked =
      "RULES:\nCalculateLibraries = hooks\nKSLObjectClasses = Hooked\n"
      "OBJECT: H\nKSLObject Class = Hooked\nEND\nEND\n";
  unsetenv("HOOKS_LOG");
  {
    Context other;
    const Context::Scope scope(other);
    TestSystem system(hooked);
    system.run("H: a\nEND\n");
    EXPECT_EQ(system.state(), "H:a\nEND\n");
    setenv("HOOKS_FAIL", "1", 1);
    Context third;
    const Context::Scope inner(third);
    EXPECT_FALSE(SharedLibrary::instance()->load("libhooks.so"));
    EXPECT_EQ(SharedLibrary::instance()->getLastError(),
              "Calculate library 'libhooks.so' not loaded: Not today.");
    unsetenv("HOOKS_FAIL");
  }
  EXPECT_STREQ(std::getenv("HOOKS_LOG"), "begin end ");
}

}  // namespace
}  // namespace orv::test
