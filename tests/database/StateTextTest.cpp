#include "database/ObjectRules.h"
#include "database/ObjectRulesDef.h"
#include "TestObjects.h"

#include <gtest/gtest.h>

namespace orv::test {
namespace {

class StateTextTest : public DatabaseTest {};

// The object's rules know the contexts "near" and "far", chosen by the parameter "Mode".
TEST_F(StateTextTest, WritesEssentialAndSetParametersOfTheContext)
{
  ObjectRulesDef def;
  def.setContextRuleName("Mode");
  def.setAllowedOptions({"near", "far"});
  def.addEssentialParams({"Mode", "must"});
  def.addOptionalParams({"may", "app", "empty"});
  def.addEssentialParams("near", {"near must"});
  def.addOptionalParams("far", {"far may"});
  const auto object = makeObject("", "A", "x",
                                 {{"Mode", "", "near"},
                                  {"must", "", "1"},
                                  {"may", "", "2"},
                                  {"near must", "", "3"},
                                  {"far may", "", "4"},
                                  {"unlisted", "", "5"},
                                  {"empty", "", ""},
                                  {"secret", "", "6"}});
  object->setObjectRules(refcnt_ptr<const ObjectRules>(new ObjectRules(def)));
  PrototypeEditor(*object).addParameter(
      std::make_unique<ParamDefinition>("app", "", "", "", "7", "application-param"));
  PrototypeEditor(*object).findParam("secret")->setInternal(true);

  EXPECT_EQ(object->getState(allParams), "A:x\n  Mode = near\n  must = 1\n  near must = 3\nEND\n");
  for (const char* name : {"must", "may", "near must", "far may", "unlisted", "secret", "app"})
    object->setValue(name, "9");
  object->setValue("empty", "");
  EXPECT_EQ(object->getState(externalParams),
            "A:x\n  Mode = near\n  app = 9\n  may = 9\n  must = 9\n  near must = 9\nEND\n");
  EXPECT_EQ(object->getState(internalParams), "A:x\n  secret = 9\nEND\n");
  EXPECT_EQ(StringUtilities::vectorToString(object->getParamNamesInContext(allParams), ','),
            "Mode,app,empty,may,must,near must,secret");
  EXPECT_EQ(object->getAppStrippedState(),
            "A:x\n  Mode = near\n  may = 9\n  must = 9\n  near must = 9\nEND\n");
  object->setValue("Mode", "far");
  EXPECT_EQ(object->getState(allParams),
            "A:x\n  Mode = far\n  app = 9\n  far may = 9\n  may = 9\n  must = 9\n  secret = 9\nEND\n");
  object->unsetParam("unlisted");
  object->setValue("Mode", "sideways");  // no context loses nothing that was set
  EXPECT_EQ(
      object->getState(externalParams),
      "A:x\n  Mode = sideways\n  app = 9\n  far may = 9\n  may = 9\n  must = 9\n  near must = 9\nEND\n");
  PrototypeEditor(*object).removeParameter("Mode");
  EXPECT_EQ(object->getState(externalParams), "A:x\n  app = 9\n  may = 9\n  must = 9\nEND\n");

  Category::addCategory("application-object");
  const KSLObject* top = add("", "TOP", "TOP");
  add("/TOP", "Z", "late");
  PrototypeEditor(static_cast<DataKSLObject&>(*add("/TOP", "A", "hidden"))).setCategory("application-object");
  EXPECT_EQ(db().getRoot()->getState(allParams), "TOP:\n  A:hidden\n  END\n  Z:late\n  END\nEND\n");
  EXPECT_EQ(top->getAppStrippedState(), "TOP:\n  Z:late\n  END\nEND\n");
}

}  // namespace
}  // namespace orv::test
