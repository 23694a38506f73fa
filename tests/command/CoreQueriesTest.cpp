// Questions to the front door: what it adds to the database and the factory that answer them.
#include "platform/ORVError.h"
#include "database/KSLObject.h"
#include "tests/support/TestSystem.h"
#include "tests/support/thrown.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace orv {
namespace {

class CoreQueries : public testing::Test {
 protected:
  CoreQueries()
  {
    system.run(
        "A: k\nx = 1\nLABEL: top\nEND\nA: inner\nEND\nEND\nVIEW:\nEND\n"
        "CUT: twice\nOffset = 2 [mm]\nCache = 9\nEND\nA: twice\nx = a, b\nEND");
  }
  static std::string paths(const std::vector<KSLObject*>& objects)
  {
    std::string text;
    for (const KSLObject* object : objects)
      text += (text.empty() ? "" : " ") + object->getPath();
    return text;
  }
  std::string validated(const char* text) const
  {
    std::string path = text;
    return api->toValidatedPath(path) == api->hasObject(text) ? path : "hasObject says otherwise";
  }
  TestSystem system;
  KSLCoreAPI* api = KSLCoreAPI::instance();
};

TEST_F(CoreQueries, Refusals)
{
  const auto empty = [](const char* function, const char* name) {
    return ErrorMsg("KSLCoreAPI", function, std::string("Input parameter ") + name + " is empty.", 4);
  };
  const ErrorMsg ambiguous("ObjectDB", "getObjectByName", "Object name twice is ambiguous.", 4);
  const std::pair<std::function<void()>, ErrorMsg> cases[] = {
      {[&] { validated(""); }, empty("hasObject", "p_path")},
      {[&] { api->hasObjectGotParam("", ""); }, empty("getObjectParamHasParamByPath", "p_path")},
      {[&] { api->hasObjectGotParam("/A:none", ""); }, empty("getObjectParamHasParamByPath", "p_param")},
      {[&] { api->getObjectKSL(""); }, empty("getObjectKSL", "p_path")},
      {[&] { api->hasObject("twice"); }, ambiguous},
      {[&] { validated("twice"); }, ambiguous},
  };
  for (const auto& [call, error] : cases)
    EXPECT_EQ(thrown<data::invalid>(call), error);
}

TEST_F(CoreQueries, Objects)
{
  for (const auto& [text, path] : {std::pair("k", "/A:k"),
                                   {"VIEW", "/VIEW"},
                                   {"/A:k", "/A:k"},
                                   {"A:k", "A:k"},
                                   {"/A:k//", "/A:k//"},
                                   {"inner", "inner"},
                                   {"/A:none", "/A:none"},
                                   {"none", "none"}})
    EXPECT_EQ(validated(text), path);
  EXPECT_EQ(paths(api->getObjectsByType("A")), "/A:k /A:twice");
  EXPECT_EQ(paths(api->getTopObjectsByType("A")), "/A:k /A:twice") << "one operation under two names";
  EXPECT_EQ(paths(api->getChildObjectsByType("/A:k", "A")), "/A:k/A:inner");
  EXPECT_EQ(paths(api->getObjectsByCategory("deletable")), "/A:k /A:k/A:inner /A:twice /CUT:twice");
  EXPECT_EQ(paths(api->getTopObjectsByCategory("deletable")), "/A:k /A:twice /CUT:twice");
  EXPECT_EQ(paths(api->getChildObjectsByCategory("/A:k", "deletable")), "/A:k/A:inner");
  EXPECT_EQ(paths({api->createObject("/A:k", "A", "new").get(), api->createObject("A", "new").get()}),
            "/A:k/A:new /A:new");
}

TEST_F(CoreQueries, ParametersAndStates)
{
  EXPECT_TRUE(api->hasObjectGotParam("/CUT:twice", "Radius"));
  EXPECT_FALSE(api->hasObjectGotParam("/CUT:none", "Radius"));
  std::map<std::string, std::string> params = {
      {"Colour", "green"},  {"Cuts", ""},        {"Layers", "front"}, {"Normal", "0, 0, 1"},
      {"Offset", "2 [mm]"}, {"Option", "Plane"}, {"Radius", "1 [m]"}, {"Visible", "True"}};
  EXPECT_EQ(api->getObjectParamsByPath("/CUT:twice", UnitSystemTypes::asStored, false), params);
  params["Offset"] = "0 [mm]";
  EXPECT_EQ(api->getParamsForObjectType("CUT", UnitSystemTypes::asStored), params);
  params["Cache"] = "";
  EXPECT_EQ(api->getParamsForObjectType("CUT", UnitSystemTypes::base, false), params);
  EXPECT_TRUE(api->getParamsForObjectType("STATE", UnitSystemTypes::asStored).empty());
  const auto converted = api->getParamsForObjectType("CUT", UnitSystemTypes::preferred, false);
  EXPECT_EQ(converted.size(), params.size());
  EXPECT_EQ(converted.at("Radius"), "1");

  EXPECT_EQ(api->getObjectExternalKSL("/CUT:twice").find("Cache"), std::string::npos);
  EXPECT_NE(api->getObjectKSL("/CUT:twice").find("Cache = 9"), std::string::npos);
  EXPECT_EQ(api->getObjectKSL("/CUT:none") + api->getObjectExternalKSL("k"), "") << "paths only";
  EXPECT_EQ(api->getState(std::string("/A:k/LABEL:top, k")),
            api->getState(std::vector<std::string>{"/A:k/LABEL:top", "k"}));
}

}  // namespace
}  // namespace orv
