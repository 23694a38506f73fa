// The C functions; coreC.c makes the calls.
#include "database/KSLObject.h"
#include "command/KSLCoreC.h"
#include "tests/support/TestSystem.h"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <initializer_list>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

extern "C" {
char* textFromC(const char* function, const char* object, const char* argument);
int numberFromC(const char* function, const char* object, const char* argument, int level);
int printObject(FILE* out, const char* object);
}

namespace orv {
namespace {

class CoreC : public testing::Test {
 protected:
  CoreC()
  {
    system.run(
        "A: k\nx = 1\ny = a, b\nLABEL: in\nEND\nCUT: in\nColour = red\nEND\nEND\n"
        "CUT: twice\nEND\nA: twice\nEND\nVIEW:\nEND");
  }
  static std::string text(const char* function, const char* object, const char* argument = nullptr)
  {
    const std::unique_ptr<char, void (*)(char*)> result(textFromC(function, object, argument), freeKSLText);
    return result ? result.get() : "(null)";
  }
  TestSystem system;
};

TEST_F(CoreC, Texts)
{
  struct Case {
    const char* function;
    const char* object;
    const char* argument;
    const char* text;
  };
  const Case cases[] = {
      {"getParamValue", "k", "y", "a, b"},
      {"getParamValue", "/A:k", "z", ""},
      {"getParamValue", "VIEW", "Zoom", "1"},
      {"getObjectType", "/A:k/CUT:in", nullptr, "CUT"},
      {"getObjectType", "/", nullptr, "ROOT"},
      {"getObjectChildren", "k", nullptr, "/A:k/CUT:in\n/A:k/LABEL:in\n"},
      {"getObjectChildren", "/", nullptr, "/A:k\n/A:twice\n/CUT:twice\n/VIEW\n"},
      {"getObjectChildren", "/VIEW", nullptr, ""},
      {"getObjectChildrenByCategory", "k", "deletable", "/A:k/CUT:in\n"},
      {"getObjectChildrenByCategory", "k", "none", ""},
      {"getObjectParameters", "k", nullptr, "x = 1\ny = a, b\nz = \n"},
      {"getObjectParameters", "/", nullptr, ""},
      {"getObjectParameterInfo", "/A:k/CUT:in", "Colour",
       "Name = Colour\nValue = red\nDefault = green\nSet = True\nInternal = False\nParameter Type = string\n"
       "Parameter Category = Other\nLocal Type = \nRemote Type = \nRemote Path = \n"
       "Allowed String List = red, green, blue\n"},
      {"getObjectParameterInfo", "/A:k/CUT:in", "Cuts",
       "Name = Cuts\nValue = \nDefault = \nSet = False\nInternal = False\nParameter Type = String List\n"
       "Parameter Category = Other\nLocal Type = Data\nRemote Type = Data\nRemote Path = \n"
       "Allowed String List = \n"},
  };
  for (const Case& entry : cases)
    EXPECT_EQ(text(entry.function, entry.object, entry.argument), entry.text) << entry.function;
  KSLCoreAPI::instance()->getObjectByPath("/A:k")->setValue("y", "two\r\nlines");
  EXPECT_EQ(text("getObjectParameters", "k"), "x = 1\ny = two  lines\nz = \n");
  EXPECT_EQ(text("getParamValue", "k", "y"), "two\r\nlines");
  EXPECT_EQ(system.errors(), "");
}

TEST_F(CoreC, Numbers)
{
  const std::tuple<const char*, const char*, const char*, int> cases[] = {
      {"isObjectCategory", "k", "deletable", 1}, {"isObjectCategory", "k", "A", 1},
      {"isObjectCategory", "k", "staging", 0},   {"isObjectCategory", "/", "none", 0},
      {"objectExists", "k", nullptr, 1},         {"objectExists", "/A:k/CUT:in", nullptr, 1},
      {"objectExists", "in", nullptr, 0},        {"objectExists", "/A:none", nullptr, 0},
      {"objectExists", "A:k", nullptr, 0},
  };
  for (const auto& [function, object, argument, number] : cases)
    EXPECT_EQ(numberFromC(function, object, argument, 0), number) << function << " " << object;
  EXPECT_EQ(system.errors(), "") << "what does not exist is an answer";
}

// Every function with every kind of bad argument: one report each, in its own name, and no answer.
TEST_F(CoreC, FailuresAreReported)
{
  const char* const function[] = {
      "getParamValue", "getObjectParameterInfo", "getObjectChildrenByCategory", "isObjectCategory",
      "getObjectType", "getObjectChildren",      "getObjectParameters",         "objectExists"};
  const auto reported = [this](const char* name, const char* object, const char* argument) {
    if (std::string(name) == "isObjectCategory" || std::string(name) == "objectExists")
      EXPECT_EQ(numberFromC(name, object, argument, 0), 0) << name;
    else
      EXPECT_EQ(textFromC(name, object, argument), nullptr) << name;
    return system.errorList();
  };
  const auto ours = [](const char* name, const char* message, int type = 4) {
    return std::vector{ErrorMsg("KSLCoreC", name, message, type)};
  };
  for (int i = 0; i < 8; ++i) {
    const char* const name = function[i];
    EXPECT_EQ(reported(name, nullptr, "x"), ours(name, "Input parameter object is a null pointer.", 32));
    EXPECT_EQ(reported(name, "", "x"), ours(name, "Input parameter object is empty."));
    EXPECT_EQ(reported(name, "twice", "x"),
              std::vector{ErrorMsg("ObjectDB", "getObjectByName", "Object name twice is ambiguous.", 4)});
    if (i < 7) {
      EXPECT_EQ(reported(name, "in", "x"), ours(name, "Object 'in' does not exist."));
    }
    const std::string second = i < 2 ? "parameter" : "category";
    if (i >= 4)
      continue;
    EXPECT_EQ(reported(name, "k", nullptr),
              ours(name, ("Input parameter " + second + " is a null pointer.").c_str(), 32));
    EXPECT_EQ(reported(name, "k", ""), ours(name, ("Input parameter " + second + " is empty.").c_str()));
    if (i >= 2)
      continue;
    EXPECT_EQ(
        reported(name, "k", "q"),
        std::vector{ErrorMsg("KSLObject", "getParam", "Parameter 'q' does not exist on object /A:k.", 4)});
  }
}

TEST_F(CoreC, ReportsOfTheCaller)
{
  for (const int level :
       std::initializer_list<int>{KSL_SYSTEM_FAILURE, KSL_ERROR, KSL_WARNING, KSL_INTERNAL_ERROR, 0, 5, -8})
    numberFromC("reportError", "100%s", nullptr, level);
  numberFromC("reportError", "", nullptr, 8);
  numberFromC("reportError", nullptr, nullptr, 8);
  std::vector<ErrorMsg> expected;
  for (const int type : {1, 4, 8, 32, 4, 4, 4})
    expected.emplace_back("KSLCoreC", "reportError", "100%s", type);
  expected.emplace_back("KSLCoreC", "reportError", "Input parameter text is empty.", 4);
  expected.emplace_back("KSLCoreC", "reportError", "Input parameter text is a null pointer.", 32);
  EXPECT_EQ(system.errorList(), expected);
  freeKSLText(nullptr);
}

TEST_F(CoreC, TheExamplePrintsAnObject)
{
  char* printed = nullptr;
  std::size_t size = 0;
  FILE* out = open_memstream(&printed, &size);
  ASSERT_NE(out, nullptr);
  EXPECT_EQ(printObject(out, "k"), 1);
  EXPECT_EQ(printObject(out, "none"), 0);
  std::fclose(out);
  EXPECT_STREQ(printed, "x = 1\ny = a, b\nz = \n/A:k/CUT:in\n/A:k/LABEL:in\n");
  std::free(printed);
}

}  // namespace
}  // namespace orv
