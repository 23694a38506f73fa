// Questions to the front door: what it adds to the database and the factory that answer them.
#include "platform/ORVError.h"
#include "database/KSLObject.h"
#include "tests/support/TestSystem.h"
#include "tests/support/thrown.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace orv {
namespace {

using Map = std::map<std::string, std::string>;

class CoreQueries : public testing::Test {
 protected:
  CoreQueries()
  {
    system.run(
        "A: k\nx = 1\nLABEL: top\nMARK: in\nText = deep\nEND\nEND\nA: inner\nEND\nEND\nVIEW:\nEND\n"
        "CUT: twice\nOffset = 2 [mm]\nCache = 9\nEND\nA: twice\nx = a, b\nEND");
  }
  static std::string paths(const std::vector<KSLObject*>& objects)
  {
    std::string text;
    for (const KSLObject* object : objects)
      text += (text.empty() ? "" : " ") + object->getPath();
    return text;
  }
  TestSystem system;
  KSLCoreAPI* api = KSLCoreAPI::instance();
};

TEST_F(CoreQueries, Refusals)
{
  const auto valid = [this](const char* text) {
    std::string path = text;
    api->toValidatedPath(path);
  };
  struct Case {
    std::function<void()> call;
    ErrorMsg error;
  };
  const auto empty = [](const char* function, const char* name) {
    return ErrorMsg("KSLCoreAPI", function, std::string("Input parameter ") + name + " is empty.", 4);
  };
  const ErrorMsg ambiguous("ObjectDB", "getObjectByName", "Object name twice is ambiguous.", 4);
  const Case cases[] = {
      {[&] { api->hasObject(""); }, empty("hasObject", "p_path")},
      {[&] { valid(""); }, empty("hasObject", "p_path")},
      {[&] { api->hasObjectGotParam("", ""); }, empty("getObjectParamHasParamByPath", "p_path")},
      {[&] { api->hasObjectGotParam("/A:none", ""); }, empty("getObjectParamHasParamByPath", "p_param")},
      {[&] { api->getObjectKSL(""); }, empty("getObjectKSL", "p_path")},
      {[&] { api->getObjectExternalKSL(""); }, empty("getObjectKSL", "p_path")},
      {[&] { api->getTopObjectByName("twice"); }, ambiguous},
      {[&] { api->hasObject("twice"); }, ambiguous},
      {[&] { valid("twice"); }, ambiguous},
  };
  for (const Case& entry : cases)
    EXPECT_EQ(thrown<data::invalid>(entry.call), entry.error);
  EXPECT_EQ(thrown<data::notFound>([&] { (void)api->createObject("NONE", "n"); }),
            ErrorMsg("ObjectFactory", "createObject", "Could not find object: NONE", 4));
}

TEST_F(CoreQueries, TextsBecomePaths)
{
  const std::tuple<const char*, bool, const char*> cases[] = {
      {"k", true, "/A:k"},   {"VIEW", true, "/VIEW"},       {"/A:k", true, "/A:k"},
      {"A:k", false, "A:k"}, {"/A:k//", true, "/A:k//"},    {"inner", false, "inner"},
      {"/k", false, "/k"},   {"/A:none", false, "/A:none"}, {"none", false, "none"},
      {"top", false, "top"},
  };
  for (const auto& [text, found, result] : cases) {
    std::string path = text;
    EXPECT_EQ(api->toValidatedPath(path), found) << text;
    EXPECT_EQ(path, result);
    EXPECT_EQ(api->hasObject(text), found) << text;
  }
}

TEST_F(CoreQueries, ObjectsByWhatTheyAre)
{
  EXPECT_EQ(paths(api->getObjectsByType("A")), "/A:k /A:twice");
  EXPECT_EQ(paths(api->getTopObjectsByType("A")), "/A:k /A:twice") << "one operation under two names";
  EXPECT_EQ(paths(api->getChildObjectsByType("/A:k", "A")), "/A:k/A:inner");
  EXPECT_EQ(paths(api->getObjectsByCategory("deletable")), "/A:k /A:k/A:inner /A:twice /CUT:twice");
  EXPECT_EQ(paths(api->getTopObjectsByCategory("staging")), "/VIEW");
  EXPECT_EQ(paths(api->getTopObjectsByCategory("deletable")), "/A:k /A:twice /CUT:twice");
  EXPECT_EQ(paths(api->getChildObjectsByCategory("/A:k", "deletable")), "/A:k/A:inner");
  EXPECT_EQ(paths({api->getTopObjectByName("k"), api->getObjectByPath("/A:k/LABEL:top/MARK:in")}),
            "/A:k /A:k/LABEL:top/MARK:in");
  EXPECT_EQ(api->getObjectByPath("k"), nullptr);
  EXPECT_EQ(paths({api->createObject("/A:k", "A", "new").get(), api->createObject("A", "new").get()}),
            "/A:k/A:new /A:new");
  EXPECT_FALSE(api->hasObject("/A:new")) << "not in the database yet";
  EXPECT_EQ(api->getCategories(), (std::vector<std::string>{"deletable", "staging"}));
  const std::vector<std::string> params = api->getParamTypes();
  EXPECT_TRUE(std::is_sorted(params.begin(), params.end()));
  EXPECT_TRUE(std::binary_search(params.begin(), params.end(), "Radius"));
}

TEST_F(CoreQueries, Parameters)
{
  EXPECT_TRUE(api->hasObjectGotParam("/CUT:twice", "Radius"));
  EXPECT_FALSE(api->hasObjectGotParam("/CUT:twice", "x"));
  EXPECT_FALSE(api->hasObjectGotParam("/CUT:none", "Radius"));
  const Map stored = {{"Colour", "green"},  {"Cuts", ""},        {"Layers", "front"}, {"Normal", "0, 0, 1"},
                      {"Offset", "2 [mm]"}, {"Option", "Plane"}, {"Radius", "1 [m]"}, {"Visible", "True"}};
  EXPECT_EQ(api->getObjectParamsByPath("/CUT:twice", UnitSystemTypes::asStored, false), stored);
  EXPECT_EQ(api->getObjectParamsByPath("/CUT:none", UnitSystemTypes::asStored, false), Map());
  Map defaults = stored;
  defaults["Offset"] = "0 [mm]";
  EXPECT_EQ(api->getParamsForObjectType("CUT", UnitSystemTypes::asStored), defaults);
  defaults["Cache"] = "";
  EXPECT_EQ(api->getParamsForObjectType("CUT", UnitSystemTypes::base, false), defaults);
  EXPECT_EQ(api->getParamsForObjectType("STATE", UnitSystemTypes::asStored), Map());
  const Map converted = api->getParamsForObjectType("CUT", UnitSystemTypes::preferred, false);
  EXPECT_EQ(converted.size(), defaults.size());
  EXPECT_EQ(converted.at("Radius"), "1");

  std::vector<std::pair<std::string, std::string>> users{{"old", "old"}};
  api->getObjectsWithParameter("x", users);
  EXPECT_EQ(users, (decltype(users){{"/A:k", "1"}, {"/A:k/A:inner", ""}})) << "lists are left out";
}

TEST_F(CoreQueries, StateTexts)
{
  EXPECT_EQ(api->getObjectExternalKSL("/CUT:twice").find("Cache"), std::string::npos);
  EXPECT_EQ(api->getObjectKSL("/CUT:twice"), api->getObjectByPath("/CUT:twice")->getState(allParams));
  EXPECT_NE(api->getObjectKSL("/CUT:twice").find("Cache = 9"), std::string::npos);
  EXPECT_EQ(api->getObjectKSL("/CUT:none") + api->getObjectExternalKSL("k"), "") << "paths only";
  EXPECT_EQ(api->getState(std::string("/A:k/LABEL:top, k")),
            api->getState(std::vector<std::string>{"/A:k/LABEL:top", "k"}));
  EXPECT_EQ(api->getState(std::string("none")), "");
  EXPECT_EQ(system.errorList(),
            std::vector{ErrorMsg("ObjectDB", "getState", "Object 'none' does not exist.", 8)});
}

}  // namespace
}  // namespace orv
