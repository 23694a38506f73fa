// The front door: what is told to observers, and what they may do.
#include "database/KSLObject.h"
#include "command/KSLCoreAPI.h"
#include "tests/support/TestSystem.h"
#include "tests/support/thrown.h"

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <string>

namespace orv {
namespace {

class CoreApi : public testing::Test {
 protected:
  CoreApi()
  {
    system.registerAction("fail", [](const auto&) { throw data::invalid("Test", "fail", "failed"); });
    system.registerAction("nest", [this](const auto&) { system.run("A: n\nx = 1\nEND"); });
    system.run("A: k\nx = 0\nEND");
    system.notifications();
  }
  std::string told(const char* text, kslUpdateMode mode = kslUpdateDefault)
  {
    system.run(text, mode);
    return system.notifications();
  }
  TestSystem system;
};

TEST_F(CoreApi, TellsTheCourseOfACommand)
{
  const std::pair<const char*, const char*> cases[] = {
      {"A: a\nx = 1\nEND", "0 4 5 16 1"},
      {"A: a\nx = 1\nEND", "0 16 1"},
      {"\n", "0 16 1"},
      {"A: a\nx = 2\nEND\nA: b\nEND\n", "0 4 5 4 5 16 1"},
      {"> nest", "0 0 4 5 1 16 1"},
      {"> delete a", "0 0 4 5 1 0 1 16 1"},
      {"> undo", "0 4 5 16 1"},
      {"> redo", "0 4 5 16 1"},
      {"A: a\nq = 1\nEND", "0 12 4 5 13 1"},
      {"A: a\nx = 1\nEND\n> fail", "0 4 5 12 4 5 13 1"},
      {"A: a\nEND\n> nest\nA: q\nq = 1\nEND", "0 4 5 0 1 12 4 5 13 1"},
      {"> undo\n> fail", "0 4 5 14 4 5 15 1"},
      {"A: z\nEND\n> undo\n> redo\n> fail", "0 4 5 4 5 4 5 12 4 5 13 1"},
  };
  for (const auto& [text, types] : cases)
    EXPECT_EQ(told(text), types) << text;
  EXPECT_EQ(told("A: b\nx = 9\nEND\nA: k\nx = 1\nEND", kslUpdateAtEnd), "0 4 5 16 1");
  EXPECT_EQ(told("A: k\nx = 2\nEND", kslUpdateNoAction), "0 16 1");
  system.errorList();
}

TEST_F(CoreApi, ObserversThatThrow)
{
  struct Case {
    int type;
    const char* text;
    const char* told;
    const char* errors;
  };
  const char* const failed = "error[4] Test::fail: failed";
  const char* const inHistory =
      "error[4] KSLInterface::parseHistory: Operation failed. (System exception string: out)";
  const Case cases[] = {
      {1, "A: k\nx = 1\nEND", "0 4 5 16 1", ""},
      {5, "A: k\nx = 2\nEND", "0 4 5 16 1", ""},
      {4, "A: k\nx = 3\nEND", "0 4 5 12 4 5 13 1",
       "error[1] KSLInterface::invoke: Operation failed. (System exception string: out)"},
      {16, "A: k\nx = 3\nEND", "0 4 5 16 12 4 5 13 1",
       "error[1] KSLInterface::parseKSL: Operation failed. (System exception string: out)"},
      {12, "A: k\nx = 3\nEND\n> fail", "0 4 5 12 4 5 13 1", failed},
      {13, "A: k\nx = 3\nEND\n> fail", "0 4 5 12 4 5 13 1", failed},
      {15, "> undo\n> fail", "0 4 5 14 4 5 15 1", failed},
      {4, "> undo", "0 4 5 14 4 5 15 1", inHistory},
      {4, "> redo", "0 4 5 12 4 5 13 1", inHistory},
  };
  for (const Case& entry : cases) {
    if (entry.text == std::string("> redo"))
      system.run("> undo");
    SCOPED_TRACE(entry.text);
    const std::string before = system.state();
    system.notifications();
    system.onNotification = [armed = true, type = entry.type](int now) mutable {
      if (now == type && std::exchange(armed, false))
        throw std::string("out");
    };
    EXPECT_EQ(told(entry.text), entry.told);
    system.onNotification = nullptr;
    EXPECT_EQ(system.errors(), entry.errors);
    EXPECT_EQ(system.state() == before, *entry.errors != 0);
    system.expectConsistent();
  }
}

TEST_F(CoreApi, RefusesEmptyTextsBeforeAnybodyIsTold)
{
  const auto empty = [&] { system.run(""); };
  EXPECT_EQ(thrown<internal::badParam>(empty),
            ErrorMsg("KSLCoreAPI", "processKSL", "Input parameter p_KSLStr is empty.", 4));
  system.registerAction("empty", [&](const auto&) { empty(); });
  EXPECT_EQ(system.errors(), "");
  EXPECT_EQ(told("> empty"), "0 12 13 1");
  EXPECT_EQ(system.errorList(),
            std::vector{ErrorMsg("KSLCoreAPI", "processKSL", "Input parameter p_KSLStr is empty.", 32)});
}

TEST_F(CoreApi, UsersTextsTakeTheExternalMode)
{
  KSLCoreAPI* api = KSLCoreAPI::instance();
  api->externalProcessKSL({"A: k", "x = 1", "END", "A: k", "x = 2", "END"});
  EXPECT_EQ(system.notifications(), "0 4 5 4 5 16 1");
  api->setExternalKslUpdateMode(kslUpdateAtEnd);
  api->externalProcessKSL({"A: k", "x = 3", "END", "A: k", "x = 4", "END"});
  EXPECT_EQ(system.notifications(), "0 4 5 16 1");
  EXPECT_EQ(system.state(), "A:k\n  x = 4\nEND\n") << "the update stands on a line of its own";
  api->externalProcessKSL({"> fail"});
  EXPECT_EQ(system.errors(), "error[4] Test::fail: failed");
  api->setExternalKslUpdateMode(kslUpdateNoAction);
  api->externalProcessKSL({"A: k", "x = 5", "END", "A: l", "END"});
  EXPECT_EQ(system.notifications(), "0 12 13 1 0 16 1");
  EXPECT_EQ(system.state(), "A:k\n  x = 5\nEND\n");
}

TEST_F(CoreApi, ValidationStopsBeforeObjectsAreTouched)
{
  KSLCoreAPI::instance()->setValidationEnabled(true);
  system.run("A: k\nx = 1\nEND\nA: k\nx = 2\nq = 3\nEND");
  EXPECT_EQ(system.errors(),
            "error[4] KSLAPI::validateKSLData: Parameter 'q' is not defined for object type 'A'.");
  EXPECT_EQ(system.state(), "A:k\n  x = 0\nEND\n");
  system.expectConsistent();
  system.run("NONE: n\nEND");
  EXPECT_EQ(system.errors(), "error[4] KSLAPI::validateKSLData: Object type 'NONE' is not defined.");
  system.run("CUT: c\nOption = Sphere\nRadius = 2 [m]\nCache = 1\nEND\nA: k\nx = 1\nEND\n> undo\n> redo");
  EXPECT_EQ(system.errors(), "");
}

// Whatever was judged before it: a value is compared with its like, and looked at closely only when it differs.
TEST_F(CoreApi, ValidationJudgesEachValueByItself)
{
  KSLCoreAPI::instance()->setValidationEnabled(true);
  const auto verdict = [this](const std::string& lines) {
    system.run("CUT: c\n" + lines + "END\n> undo");
    return system.errors();
  };
  const std::vector<std::string> numbers{"1",       "-2.5 [mm]", "+.5 [m]", "7 [ m ]", "3 [s]",
                                         "4 [mmm]", "5 [mm",     "6 mm",    "7,8",     "9 [] ",
                                         "1e3 [m]", "0x1F",      "1e999",   "..1",     "- 1 [mm]",
                                         "2 [m]x",  "3 [m][m]",  "4 [%]",   "1 [\"m]", "2 [m, m]"};
  const std::vector<std::string> triplets{"1,2,3", "1 [m], 2 [m], 3 [m]", "1,2", "1,2,3,4", "1,,3", "1,2,"};
  const auto judge = [&](const std::string& name, const std::vector<std::string>& values) {
    for (const std::string& value : values) {
      const std::string alone = verdict(name + " = " + value + "\n");
      for (const std::string& before : values) {
        if (!verdict(name + " = " + before + "\n").empty())
          continue;
        EXPECT_EQ(verdict("CUT: d\n" + name + " = " + before + "\nEND\n" + name + " = " + value + "\n"),
                  alone)
            << before;
      }
    }
    EXPECT_NE(verdict(name + " = " + values.back() + "\n"), "");
  };
  judge("Offset", numbers);
  judge("Normal", triplets);
}

TEST_F(CoreApi, QueriesTakeNamesOrPaths)
{
  KSLCoreAPI* api = KSLCoreAPI::instance();
  system.run(
      "A: k\nA: inner\nEND\nEND\nVIEW:\nEND\nCUT: twice\nOffset = 2 [mm]\nCache = 9\nEND\nA: twice\nEND");
  for (const auto& [text, path] :
       {std::pair("k", "/A:k"), {"VIEW", "/VIEW"}, {"A:k", "A:k"}, {"/A:none", "/A:none"}}) {
    std::string validated = text;
    EXPECT_EQ(api->toValidatedPath(validated), api->hasObject(text));
    EXPECT_EQ(validated, path);
  }
  const auto empty = [](const char* function, const char* name) {
    return ErrorMsg("KSLCoreAPI", function, std::string("Input parameter ") + name + " is empty.", 4);
  };
  const std::pair<std::function<void()>, ErrorMsg> refusals[] = {
      {[&] { api->hasObject(""); }, empty("hasObject", "p_path")},
      {[&] { api->hasObjectGotParam("", ""); }, empty("getObjectParamHasParamByPath", "p_path")},
      {[&] { api->hasObjectGotParam("/A:none", ""); }, empty("getObjectParamHasParamByPath", "p_param")},
      {[&] { api->getObjectKSL(""); }, empty("getObjectKSL", "p_path")},
      {[&] { api->hasObject("twice"); },
       {"ObjectDB", "getObjectByName", "Object name twice is ambiguous.", 4}},
  };
  for (const auto& [call, error] : refusals)
    EXPECT_EQ(thrown<data::invalid>(call), error);

  const auto paths = [](const std::vector<KSLObject*>& objects) {
    std::string text;
    for (const KSLObject* object : objects)
      text += object->getPath() + " ";
    return text;
  };
  EXPECT_EQ(paths(api->getChildObjectsByType("/A:k", "A")), "/A:k/A:inner ");
  EXPECT_EQ(paths(api->getTopObjectsByCategory("deletable")), "/A:k /A:twice /CUT:twice ");
  EXPECT_EQ(paths(api->getChildObjectsByCategory("/A:k", "deletable")), "/A:k/A:inner ");

  EXPECT_TRUE(api->hasObjectGotParam("/CUT:twice", "Radius"));
  std::vector<std::pair<std::string, std::string>> users{{"/gone", ""}};
  api->getObjectsWithParameter("Radius", users);
  EXPECT_EQ(users, (std::vector<std::pair<std::string, std::string>>{{"/CUT:twice", "1 [m]"}}));
  std::map<std::string, std::string> params = {
      {"Colour", "green"},  {"Cuts", ""},        {"Layers", "front"}, {"Normal", "0, 0, 1"},
      {"Offset", "2 [mm]"}, {"Option", "Plane"}, {"Radius", "1 [m]"}, {"Visible", "True"}};
  EXPECT_EQ(api->getObjectParamsByPath("/CUT:twice", UnitSystemTypes::asStored, false), params);
  params["Offset"] = "0 [mm]";
  EXPECT_EQ(api->getParamsForObjectType("CUT", UnitSystemTypes::asStored), params);
  params["Cache"] = "";
  EXPECT_EQ(api->getParamsForObjectType("CUT", UnitSystemTypes::base, false), params);
  EXPECT_EQ(api->getParamsForObjectType("CUT", UnitSystemTypes::preferred, false).at("Radius"), "1");
  EXPECT_EQ(api->getObjectExternalKSL("/CUT:twice").find("Cache"), std::string::npos);
  EXPECT_NE(api->getObjectKSL("/CUT:twice").find("Cache = 9"), std::string::npos);
  EXPECT_EQ(api->getObjectKSL("/CUT:none") + api->getObjectExternalKSL("k"), "") << "paths only";
}

}  // namespace
}  // namespace orv
