#include "database/Category.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <set>
#include <string>

using namespace orv;
using testing::ElementsAre;

namespace {

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
  const auto messageOf = [](auto call) {
    try {
      call();
    } catch (const internal::badParam& error) {
      return ErrorMsg(error);
    }
    return ErrorMsg();
  };
  EXPECT_EQ(messageOf([&] { category.setCategory("new"); }),
            (ErrorMsg{"Category", "setCategory", "Category 'new' is not recognized.", 4}));
  EXPECT_EQ(messageOf([&] { category.unsetCategory("new"); }),
            (ErrorMsg{"Category", "unsetCategory", "Category 'new' is not recognized.", 4}));
  EXPECT_FALSE(category.isA("new"));
  EXPECT_TRUE(category.isA("known"));

  // Registered later, and far beyond what the object holds, since repetitions use up numbers.
  for (int i = 0; i < 1000; ++i)
    Category::addCategory("known");
  Category::addCategory("new");
  EXPECT_FALSE(category.isA("new"));
  EXPECT_TRUE(category.isA("known"));
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
