#include "database/ObjectRules.h"

#include "platform/ORVError.h"
#include "database/ObjectRulesDef.h"

#include <algorithm>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

using namespace orv;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Names = std::vector<std::string>;

template <class Exception>
ErrorMsg errorOf(const std::function<void()>& call)
{
  try {
    call();
  } catch (const Exception& error) {
    return ErrorMsg(error);
  }
  return {};
}

ErrorMsg unknownContext(const std::string& value)
{
  return {"ObjectRulesDef", "getContextIndex", "Unknown value '" + value + "' of context rule parameter.", 4};
}

// The answers for one parameter as a text: for no context and each of the contexts given, "E", "O", "B"
// (both) or "-".
std::string answers(const ObjectRules& rules, const std::string& param, const Names& contexts)
{
  std::string text;
  for (const std::string& context : contexts) {
    const bool essential = rules.isParamEssential(param, context);
    const bool optional = rules.isParamOptional(param, context);
    text += essential ? (optional ? 'B' : 'E') : (optional ? 'O' : '-');
  }
  return text;
}

TEST(ObjectRules, OptionalListsTakeThemselvesTwice)
{
  ObjectRulesDef def;
  def.addOptionalParams({"a", "b"});
  def.addOptionalParams(def.getOptionalParams());
  EXPECT_THAT(def.getOptionalParams(), ElementsAre("a", "b", "a", "b"));
  def.addOptionalParams("c", {"d"});
  def.addOptionalParams("c", def.getOptionalParams("c"));
  EXPECT_THAT(def.getOptionalParams("c"), ElementsAre("d", "d"));
}

TEST(ObjectRules, MasksOfEachKindOfList)
{
  ObjectRulesDef def;
  def.setAllowedOptions({"b", "a"});
  def.addEssentialParams({"always", "twice"});
  def.addOptionalParams({"may"});
  def.addOptionalParams({"twice"});
  def.addEssentialParams("a", {"in a", "in both", "may"});
  def.addEssentialParams("b", {"in both"});
  def.addOptionalParams("b", {"opt b"});
  def.addOptionalParams("b", {"opt b too"});
  def.addEssentialParams("c", {"in c"});  // no such option: of no effect
  const auto row = [](const ObjectRules& rules, const std::string& param) {
    return answers(rules, param, {"", "a", "b"});
  };

  const ObjectRules rules(def);
  EXPECT_EQ(rules.getContextRuleName(), "Option");
  EXPECT_EQ(row(rules, "always"), "EEE");
  EXPECT_EQ(row(rules, "twice"), "BBB");
  EXPECT_EQ(row(rules, "may"), "OBO");
  EXPECT_EQ(row(rules, "in a"), "-E-");
  EXPECT_EQ(row(rules, "in both"), "-EE");
  EXPECT_EQ(row(rules, "opt b"), "--O");
  EXPECT_EQ(row(rules, "opt b too"), "--O");
  EXPECT_EQ(row(rules, "in c"), "---");
  EXPECT_EQ(errorOf<data::invalid>([&] { rules.isParamAllowed("no such", "aa"); }), unknownContext("aa"));
  EXPECT_EQ(errorOf<data::invalid>([&] { rules.getParamsForContext("c", essentialParams); }),
            unknownContext("c"));
  EXPECT_THAT(rules.getParamsForContext("a", essentialParams),
              ElementsAre("always", "in a", "in both", "may", "twice", "may", "twice"));
  EXPECT_THAT(rules.getParamsForContext("", optionalParams), ElementsAre("always", "twice", "may", "twice"));

  // An essential selector means that there always is a context.
  def.setContextRuleName("always");
  const ObjectRules completed(def);
  EXPECT_EQ(row(completed, "in both"), "EEE");
  EXPECT_EQ(row(completed, "in a"), "-E-");
  EXPECT_EQ(row(completed, "may"), "OBO");
  // An optional one does not, nor one that only the contexts list.
  def.setContextRuleName("may");
  EXPECT_EQ(row(ObjectRules(def), "in both"), "-EE");
  def.setContextRuleName("in both");
  EXPECT_EQ(row(ObjectRules(def), "in both"), "-EE");
}

TEST(ObjectRules, WithoutOptionsThereIsNoContext)
{
  ObjectRulesDef def;
  def.addEssentialParams({"e"});
  def.addOptionalParams("a", {"x"});
  EXPECT_FALSE(ObjectRules(def).hasContextRule());
  def.setContextRuleName("e");
  const ObjectRules rules(def);
  EXPECT_TRUE(rules.hasContextRule());
  EXPECT_TRUE(rules.isParamEssential("e"));
  EXPECT_FALSE(rules.isParamAllowed("x"));
  EXPECT_EQ(errorOf<data::invalid>([&] { rules.isParamEssential("e", "a"); }), unknownContext("a"));
}

TEST(ObjectRulesDef, RefusesEssentialListsTwice)
{
  ObjectRulesDef def;
  def.addEssentialParams({});
  def.addEssentialParams("a", {"x"});
  EXPECT_EQ(errorOf<data::duplicate>([&] { def.addEssentialParams({"y"}); }),
            (ErrorMsg{"ObjectRulesDef", "addEssentialParams",
                      "Essential parameters (not context-specific) added twice", 4}));
  EXPECT_EQ(errorOf<data::duplicate>([&] { def.addEssentialParams("a", {"y"}); }),
            (ErrorMsg{"ObjectRulesDef", "addEssentialParams",
                      "Essential parameters in rules context 'a' added twice", 4}));
  EXPECT_THAT(def.getEssentialParams(), IsEmpty());
  EXPECT_THAT(def.getEssentialParams("a"), ElementsAre("x"));
  EXPECT_THAT(def.getEssentialParams("b"), IsEmpty());
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
}

}  // namespace
