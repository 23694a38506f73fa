// What names mean when the world around them changes, from outside.
#include "Process.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
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

// Without the blanks before the lines.
std::string unindented(const std::string& text)
{
  std::string out;
  for (const char c : text) {
    if (c != ' ' || !(out.empty() || out.back() == '\n'))
      out += c;
  }
  return out;
}

class NamesTest : public testing::TestWithParam<Story> {};

// The state that comes out is also what its own text leads to.
TEST_P(NamesTest, StoryHasItsEnd)
{
  const Story& story = GetParam();
  std::vector<std::string> arguments{"run",    "--library", library(),  "--validate", "--update-mode",
                                     "at-end", "--state",   "--format", "short"};
  for (const std::string& command : story.commands)
    arguments.insert(arguments.end(), {"-e", lines(command)});
  const Outcome outcome = ksl(arguments);
  EXPECT_EQ((Outcome{outcome.status, unindented(outcome.out), outcome.err}),
            (Outcome{story.status, lines(story.state), lines(story.err)}));
  EXPECT_EQ(ksl({"run", "--library", library(), "--update-mode", "at-end", "--state", "-e", outcome.out}),
            (Outcome{0, outcome.out, ""}));
}

const std::string noVariable = ": error[4]: Expression '";

const std::string noG = noVariable + "g * 2 + k' depends on a variable 'g' which does not exist.";
const std::string gaugeState =
    "EXPRESSION EVALUATOR:e; Evaluated Expression = n; END; EXPRESSIONS:; k = 1; n = g * 2 + k; END; "
    "GAUGE:g; Value = 3; END; N:c; Size = n + g; END";

const Story stories[] = {
    {"AHomonymIsRewrittenAndComesBackWithItsLink",
     {"N: x; END", "M: r; Ref = x; END", "M: x; END", "> delete /M:r", "> undo"},
     0,
     "M:x; END; M:r; Ref = /N:x; END; N:x; END",
     ""},
    {"WhatIsRewrittenIsCopiedRenamedAndEmptied",
     {"N: x; END", "M: r; Ref = x; END", "M: x; END", "> copy from=/M:r, to=s", "> rename from=/M:r, to=t",
      "> delete /N:x"},
     0,
     "M:x; END; M:s; END; M:t; END",
     ""},
    {"DataIsNoCandidate",
     {"N: x; END", "M: r; Ref = x; END", "G: x; END", "> delete /N:x", "G: y; END"},
     0,
     "G:x; END; G:y; END; M:r; END",
     ""},
    {"TwoCandidatesAreRefused",
     {"N: x; END; M: x; END; N: r; Ref = x; END"},
     1,
     "",
     "-e:6:7: error[4]: More than one object with name 'x' exists.; rolled back 4 changes"},
    {"TheNearerPlaceIsSaidInFull",
     {"G: g; END", "N: x; END", "N: r; Near = x; END", "G: g; N: x; END; END"},
     0,
     "G:g; N:x; END; END; N:x; END; N:r; Near = /N:x; END",
     ""},
    {"ADefaultWaitsForTheOneCandidate",
     {"M: r; END", "N: x; END", "M: x; END", "> delete /N:x"},
     0,
     "M:r; END; M:x; END",
     ""},
    {"RenamesAreFollowedInOneStep",
     {"N: x; END; N: c; Ref = x; END; M: d; Ref = c, N:x, /N:x; END", "> rename from=/N:x, to=y", "> undo",
      "> redo"},
     0,
     "M:d; Ref = c, N:y, /N:y; END; N:c; Ref = y; END; N:y; END",
     ""},
    {"PathsInsideACopyLeadInside",
     {"N: a; Ref = /N:a/M:in; M: in; END; END; M: r; Ref = a; END", "> copy from=/N:a, to=b"},
     0,
     "M:r; Ref = a; END; N:a; Ref = /N:a/M:in; M:in; END; END; N:b; Ref = /N:b/M:in; M:in; END; END",
     ""},
    {"AGaugeThatIsUsedStays",
     {"GAUGE: g; Value = 3; END; EXPRESSIONS:; k = 1; n = g * 2 + k; END; EXPRESSION EVALUATOR: e; Evaluated "
      "Expression "
      "= n; END; N: c; Size = n + g; END",
      "> delete /GAUGE:g", "> rename from=/GAUGE:g, to=a-b"},
     1,
     gaugeState,
     "-e2:1:17" + noVariable
         + "n + g' depends on a variable 'g' which does not exist.; rolled back 2 changes; -e3:1:1: "
           "error[4]: Object '/GAUGE:g' cannot be renamed to '/GAUGE:a-b' because expression "
           "'g * 2 + k' of "
           "object '/EXPRESSIONS' cannot use that name."},
    {"AFailedTextLeavesNoName",
     {"EXPRESSIONS:; k = 8; n = g * 2 + k; END", "GAUGE: g; Value = 2; END; UNKNOWN: x; END",
      "EXPRESSION EVALUATOR: e; Evaluated Expression = n; END", "EXPRESSIONS:; k = 7; END"},
     1,
     "EXPRESSIONS:; k = 7; n = g * 2 + k; END",
     "-e2:4:1: error[4]: Object type 'UNKNOWN' is not defined.; -e3:2:24" + noG + "; rolled back 2 changes"},
    {"AReversalInOneBlock",
     {"EXPRESSIONS:; b = 3; a = b; END", "GAUGE: g; Value = a; END", "EXPRESSIONS:; b = g; a = 2; END",
      "> undo", "> redo"},
     0,
     "EXPRESSIONS:; a = 2; b = g; END; GAUGE:g; Value = a; END",
     ""},
    {"OneOfTwoMissingNamesComes",
     {"EXPRESSION PREVIEW: p; Evaluated Expression = a + b; END", "EXPRESSIONS:; a = 1; b = 2; END",
      "&replace EXPRESSIONS:; b = 3; END", "> delete /EXPRESSIONS", "EXPRESSIONS:; a = 1; END"},
     0,
     "EXPRESSION PREVIEW:p; Evaluated Expression = a + b; END; EXPRESSIONS:; a = 1; END",
     ""},
};

