// What names mean when the world around them changes, from outside.
#include "Process.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

std::string library()
{
  return makeFile("names.ksl", R"(RULES:
  Categories = variable
  SchedulerTypes = SA
  KSLObjectClasses = DataKSLObject, GenericKSLObject, ExpressionsKSLObject, ExpressionEvaluatorKSLObject
  SINGLETON: EXPRESSIONS
    KSLObject Class = "ExpressionsKSLObject"
  END
  OBJECT: EXPRESSION EVALUATOR
    KSLObject Class = ExpressionEvaluatorKSLObject
    Scheduler = SA
    Essential Parameter List = Evaluated Expression
    Internal Parameter List = Result, Result Units
  END
  OBJECT: EXPRESSION PREVIEW
    KSLObject Class = ExpressionEvaluatorKSLObject
    Scheduler = SA
    Essential Parameter List = Evaluated Expression
    Internal Parameter List = Result, Result Units
  END
  PARAMETER: Evaluated Expression
    Parameter Type = Expression
    Local Type = SA
  END
  PARAMETER: Result
  END
  PARAMETER: Result Units
  END
  OBJECT: N
    KSLObject Class = GenericKSLObject
    Scheduler = SA
    Optional Parameter List = In, Ref, Near, Size
  END
  OBJECT: M
    KSLObject Class = GenericKSLObject
    Scheduler = SA
    Optional Parameter List = In, Ref, Near, Fall
  END
  OBJECT: G
    KSLObject Class = DataKSLObject
    Optional Parameter List = In
  END
  OBJECT: GAUGE
    KSLObject Class = GenericKSLObject
    Category = variable
    Scheduler = SA
    Optional Parameter List = Value
  END
  PARAMETER: In
    Local Type = SA
  END
  PARAMETER: Ref
    Parameter Type = String List
    Local Type = SA
    Remote Type = SA
  END
  PARAMETER: Near
    Local Type = SA
    Remote Type = SA
    Remote Path = /G:g
  END
  PARAMETER: Fall
    Default = x
    Local Type = SA
    Remote Type = SA
  END
  PARAMETER: Size
    Parameter Type = Real
    Local Type = SA
  END
  PARAMETER: Value
    Parameter Type = Real
    Local Type = SA
  END
END
)");
}

struct Story {
  const char* name;
  std::vector<std::string> commands;  // "; " stands for a line end
  int status;
  std::string state;  // likewise, without the last
  std::string err;    // likewise
  friend void PrintTo(const Story& story, std::ostream* out) { *out << story.name; }
};

std::string lines(std::string text)
{
  for (std::size_t at = text.find("; "); at != std::string::npos; at = text.find("; "))
    text.replace(at, 2, "\n");
  return text.empty() ? text : text + "\n";
}

class NamesTest : public testing::TestWithParam<Story> {};

// The state that comes out is also what its own text leads to.
TEST_P(NamesTest, StoryHasItsEnd)
{
  const Story& story = GetParam();
  std::vector<std::string> arguments{"run", "--library", library(), "--validate", "--update-mode", "at-end", "--state"};
  for (const std::string& command : story.commands)
    arguments.insert(arguments.end(), {"-e", lines(command)});
  const Outcome outcome = ksl(arguments);
  EXPECT_EQ(outcome, (Outcome{story.status, lines(story.state), lines(story.err)}));
  EXPECT_EQ(ksl({"run", "--library", library(), "--update-mode", "at-end", "--state", "-e", outcome.out}),
            (Outcome{0, outcome.out, ""}));
}

const std::string noVariable = "error[4] GenericKSLObject::makeVariableLinks: Expression '";

const Story stories[] = {
    {"AHomonymIsRewritten", {"N: x; END", "M: r; Ref = x; END", "M: x; END"}, 0,
     "M:x; END; M:r; Ref = /N:x; END; N:x; END", ""},
};

INSTANTIATE_TEST_SUITE_P(Host, NamesTest, testing::ValuesIn(stories),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
