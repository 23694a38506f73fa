// The C functions.
#include "database/KSLObject.h"
#include "command/KSLCoreC.h"
#include "tests/support/TestSystem.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <vector>

extern "C" int printObject(FILE* out, const char* object);

namespace orv {
namespace {

std::string taken(char* text)
{
  const std::unique_ptr<char, void (*)(char*)> owned(text, freeKSLText);
  return text ? text : "(null)";
}

struct Function {
  std::function<std::string(const char*, const char*)> ask;
  const char* second = nullptr;  // argument
};

const std::map<std::string, Function> functions = {
    {"getParamValue",
     {[](auto object, auto param) { return taken(getParamValue(object, param)); }, "parameter"}},
    {"getObjectParameterInfo",
     {[](auto object, auto param) { return taken(getObjectParameterInfo(object, param)); }, "parameter"}},
    {"getObjectChildrenByCategory",
     {[](auto object, auto category) { return taken(getObjectChildrenByCategory(object, category)); },
      "category"}},
    {"isObjectCategory",
     {[](auto object, auto category) { return std::to_string(isObjectCategory(object, category)); },
      "category"}},
    {"getObjectType", {[](auto object, auto) { return taken(getObjectType(object)); }}},
    {"getObjectChildren", {[](auto object, auto) { return taken(getObjectChildren(object)); }}},
    {"getObjectParameters", {[](auto object, auto) { return taken(getObjectParameters(object)); }}},
    {"objectExists", {[](auto object, auto) { return std::to_string(objectExists(object)); }}},
};

class CoreC : public testing::Test {
 protected:
  CoreC()
  {
    system.run(
        "A: k\nx = 1\ny = a, b\nLABEL: in\nEND\nCUT: in\nColour = red\nEND\nEND\n"
        "CUT: twice\nEND\nA: twice\nEND\nVIEW:\nEND");
  }
  TestSystem system;
};

TEST_F(CoreC, Answers)
{
  struct Case {
    const char* function;
    const char* object;
    const char* argument;
    const char* answer;
  };
  const Case cases[] = {
      {"getObjectType", "/A:k/CUT:in", nullptr, "CUT"},
      {"getObjectChildren", "/", nullptr, "/A:k\n/A:twice\n/CUT:twice\n/VIEW\n"},
      {"getObjectChildrenByCategory", "k", "deletable", "/A:k/CUT:in\n"},
      {"getObjectParameters", "k", nullptr, "x = 1\ny = two  lines\nz = \n"},
      {"getParamValue", "k", "y", "two\r\nlines"},
      {"getObjectParameterInfo", "/A:k/CUT:in", "Colour",
       "Name = Colour\nValue = red\nDefault = green\nSet = True\nInternal = False\nParameter Type = string\n"
       "Parameter Category = Other\nLocal Type = \nRemote Type = \nRemote Path = \n"
       "Allowed String List = red, green, blue\n"},
      {"isObjectCategory", "k", "deletable", "1"},
      {"isObjectCategory", "k", "staging", "0"},
      {"objectExists", "/A:k/CUT:in", nullptr, "1"},
      {"objectExists", "A:k", nullptr, "0"},
  };
  KSLCoreAPI::instance()->getObjectByPath("/A:k")->setValue("y", "two\r\nlines");
  for (const Case& entry : cases)
    EXPECT_EQ(functions.at(entry.function).ask(entry.object, entry.argument), entry.answer) << entry.function;
  EXPECT_EQ(system.errors(), "") << "what does not exist is an answer";
}

// Every function with every kind of bad argument: one report each, in its own name, and no answer.
TEST_F(CoreC, FailuresAreReported)
{
  for (const auto& [name, function] : functions) {
    const std::string own = "KSLCoreC::" + name + ": ";
    const auto reported = [this, &ask = function.ask](const char* object, const char* argument) {
      const std::string answer = ask(object, argument);
      EXPECT_TRUE(answer == "(null)" || answer == "0") << answer;
      return system.errors();
    };
    EXPECT_EQ(reported(nullptr, "x"), "error[32] " + own + "Input parameter object is a null pointer.");
    EXPECT_EQ(reported("", "x"), "error[4] " + own + "Input parameter object is empty.");
    EXPECT_EQ(reported("twice", "x"), "error[4] ObjectDB::getObjectByName: Object name twice is ambiguous.");
    EXPECT_EQ(reported("in", "x"),
              name == "objectExists" ? "" : "error[4] " + own + "Object 'in' does not exist.");
    if (const char* second = function.second) {
      EXPECT_EQ(reported("k", nullptr),
                "error[32] " + own + "Input parameter " + second + " is a null pointer.");
      EXPECT_EQ(reported("k", ""), "error[4] " + own + "Input parameter " + second + " is empty.");
    }
  }
}

TEST_F(CoreC, ReportsOfTheCaller)
{
  std::vector<ErrorMsg> expected;
  for (const auto& [level, type] : std::map<int, int>{
           {KSL_SYSTEM_FAILURE, 1}, {KSL_ERROR, 4}, {KSL_WARNING, 8}, {KSL_INTERNAL_ERROR, 32}, {5, 4}}) {
    reportError("100%s", level);
    expected.emplace_back("KSLCoreC", "reportError", "100%s", type);
  }
  reportError("", 8);
  reportError(nullptr, 8);
  expected.emplace_back("KSLCoreC", "reportError", "Input parameter text is empty.", 4);
  expected.emplace_back("KSLCoreC", "reportError", "Input parameter text is a null pointer.", 32);
  EXPECT_EQ(system.errorList(), expected);
}

TEST_F(CoreC, TheExamplePrintsAnObject)
{
  char* printed = nullptr;
  std::size_t size = 0;
  FILE* out = open_memstream(&printed, &size);
  ASSERT_NE(out, nullptr);
  EXPECT_EQ(printObject(out, "k"), 1);
  std::fclose(out);
  EXPECT_STREQ(printed, "x = 1\ny = a, b\nz = \n/A:k/CUT:in\n/A:k/LABEL:in\n");
  std::free(printed);
}

}  // namespace
}  // namespace orv
