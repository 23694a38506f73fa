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
#include <vector>

extern "C" {
char* askFromC(const char* function, const char* object, const char* argument, int* number);
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
  // A number as text.
  static std::string ask(const char* function, const char* object, const char* argument = nullptr)
  {
    int number = -1;
    const std::unique_ptr<char, void (*)(char*)> text(askFromC(function, object, argument, &number),
                                                      freeKSLText);
    return text ? text.get() : number < 0 ? "(null)" : std::to_string(number);
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
      {"getParamValue", "k", "y", "a, b"},
      {"getParamValue", "/A:k", "z", ""},
      {"getObjectType", "/A:k/CUT:in", nullptr, "CUT"},
      {"getObjectType", "/", nullptr, "ROOT"},
      {"getObjectChildren", "k", nullptr, "/A:k/CUT:in\n/A:k/LABEL:in\n"},
      {"getObjectChildren", "/", nullptr, "/A:k\n/A:twice\n/CUT:twice\n/VIEW\n"},
      {"getObjectChildrenByCategory", "k", "deletable", "/A:k/CUT:in\n"},
      {"getObjectParameters", "k", nullptr, "x = 1\ny = a, b\nz = \n"},
      {"getObjectParameters", "/", nullptr, ""},
      {"getObjectParameterInfo", "/A:k/CUT:in", "Colour",
       "Name = Colour\nValue = red\nDefault = green\nSet = True\nInternal = False\nParameter Type = string\n"
       "Parameter Category = Other\nLocal Type = \nRemote Type = \nRemote Path = \n"
       "Allowed String List = red, green, blue\n"},
      {"isObjectCategory", "k", "deletable", "1"},
      {"isObjectCategory", "k", "staging", "0"},
      {"objectExists", "k", nullptr, "1"},
      {"objectExists", "/A:k/CUT:in", nullptr, "1"},
      {"objectExists", "in", nullptr, "0"},
      {"objectExists", "A:k", nullptr, "0"},
  };
  for (const Case& entry : cases)
    EXPECT_EQ(ask(entry.function, entry.object, entry.argument), entry.answer) << entry.function;
  KSLCoreAPI::instance()->getObjectByPath("/A:k")->setValue("y", "two\r\nlines");
  EXPECT_EQ(ask("getObjectParameters", "k"), "x = 1\ny = two  lines\nz = \n");
  EXPECT_EQ(ask("getParamValue", "k", "y"), "two\r\nlines");
  EXPECT_EQ(system.errors(), "") << "what does not exist is an answer";
}

// Every function with every kind of bad argument: one report each, in its own name, and no answer.
TEST_F(CoreC, FailuresAreReported)
{
  struct Function {
    const char* name;
    const char* second;  // argument
  };
  const Function functions[] = {{"getParamValue", "parameter"},
                                {"getObjectParameterInfo", "parameter"},
                                {"getObjectChildrenByCategory", "category"},
                                {"isObjectCategory", "category"},
                                {"getObjectType", nullptr},
                                {"getObjectChildren", nullptr},
                                {"getObjectParameters", nullptr},
                                {"objectExists", nullptr}};
  for (const auto& [name, second] : functions) {
    const std::string own = std::string("KSLCoreC::") + name + ": ";
    const auto reported = [this, name = name](const char* object, const char* argument) {
      const std::string answer = ask(name, object, argument);
      EXPECT_TRUE(answer == "(null)" || answer == "0") << name << answer;
      return system.errors();
    };
    EXPECT_EQ(reported(nullptr, "x"), "error[32] " + own + "Input parameter object is a null pointer.");
    EXPECT_EQ(reported("", "x"), "error[4] " + own + "Input parameter object is empty.");
    EXPECT_EQ(reported("twice", "x"), "error[4] ObjectDB::getObjectByName: Object name twice is ambiguous.");
    EXPECT_EQ(reported("in", "x"),
              std::string(name) == "objectExists" ? "" : "error[4] " + own + "Object 'in' does not exist.");
    if (!second)
      continue;
    EXPECT_EQ(reported("k", nullptr),
              "error[32] " + own + "Input parameter " + second + " is a null pointer.");
    EXPECT_EQ(reported("k", ""), "error[4] " + own + "Input parameter " + second + " is empty.");
    if (second[0] == 'p') {
      EXPECT_EQ(reported("k", "q"),
                "error[4] KSLObject::getParam: Parameter 'q' does not exist on object /A:k.");
    }
  }
}

TEST_F(CoreC, ReportsOfTheCaller)
{
  for (const int level :
       std::initializer_list<int>{KSL_SYSTEM_FAILURE, KSL_ERROR, KSL_WARNING, KSL_INTERNAL_ERROR, 0, 5, -8})
    reportError("100%s", level);
  reportError("", 8);
  reportError(nullptr, 8);
  std::vector<ErrorMsg> expected;
  for (const int type : {1, 4, 8, 32, 4, 4, 4})
    expected.emplace_back("KSLCoreC", "reportError", "100%s", type);
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
  EXPECT_EQ(printObject(out, "none"), 0);
  std::fclose(out);
  EXPECT_STREQ(printed, "x = 1\ny = a, b\nz = \n/A:k/CUT:in\n/A:k/LABEL:in\n");
  std::free(printed);
}

}  // namespace
}  // namespace orv
