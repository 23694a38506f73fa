#include "database/ObjectRules.h"

#include "platform/ORVError.h"
#include "database/Category.h"
#include "database/ObjectRulesDef.h"
#include "tests/support/thrown.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <set>
#include <string>

using namespace orv;
using testing::ElementsAre;

namespace {

using Names = std::vector<std::string>;

ErrorMsg unknownContext(const std::string& value)
{
  return {"ObjectRulesDef", "getContextIndex", "Unknown value '" + value + "' of context rule parameter.", 4};
}

// ------------------------------------------------------------------------------------------------------ oracle

// Answers from the lists as they were given, for one parameter at a time.
struct Oracle {
  const ObjectRulesDef& def;
  std::string selector;

  static bool contains(const Names& names, const std::string& name)
  {
    return std::find(names.begin(), names.end(), name) != names.end();
  }
  bool holds(bool essential, const std::string& param, const std::string& context) const
  {
    const auto lists = [&](const std::string& one) {
      return contains(essential ? def.getEssentialParams(one) : def.getOptionalParams(one), param);
    };
    if (contains(essential ? def.getEssentialParams() : def.getOptionalParams(), param))
      return true;
    if (!context.empty())
      return lists(context);
    const std::set<std::string>& options = def.getAllowedOptions();
    return !options.empty() && contains(def.getEssentialParams(), selector)
           && std::all_of(options.begin(), options.end(), lists);
  }
};

RC_GTEST_PROP(ObjectRules, AnswersAsTheListsSay, ())
{
  const auto params = rc::gen::element<std::string>("Option", "p", "q", "r");
  const auto names = rc::gen::resize(3, rc::gen::container<Names>(params));
  const auto options = *rc::gen::resize(
      3, rc::gen::container<std::set<std::string>>(rc::gen::element<std::string>("z", "a", "m")));
  const auto selector = *rc::gen::element<std::string>("", "p");
  ObjectRulesDef def;
  def.setContextRuleName(selector);
  def.setAllowedOptions(options);
  def.addEssentialParams(*names);
  def.addOptionalParams(*names);
  for (const std::string& option : options) {
    def.addEssentialParams(option, *names);
    def.addOptionalParams(option, *names);
  }

  const ObjectRules rules(def);
  RC_ASSERT(rules.hasContextRule() == (!selector.empty() || !options.empty()));
  const Oracle oracle{def, selector.empty() ? "Option" : selector};
  Names contexts(options.begin(), options.end());
  contexts.push_back("");
  for (const std::string& context : contexts) {
    Names listed;
    for (const bool essential : {true, false}) {
      for (const std::string param : {"Option", "p", "q", "r", "unknown"}) {
        const bool expected = oracle.holds(essential, param, context);
        RC_ASSERT((essential ? rules.isParamEssential(param, context) : rules.isParamOptional(param, context))
                  == expected);
        RC_ASSERT(!expected || rules.isParamAllowed(param, context));
        if (expected)
          listed.push_back(param);
      }
    }
    RC_ASSERT(rules.getParamsForContext(context, essentialParams) == listed);
  }
  RC_ASSERT(thrown<data::invalid>([&] { rules.isParamAllowed("no such", "aa"); }) == unknownContext("aa"));
  RC_ASSERT(thrown<data::invalid>([&] { rules.getParamsForContext("c", essentialParams); })
            == unknownContext("c"));
}

TEST(ObjectRulesDef, EssentialListsComeOnceAndOptionalOnesAddUp)
{
  ObjectRulesDef def;
  def.addEssentialParams({});
  def.addEssentialParams("a", {"x"});
  const auto twice = [](const char* message) {
    return ErrorMsg("ObjectRulesDef", "addEssentialParams", message, 4);
  };
  EXPECT_EQ(thrown<data::duplicate>([&] { def.addEssentialParams({"y"}); }),
            twice("Essential parameters (not context-specific) added twice"));
  EXPECT_EQ(thrown<data::duplicate>([&] { def.addEssentialParams("a", {"y"}); }),
            twice("Essential parameters in rules context 'a' added twice"));
  EXPECT_THAT(def.getEssentialParams("a"), ElementsAre("x"));
  def.addOptionalParams({"a", "b"});
  def.addOptionalParams(def.getOptionalParams());
  EXPECT_THAT(def.getOptionalParams(), ElementsAre("a", "b", "a", "b"));
  def.addOptionalParams("c", {"d"});
  def.addOptionalParams("c", def.getOptionalParams("c"));
  EXPECT_THAT(def.getOptionalParams("c"), ElementsAre("d", "d"));
}

// -------------------------------------------------------------------------------------------------- categories

struct Registered {
  Registered() { Category::resetRegistry(); }
  ~Registered() { Category::resetRegistry(); }
};

TEST(Category, UnknownNames)
{
  const Registered registered;
  Category::addCategory("known");
  Category category;
  category.setCategory("known");
  const auto unknown = [](const char* function) {
    return ErrorMsg("Category", function, "Category 'new' is not recognized.", 4);
  };
  EXPECT_EQ(thrown<internal::badParam>([&] { category.setCategory("new"); }), unknown("setCategory"));
  EXPECT_EQ(thrown<internal::badParam>([&] { category.unsetCategory("new"); }), unknown("unsetCategory"));

  // Registered later, and far beyond what the object holds, since repetitions use up numbers.
  for (int i = 0; i < 1000; ++i)
    Category::addCategory("known");
  Category::addCategory("new");
  EXPECT_TRUE(category.isA("known") && !category.isA("new"));
  EXPECT_THAT(Category::getCategories(), ElementsAre("known", "new"));
}

// Against a set of names: across the words of the bit set, with copies that must not share.
RC_GTEST_PROP(Category, BehavesAsASetOfNames, ())
{
  const Registered registered;
  constexpr int count = 200;
  for (int i = 0; i < count; ++i)
    Category::addCategory(std::to_string(i));
  Category category;
  Category copy;
  std::set<std::string> model;
  std::set<std::string> copyModel;
  const auto edge = rc::gen::element(0, 1, 63, 64, 65, 127, 128, 199);
  for (int step = *rc::gen::inRange(0, 40); step > 0; --step) {
    const std::string name = std::to_string(*rc::gen::oneOf(edge, rc::gen::inRange(0, count)));
    switch (*rc::gen::inRange(0, 5)) {
      case 0:
        copy = category;
        copyModel = model;
        break;
      case 1:
        category.unsetCategory(name);
        model.erase(name);
        break;
      default:
        category.setCategory(name);
        model.insert(name);
    }
  }
  for (int i = 0; i < count; ++i) {
    RC_ASSERT(category.isA(std::to_string(i)) == model.contains(std::to_string(i)));
    RC_ASSERT(copy.isA(std::to_string(i)) == copyModel.contains(std::to_string(i)));
    RC_ASSERT(Category(category).isA(std::to_string(i)) == model.contains(std::to_string(i)));
  }
}
}  // namespace
