#include "database/ObjectRules.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "database/Category.h"
#include "database/ObjectRulesDef.h"
#include "tests/support/thrown.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <set>
#include <string>

using namespace orv;

namespace {

using Names = std::vector<std::string>;

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
  RC_ASSERT(
      thrown<data::invalid>([&] { rules.isParamAllowed("no such", "aa"); })
      == ErrorMsg("ObjectRulesDef", "getContextIndex", "Unknown value 'aa' of context rule parameter.", 4));
  RC_ASSERT(thrown<data::duplicate>([&] { def.addEssentialParams({"y"}); })
            == ErrorMsg("ObjectRulesDef", "addEssentialParams",
                        "Essential parameters (not context-specific) added twice", 4));
}

// Against sets of names: across the words of the bit set, with copies that must not share.
RC_GTEST_PROP(Category, BehavesAsASetOfNames, ())
{
  Category::resetRegistry();
  const ScopeGuard guard([] { Category::resetRegistry(); });
  constexpr int count = 200;
  for (int i = 0; i < count; ++i)
    Category::addCategory(std::to_string(i));
  Category categories[2];
  std::set<std::string> models[2];
  const auto edge = rc::gen::element(0, 1, 63, 64, 65, 127, 128, 199);
  for (int step = *rc::gen::inRange(0, 40); step > 0; --step) {
    const std::string name = std::to_string(*rc::gen::oneOf(edge, rc::gen::inRange(0, count)));
    switch (*rc::gen::inRange(0, 5)) {
      case 0:
        categories[1] = categories[0];
        models[1] = models[0];
        break;
      case 1:
        categories[0].unsetCategory(name);
        models[0].erase(name);
        break;
      default:
        categories[0].setCategory(name);
        models[0].insert(name);
    }
  }
  for (int i = 0; i < count; ++i) {
    for (const int which : {0, 1})
      RC_ASSERT(categories[which].isA(std::to_string(i)) == models[which].contains(std::to_string(i)));
  }
  RC_ASSERT(thrown<internal::badParam>([&] { categories[0].setCategory("new"); })
            == ErrorMsg("Category", "setCategory", "Category 'new' is not recognized.", 4));
  Category::addCategory("new");
  RC_ASSERT(!categories[0].isA("new"));
}

}  // namespace
