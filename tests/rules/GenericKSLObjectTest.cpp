#include "rules/GenericKSLObject.h"

#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "database/PrototypeEditor.h"
#include "tests/support/thrown.h"

#include <gtest/gtest.h>
#include <memory>

namespace orv::test {
namespace {

class Logging : public GenericKSLObject {
 public:
  static std::string log;
  static inline bool deletes = false;
  KSLObject* clone() const override
  {
    auto copy = std::make_unique<Logging>();
    copyInternals(copy.get());
    return copy.release();
  }
  void calculate(const std::string& type) override
  {
    log += type + " ";
    if (deletes)
      return ObjectDB::instance()->deleteObject(getPath());
    GenericKSLObject::calculate(type);
  }
};
std::string Logging::log;

class GenericKSLObjectTest : public ::testing::Test {
 protected:
  GenericKSLObjectTest()
  {
    ErrorProgressReporter::instance()->setSink(&m_errors);
    edit().setType("T", false);
    for (const char* type : {"B", "A", "C"})
      edit().addScheduler(type);
  }
  ~GenericKSLObjectTest() override
  {
    Logging::log.clear();
    ObjectDB::destroyInstance();
    ObjectFactory::destroyInstance();
    ErrorProgressReporter::destroyInstance();
  }
  PrototypeEditor edit() { return PrototypeEditor(m_prototype); }
  std::unique_ptr<Logging> make() const
  {
    return std::unique_ptr<Logging>(static_cast<Logging*>(m_prototype.clone()));
  }
  Logging* add(const std::string& name) const
  {
    std::unique_ptr<Logging> object = make();
    object->initialize(name);
    return static_cast<Logging*>(ObjectDB::instance()->addObject(std::move(object)));
  }
  static ErrorMsg error(const char* function, const char* message)
  {
    return {"GenericKSLObject", function, message, 4};
  }

  ErrorCollector m_errors;
  Logging m_prototype;
};

TEST_F(GenericKSLObjectTest, RefusesWhatATypeCannotHave)
{
  edit().addSchedulerLink("A", "B");
  edit().addSchedulerLink("A", "C");
  edit().addFunction("A", "libx.so", "f");
  const std::unique_ptr<Logging> early = make();
  EXPECT_EQ(thrown<data::duplicate>([&] { edit().addScheduler("A"); }),
            error("addSchedulerObject", "Duplicate data: Scheduler type 'A' already exists."));
  EXPECT_EQ(thrown<data::notFound>([&] { edit().addFunction("D", "libx.so", "f"); }),
            error("addFunction", "Scheduler type 'D' for object type 'T' not found."));
  EXPECT_EQ(thrown<data::duplicate>([&] { edit().addFunction("A", "liby.so", "g"); }),
            error("addFunction", "Duplicate data: Scheduler type 'A' for object type 'T' already exists."));
  EXPECT_EQ(thrown<data::duplicate>([&] { edit().addSchedulerLink("A", "B"); }),
            error("addSchedulerLink", "Duplicate scheduler link between 'T:A' and 'T:B'."));
  edit().addScheduler("D");  // objects made before keep what they have
  EXPECT_EQ(thrown<data::notFound>([&] { early->getSchedulerObject("A"); }),
            error("getSchedulerObject", "Scheduler type 'A' for object type 'T' not found."));
  early->initialize("early");
  EXPECT_NE(early->getSchedulerObject("A"), nullptr);
  EXPECT_EQ(early->findSchedulerObject("D"), nullptr);
}

TEST_F(GenericKSLObjectTest, SchedulersOfAnObjectRunAlongTheirLinks)
{
  edit().addSchedulerLink("C", "A");
  Logging* object = add("x");
  EXPECT_EQ(object->getSchedulerInfo(),
            "\nScheduler list for T:x\n"
            "  A: pending; parents: /T:x (C) x1; children: none\n"
            "  B: pending; parents: none; children: none\n"
            "  C: pending; parents: none; children: /T:x (A) x1\n");
  object->update();
  object->update();
  EXPECT_EQ(Logging::log, "B C A ");
  object->getSchedulerObject("C")->setPending();
  object->update();
  EXPECT_EQ(Logging::log, "B C A C A ");
  edit().addSchedulerLink("A", "C");
  EXPECT_EQ(thrown<ksl::cyclicRef>([&] { add("z"); }).getMessage(),
            "Attempt to create a cyclic dependency between object z (C) and object z (A).");
}

TEST_F(GenericKSLObjectTest, ACalculationMayDeleteItsObject)
{
  Logging* object = add("x");
  Logging::deletes = true;
  object->update();
  Logging::deletes = false;
  EXPECT_EQ(Logging::log, "A ");
}

TEST_F(GenericKSLObjectTest, MissingFunctionsAreExplainedAndAnEndIsQuiet)
{
  edit().addFunction("B", "libNoSuchCalculation.so", "slice");
  Logging* object = add("x");
  EXPECT_EQ(thrown<data::notFound>([&] { object->update(); }),
            error("calculate",
                  "Calculate function 'slice' in library 'libNoSuchCalculation.so' for object "
                  "type 'T' was not found."));
  ASSERT_EQ(m_errors.errors().size(), 1u);  // what the loader says
  EXPECT_EQ(m_errors.errors().front().getType(), 8);
  EXPECT_NE(m_errors.errors().front().getMessage().find("libNoSuchCalculation.so"), std::string::npos);

  std::unique_ptr<Logging> outlives = make();
  outlives->initialize("y");
  ObjectDB::destroyInstance();
  outlives.reset();
  EXPECT_EQ(ObjectDB::current(), nullptr);  // no new one was made
}

}  // namespace
}  // namespace orv::test