std::string ladder(int levels)
{
  std::string text = "EXPRESSIONS:; x0 = 1; y0 = 1; ";
  for (int i = 1; i <= levels; ++i) {
    const std::string before = std::to_string(i - 1);
    const std::string both[] = {"x" + before, "y" + before};
    text += "x" + std::to_string(i) + " = " + both[0] + " + " + both[1] + "; ";
    text += "y" + std::to_string(i) + " = " + both[0] + " - " + both[1] + "; ";
  }
  return text + "END; EXPRESSION EVALUATOR: e; Evaluated Expression = x" + std::to_string(levels) + "; END";
}

// Each way through a variable would be 2^200 evaluations.
TEST(NamesOfManyLevels, AreEachEvaluatedOnce)
{
  EXPECT_EQ(ksl({"run", "--library", library(), "--update-mode", "at-end", "--state=/EXPRESSION EVALUATOR:e",
                 "-e", lines(ladder(200))}),
            (Outcome{0, "EXPRESSION EVALUATOR:e\n  Evaluated Expression = x200\nEND\n", ""}));
}

// A name of the demonstration that comes to mean something else, and no more.
TEST(NamesOfTheDemonstration, LeadToTheSameGraphAtEachStop)
{
  std::vector<std::string> commands{"-e", "CUT: Wake\nEND\n", "-e", "BAND: Colours\nLocation = Wake\nEND\n"};
  for (const auto& [command, location] : {std::pair{"PALETTE: Wake\nEND\n", "Location = Wake\n"},
                                          {"PROBE: Wake\nEND\n", "Location = /CUT:Wake\n"},
                                          {"> undo\n", "Location = Wake\n"}}) {
    commands.insert(commands.end(), {"-e", command});
    const auto with = [&commands](std::vector<std::string> arguments) {
      arguments.insert(arguments.end(), commands.begin(), commands.end());
      return ksl(arguments);
    };
    const Outcome state = with({"run", "--state"});
    EXPECT_EQ(state.status, 0) << state.err;
    EXPECT_NE(state.out.find(location), std::string::npos) << state.out;
    EXPECT_EQ(ksl({"run", "--update-mode", "at-end", "--state", "-e", state.out}), state);
    EXPECT_EQ(ksl({"graph", "--update-mode", "at-end", "-e", state.out}), with({"graph"}));
  }
}

INSTANTIATE_TEST_SUITE_P(Host, NamesTest, testing::ValuesIn(stories),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
