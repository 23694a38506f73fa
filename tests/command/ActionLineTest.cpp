// Action lines and the registry of actions.
#include "command/ActionExecutor.h"
#include "command/ActionFactory.h"
#include "tests/support/TestSystem.h"
#include "tests/support/thrown.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <string>
#include <vector>

namespace orv {
namespace {

using Words = std::vector<std::string>;

TEST(ActionLine, IsSplitIntoWords)
{
  const std::pair<const char*, Words> cases[] = {
      {"", {}},
      {" \t", {""}},
      {"  update  ", {"update"}},
      {"update noaction", {"update", "noaction"}},
      {"delete a b,", {"delete", "a b", ""}},
      {"delete,x /A:a", {"delete", "/A:a"}},
      {"a,", {"a,"}},
      {", x", {"", "x"}},
      {"w\v x\f,\r,y = 1", {"w", "x", "", "y = 1"}},
      {"w \"a, b\"", {"w", "\"a", "b\""}},
      {"w \xa0", {"w", "\xa0"}},
  };
  for (const auto& [line, words] : cases)
    EXPECT_EQ(ActionExecutor::splitActionLine(line), words) << line;
}

RC_GTEST_PROP(ActionLine, MergingIsTheInverseOfSplitting, ())
{
  const auto word =
      rc::gen::nonEmpty(rc::gen::container<std::string>(rc::gen::elementOf(std::string("ab/:=\""))));
  Words words{*word};
  for (const std::string& part :
       *rc::gen::container<Words>(rc::gen::container<std::string>(rc::gen::elementOf(std::string("ab/:=")))))
    words.push_back(part);
  if (words.size() == 2 && words[1].empty())
    words.pop_back();  // "w, " is trimmed to a word with a comma
  RC_ASSERT(ActionExecutor::splitActionLine(ActionExecutor::mergeActionLine(words)) == words);
}

TEST(ActionLine, ReachesItsExecutorWhole)
{
  TestSystem system;
  std::string seen;
  const auto log = [&](const Words& words) { seen += "<" + ActionExecutor::mergeActionLine(words) + ">"; };
  system.registerAction("w", log);
  system.registerAction("W", [&](const Words&) { seen += "big"; });
  system.run(">w\n> w a,  b  c ,\n>w, /A:a # gone\n>w \"# kept\"\n>w \\\n  x=1, \\\n y\n>W");
  EXPECT_EQ(seen, "<w><w, a, b c, ><w, /A:a><w, \"# kept\"><w, x=1, y>big");
  EXPECT_EQ(system.errors(), "");
}

TEST(ActionFactory, OwnsWhatItAccepts)
{
  class Idle : public ActionExecutor {
    void invoke(const Words&) override {}
  };
  const auto error = [](const char* function, const char* message) {
    return ErrorMsg("ActionFactory", function, message, 4);
  };
  Idle spare;
  ActionFactory factory;
  auto* first = new Idle;
  factory.registerExecutor("a", first);
  factory.registerExecutor("A", new Idle);
  EXPECT_EQ(thrown<internal::nullPointer>([&] { factory.registerExecutor("", nullptr); }),
            error("registerExecutor", "Input parameter p_executor is a null pointer."));
  EXPECT_EQ(thrown<internal::badParam>([&] { factory.registerExecutor("", &spare); }),
            error("registerExecutor", "Input parameter p_action is empty."));
  EXPECT_EQ(thrown<internal::error>([&] { factory.registerExecutor("a", &spare); }),
            error("registerExecutor", "Duplicate data: Action 'a' already exists."));
  EXPECT_EQ(thrown<internal::badParam>([&] { factory.getExecutor(""); }),
            error("getExecutor", "Input parameter p_action is empty."));
  EXPECT_EQ(factory.getExecutor("a"), first);
  EXPECT_EQ(factory.getActions(), (Words{"A", "a"}));
}

}  // namespace
}  // namespace orv
