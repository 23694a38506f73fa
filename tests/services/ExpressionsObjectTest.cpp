#include "rules/ExpressionNames.h"
#include "ExpressionSystem.h"
#include "tests/support/thrown.h"

#include <cstring>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <set>

namespace orv::test {
namespace {

using Counts = ExpressionsKSLObject::Counts;

std::string unknown(const std::string& text, const std::string& name)
{
  return "error[4] GenericKSLObject::makeVariableLinks: Expression '" + text + "' depends on a variable '"
         + name + "' which does not exist.";
}

std::string evaluated(const std::string& name)
{
  try {
    return ExpressionSystem::expressions().evaluate(name).toString();
  } catch (const Error& error) {
    return error.getMessage();
  }
}

TEST(ExpressionsObject, EvaluatorsShowWhatTheyUse)
{
  ExpressionSystem system;
  system.define("Head = 2 [m] + 50 [cm]\nT = 20 [C]\nU = T");
  const std::pair<const char*, const char*> rows[] = {
      {"Head * 2\nUser Units = mm", "5000 [mm]"},
      {"2 * 3\nUser Units = degree", "343.77467707849394 [degree]"},
      {"50 [%]", "0.5"},  // a number is shown as it is
      {"if(U > 0 [C], 3, 1 / 0)", "3"},
  };
  for (const auto& [text, shown] : rows) {
    EXPECT_EQ(system.evaluator("e", text), "");
    EXPECT_EQ(system.result("/EXPRESSION EVALUATOR:e"), shown) << text;
  }
}

// An evaluator's error takes the whole block back; a preview keeps the error as its result, also while a name is
// missing, and gets well by itself.
TEST(ExpressionsObject, ErrorsRollBackAndPreviewsShowThem)
{
  ExpressionSystem system;
  system.define("a = 6\nb = a / 2");
  system.evaluator("e", "1 [m] / b");
  system.run("EXPRESSION PREVIEW: p\nEvaluated Expression = c + 1 [s]\nEND\n");
  const std::string before = system->fullState();
  EXPECT_EQ(system.result("/EXPRESSION PREVIEW:p"),
            "Expression 'c + 1 [s]' depends on a variable 'c' which does not exist. [Error]");
  EXPECT_EQ(
      system.define("a = 0"),
      "error[4] ExpressionEvaluator::evalSingleValue: Cannot evaluate '1 [m] / b' for parameter 'Evaluated "
      "Expression' at column 7: division by zero.");
  EXPECT_EQ(system->fullState(), before);
  EXPECT_EQ(system.result("/EXPRESSION EVALUATOR:e"), "0.3333333333333333 [m]");
  EXPECT_EQ(system.evaluator("f", "a + missing"), unknown("a + missing", "missing"));
  EXPECT_EQ(system.evaluator("f", "nope(a)"),
            "error[4] GenericKSLObject::makeVariableLinks: Expression 'nope(a)' depends on a function 'nope' "
            "which does not exist.");
  EXPECT_EQ(system->fullState(), before);
  EXPECT_EQ(system.define("c = 59 [s]"), "");
  EXPECT_EQ(system.result("/EXPRESSION PREVIEW:p"), "60 [s]");
  EXPECT_EQ(system.define("c = 59 [m]"), "");
  EXPECT_EQ(
      system.result("/EXPRESSION PREVIEW:p"),
      "Cannot evaluate 'c + 1 [s]' for parameter 'Evaluated Expression' at column 3: cannot add 'm' and 's'. "
      "[Error]");
}

// Each is refused when it is set, and leaves the object, its cache and its links as they were.
TEST(ExpressionsObject, RefusedTextsChangeNothing)
{
  ExpressionSystem system;
  system.define("a = 1\nb = a + 1\nc = b + later");
  const std::string before = system->fullState() + ExpressionSystem::expressions().getSchedulerInfo();
  const std::string tried = "Cannot evaluate ";
  const std::pair<std::string, std::string> rows[] = {
      {"a = 1 +", tried + "'1 +' for parameter 'a' at column 4: syntax error, the text ends too early."},
      {"d = " + std::string(1001, '(') + "1" + std::string(1001, ')'), ""},
      {"a = a", "Tried to make object /EXPRESSIONS (a) reference itself."},
      {"a = c",
       "Attempt to create a cyclic dependency between object /EXPRESSIONS (c) and object /EXPRESSIONS (a)."},
      {"a-b = 3", "'a-b' is not a name that expressions can use."},
  };
  for (const auto& [lines, message] : rows) {
    const std::string error = system.define(lines);
    EXPECT_NE(error, "") << lines;
    EXPECT_TRUE(error.substr(error.find(": ") + 2).starts_with(message)) << error;
    EXPECT_EQ(system->fullState() + ExpressionSystem::expressions().getSchedulerInfo(), before) << lines;
  }
  EXPECT_EQ(system.define("later = 5\nd = c\ng = d"), "");
  EXPECT_EQ(evaluated("c"), "7");
  EXPECT_EQ(system.evaluator("v", "g"), "");
  EXPECT_THROW(ExpressionSystem::expressions().setValue("c", "g + nobody"), ksl::cyclicRef);
  EXPECT_EQ(system.define("later ="), unknown("b + later", "later")) << "however far the user is";
}

// Stores what it refuses.
class LateExpressions : public ExpressionsKSLObject {
 public:
  KSLObject* clone() const override
  {
    auto copy = std::make_unique<LateExpressions>();
    copyInternals(copy.get());
    copy->setObjectRules({});
    return copy.release();
  }
  std::string setValue(const std::string& name, const std::string& value) override
  {
    std::string line = ExpressionsKSLObject::setValue(name, value);
    if (value.ends_with("13"))
      throw data::invalid("Test", "setValue", "refused");
    return line;
  }
};

TEST(ExpressionsObject, WhatAnOverrideRefusesAfterItsBaseIsTakenBack)
{
  KSLObject::registerBaseTypeWithFactory("LateExpressions", new LateExpressions);
  std::string rules = expressionRules;
  for (const char* before : {"Class = ", "KSLObject, "}) {
    const std::size_t at = rules.find(std::string(before) + "ExpressionsKSLObject");
    ASSERT_NE(at, std::string::npos);
    rules.replace(at + std::strlen(before), std::strlen("ExpressionsKSLObject"), "LateExpressions");
  }
  ExpressionSystem system(rules);
  system.define("a = 1\nb = a + 1\nc = b + later");
  const std::string before = system->state();
  for (const char* lines : {"a = c13", "a = 13", "later = 13", "b = later + 13", "n = a + 13"}) {
    EXPECT_EQ(system.define(lines), "error[4] Test::setValue: refused") << lines;
    EXPECT_EQ(system->state(), before) << lines;
    EXPECT_EQ(evaluated("b"), "2") << lines;
    system->expectConsistent();
  }
  EXPECT_EQ(evaluated("n"), "Expression 'n' does not exist.");
  EXPECT_EQ(system.define("later = 5"), "");
  EXPECT_EQ(evaluated("c"), "7");
}

// ------------------------------------------------------------------------------------------------------- objects

TEST(ExpressionsObject, UsersOfANameAreRecalculatedOnce)
{
  ExpressionSystem system;
  system.define("a = 1 [m]\nb = a + a\nunused = 3");
  EXPECT_EQ(system.run("WING: w\nLength = 0.5 * b + 2 [mm]\nWidth = 3 * a\nTip = a, max(a, b), 1 [m]\nEND\n"
                       "WING: v\nLength = 4 [m]\nEND\nPLAIN: p\nLength = b\nEND\n"),
            "");
  EXPECT_FLOAT_EQ(system.length("/WING:w"), 1.002f);
  EXPECT_FLOAT_EQ(system.at("/WING:w")->getTripletValue("Tip", "cm").y, 200);
  EXPECT_EQ(system.after("a = 2 [m]"), "WING:w 1");
  EXPECT_FLOAT_EQ(system.length("/PLAIN:p"), 4);
  EXPECT_EQ(system.after("unused = 5"), "");
  system.run("WING: w\nLength = 1 [m]\nWidth = 1 [m]\nTip = 0, 0, 0\nEND\n");
  EXPECT_EQ(system.after("a = 3 [m]"), "");
}

TEST(ExpressionsObject, OwnParametersComeFirst)
{
  ExpressionSystem system;
  system.define("Length = 100 [m]\nbase = 1 [m]");
  EXPECT_EQ(system.run("WING: w\nWidth = 2 * Length\nLength = Length + base\nEND\n"), "");
  const KSLObject& wing = *system.at("/WING:w");
  EXPECT_FLOAT_EQ(wing.getFloatValue("Length"), 101) << "itself is not meant";
  EXPECT_FLOAT_EQ(wing.getFloatValue("Width"), 202);
  EXPECT_EQ(thrown<data::invalid>([&] { wing.getParam("Width")->getFloatValue("s"); }).getMessage(),
            "Cannot convert units 'm' to 's'.")
      << "200 m: read by itself, the parameter knows no object";
  EXPECT_TRUE(wing.isA("has-local-variable"));
  EXPECT_EQ(system.after("base = 2 [m]"), "WING:w 1");
  system.run("WING: w\nLength = Width\nEND\n");
  EXPECT_EQ(thrown<ksl::cyclicRef>([&] { wing.getFloatValue("Width"); }).getMessage(),
            "Tried to make object /WING:w (Length) reference itself.");
}

// A thousand expressions in a chain, and a thousand objects that use the last.
TEST(ExpressionsObject, LongChainOnce)
{
  constexpr int size = 1000;
  ExpressionSystem system;
  std::string text = "EXPRESSIONS:\nx0 = 1 [m]\n";
  for (int i = 1; i < size; ++i)
    text += "x" + std::to_string(i) + " = x" + std::to_string(i - 1) + " + 1 [mm]\n";
  text += "END\n";
  for (int i = 0; i < size; ++i)
    text += "WING: w" + std::to_string(i) + "\nLength = 2 * x999\nEND\n";
  system->run(text, kslUpdateAtEnd);
  ASSERT_EQ(system->errors(), "");
  ExpressionSystem::expressions().clearCache();
  EXPECT_EQ(system.define("x0 = 2 [m]"), "");
  EXPECT_EQ(CountingObject::counts().size(), static_cast<std::size_t>(size));
  for (const auto& [path, count] : CountingObject::counts())
    EXPECT_EQ(count, 1) << path;
  EXPECT_FLOAT_EQ(system.length("/WING:w999"), 2 * 2.999f);
  EXPECT_EQ(ExpressionSystem::expressions().getCacheCounts(), (Counts{0, size}));
}

// Random definitions against a table that knows nothing of caches: values, users and refusals agree.
RC_GTEST_PROP(ExpressionsObject, AgreesWithATableOfTexts, ())
{
  ExpressionSystem system;
  system.define("n0 = 1");
  struct Row {
    int base = 0;
    std::vector<int> uses;
    bool defined = false;
  };
  constexpr int size = 6;
  std::vector<Row> table(size);
  table[0] = {1, {}, true};
  const std::function<bool(int, int)> reaches = [&](int from, int to) {
    return from == to || std::any_of(table[from].uses.begin(), table[from].uses.end(), [&](int used) {
             return reaches(used, to);
           });
  };
  const std::function<int(int)> value = [&](int at) {  // -1: something is missing
    int sum = table[at].defined ? table[at].base : -1;
    for (const int used : table[at].uses) {
      const int part = value(used);
      sum = sum < 0 || part < 0 ? -1 : sum + part;
    }
    return sum;
  };
  for (int step = *rc::gen::inRange(1, 25); step > 0; --step) {
    const int at = *rc::gen::inRange(0, size);
    Row row{*rc::gen::inRange(0, 9), *rc::gen::container<std::vector<int>>(rc::gen::inRange(0, size)), true};
    std::sort(row.uses.begin(), row.uses.end());
    row.uses.erase(std::unique(row.uses.begin(), row.uses.end()), row.uses.end());
    if (*rc::gen::inRange(0, 5) == 0)
      row = {};
    std::string text = row.defined ? std::to_string(row.base) : "";
    for (const int used : row.uses)
      text += " + n" + std::to_string(used);
    const bool cyclic =
        std::any_of(row.uses.begin(), row.uses.end(), [&](int used) { return reaches(used, at); });
    const std::string error = system.define("n" + std::to_string(at) + " = " + text);
    RC_ASSERT(error.empty() == !cyclic);
    if (!cyclic)
      table[at] = row;
    for (int i = 0; i < size; ++i) {
      if (!table[i].defined)
        continue;
      const std::string shown = evaluated("n" + std::to_string(i));
      const int wanted = value(i);
      if (wanted < 0)
        RC_ASSERT(shown.find("does not exist") != std::string::npos);
      else
        RC_ASSERT(shown == std::to_string(wanted));
      std::vector<std::string> users;
      for (int user = 0; user < size; ++user)
        if (user != i && reaches(user, i))
          users.push_back("n" + std::to_string(user));
      RC_ASSERT(ExpressionSystem::expressions().getDependents("n" + std::to_string(i)) == users);
    }
  }
}

}  // namespace
}  // namespace orv::test
