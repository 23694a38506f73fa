// What names mean when the world around them changes, from outside.
#include "Process.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

std::string library()
{
  return makeFile(
      "names.ksl",
      "RULES:\nCategories = variable\nSchedulerTypes = SA\n"
      "KSLObjectClasses = DataKSLObject, GenericKSLObject, ExpressionsKSLObject, "
      "ExpressionEvaluatorKSLObject\n"
      "SINGLETON: EXPRESSIONS\nKSLObject Class = \"ExpressionsKSLObject\"\nEND\n"
      "OBJECT: EXPRESSION EVALUATOR\nKSLObject Class = ExpressionEvaluatorKSLObject\nScheduler = SA\n"
      "Essential Parameter List = Evaluated Expression\nInternal Parameter List = Result, Result Units\nEND\n"
      "OBJECT: EXPRESSION PREVIEW\nKSLObject Class = ExpressionEvaluatorKSLObject\nScheduler = SA\n"
      "Essential Parameter List = Evaluated Expression\nOptional Parameter List = Result, Result Units\nEND\n"
      "OBJECT: N\nKSLObject Class = GenericKSLObject\nScheduler = SA\n"
      "Optional Parameter List = In, Ref, Near, Size, Key, Made\nEND\n"
      "OBJECT: M\nKSLObject Class = GenericKSLObject\nScheduler = SA\n"
      "Optional Parameter List = In, Ref, Near, Fall\nEND\n"
      "OBJECT: G\nKSLObject Class = DataKSLObject\nOptional Parameter List = In\nEND\n"
      "OBJECT: GAUGE\nKSLObject Class = GenericKSLObject\nCategory = variable\nScheduler = SA\n"
      "Optional Parameter List = Value\nEND\n"
      "PARAMETER: Evaluated Expression\nParameter Type = Expression\nLocal Type = SA\nEND\n"
      "PARAMETER: In\nLocal Type = SA\nEND\n"
      "PARAMETER: Ref\nParameter Type = String List\nLocal Type = SA\nRemote Type = SA\nEND\n"
      "PARAMETER: Near\nLocal Type = SA\nRemote Type = SA\nRemote Path = /G:g\nEND\n"
      "PARAMETER: Made\nParameter Type = Formula\nLocal Type = SA\nRemote Type = SA\nRemote Path = "
      "/G:g\nEND\n"
      "PARAMETER: Key\nAllowed String List = x, y\nLocal Type = SA\nRemote Type = SA\nEND\n"
      "PARAMETER: Fall\nDefault = x\nLocal Type = SA\nRemote Type = SA\nEND\n"
      "PARAMETER: Size\nParameter Type = Real\nLocal Type = SA\nEND\n"
      "PARAMETER: Value\nParameter Type = Real\nLocal Type = SA\nEND\n"
      "PARAMETER: Result\nEND\nPARAMETER: Result Units\nEND\nEND\n");
}

struct Story {
  const char* name;
  std::vector<std::string> commands;  // "; " stands for a line end
  int status;
  std::string state;  // likewise, without the last
  std::string err;    // likewise
  bool isOfDemonstration = false;
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

class NamesTest : public testing::TestWithParam<Story> {
 protected:
  Outcome enter(Arguments arguments, const std::vector<std::string>& commands) const
  {
    if (!GetParam().isOfDemonstration)
      arguments.insert(arguments.end(), {"--library", library()});
    for (const std::string& command : commands)
      arguments.insert(arguments.end(), {"-e", lines(command)});
    return ksl(arguments);
  }
};

std::string withoutPlaces(const std::string& reports)
{
  return std::regex_replace(reports, std::regex("[^\n]*: (error|warning)\\["), "$1[");
}

std::string withoutLinesOf(const std::string& mark, const std::string& text)
{
  std::istringstream in(text);
  std::string out;
  for (std::string line; std::getline(in, line);)
    out += line.find(mark) == std::string::npos ? line + "\n" : "";
  return out;
}

// Replayed, and printed and read, it comes to the same end; saved and loaded, to the same graph.
TEST_P(NamesTest, StoryHasItsEnd)
{
  const Story& story = GetParam();
  const std::string session = makeFile("names.qse");
  const std::string saved = makeFile("names.qst");
  std::remove(session.c_str());
  const Outcome end = enter(
      {"run", "--validate", "--update-mode", "at-end", "--state", "--format", "short", "--record", session},
      story.commands);
  EXPECT_EQ((Outcome{end.status, unindented(end.out), end.err}),
            (Outcome{story.status, lines(story.state), lines(story.err)}));
  Outcome replayed =
      enter({"replay", "--validate", "--state", "--format", "short", "--save", saved, session}, {});
  replayed.err = withoutLinesOf("this command failed, the replay goes on", replayed.err);
  EXPECT_EQ((Outcome{replayed.status, replayed.out, withoutPlaces(replayed.err)}),
            (Outcome{end.status, end.out, withoutPlaces(end.err)}));
  const Outcome good{0, end.out, ""};
  EXPECT_EQ(enter({"run", "--update-mode", "at-end", "--state"}, {end.out}), good);
  // A saved state holds no evaluators; loading it leaves an object of its own.
  const std::string again = story.isOfDemonstration ? "> readstate filename=" + saved : end.out;
  EXPECT_EQ(withoutLinesOf("FILE PROCESSING", enter({"graph", "--update-mode", "at-end"}, {again}).out),
            enter({"graph", "--validate", "--update-mode", "at-end"}, story.commands).out);
}

const std::string noVariable = ": error[4]: Expression '";

const std::string noG = noVariable + "g * 2 + k' depends on a variable 'g' which does not exist.";
const std::string gaugeState =
    "EXPRESSION EVALUATOR:e; Evaluated Expression = n; END; EXPRESSIONS:; k = 1; n = g * 2 + k; END; "
    "GAUGE:g; Value = 3; END; N:c; Size = n + g; END";

const std::string gaugeText =
    "GAUGE: g; Value = 3; END; EXPRESSIONS:; k = 1; n = g * 2 + k; END; EXPRESSION EVALUATOR: e; "
    "Evaluated Expression = n; END; N: c; Size = n + g; END";

const std::string noObject = ": Object '/N:gone' referred to in 'Ref' does not exist.";

const std::string preview = "EXPRESSION PREVIEW: p; Evaluated Expression = a + b; END";

std::string shows(const std::string& missing)
{
  return "EXPRESSION PREVIEW:p; Evaluated Expression = a + b; Result = Expression 'a + b' depends on a "
         "variable '"
         + missing + "' which does not exist.; Result Units = Error; END";
}

// Of the demonstration.
const std::string wakePalette = "PALETTE:Wake; Blending = Smooth; Option = Scheme; Scheme = Spectrum; END";

std::string cut(const std::string& name, const std::string& location)
{
  return "BAND:Colours; Band Count = 11; Location = " + location
         + "; Palette = Spectrum; Range Mode = Global; Variable = Pressure; Visibility = On; END; CUT:" + name
         + "; Axis = X; Domain List = All Domains; Offset = 0 [m]; Option = Axis Plane; Visibility = On; END; ";
}

std::string probe(const std::string& name)
{
  return "PROBE:" + name
         + "; Option = Single Point; Point = 0 [m], 0 [m], 0 [m]; Variable List = Pressure, Speed; END";
}

std::string shot(const std::string& name, const std::string& pictures)
{
  return "SHOT:" + name + "; Eye Point = 0 [m], 0 [m], 10 [m]; Look At = 0 [m], 0 [m], 0 [m]; " + pictures
         + "Picture Size = 800, 600; Projection = Perspective; Up Direction = 0, 1, 0; View Angle = 30 [degree]; END";
}

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
     {"N: x; END; N: c; Ref = x; END; M: d; Ref = c, N:x, ../N:x; END", "> rename from=/N:x, to=y", "> undo",
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
     {gaugeText, "> delete /GAUGE:g", "> rename from=/GAUGE:g, to=a-b"},
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
    {"ARenamedGaugeIsFollowedAndComesBack",
     {gaugeText, "> rename from=/GAUGE:g, to=h", "> undo", "> rename from=/GAUGE:g, to=i"},
     0,
     "EXPRESSION EVALUATOR:e; Evaluated Expression = n; END; EXPRESSIONS:; k = 1; n = i * 2 + k; END; "
     "GAUGE:i; Value = 3; END; N:c; Size = n + i; END",
     ""},
    {"WhatWaitsDisturbsNobody",
     {"N: u; END; N: v; END", "N: u; Ref = /N:gone; END; > update noaction", "N: v; In = 2; END",
      "N: u; In = 2; END", "N: v; In = 3; END", "M: w; END", "N: gone; END"},
     1,
     "M:w; END; N:u; Ref = /N:gone; END; N:v; In = 3; END; N:gone; END",
     "-e3: warning[8]" + noObject + "; -e4:1:1: error[4]" + noObject + "; rolled back 1 changes"},
    {"APreviewShowsThatTheExpressionsHaveGone",
     {preview, "EXPRESSIONS:; a = 1; b = 2; END", "> delete /EXPRESSIONS"},
     0,
     shows("a"),
     ""},
    {"APreviewShowsWhatAReplacementLacks",
     {preview, "EXPRESSIONS:; a = 1; b = 2; END", "&replace EXPRESSIONS:; b = 3; END"},
     0,
     shows("a") + "; EXPRESSIONS:; b = 3; END",
     ""},
    {"APreviewShowsTheOtherOfTwoMissingNames",
     {preview, "EXPRESSIONS:; a = 1; END"},
     0,
     shows("b") + "; EXPRESSIONS:; a = 1; END",
     ""},
    {"AKeywordIsNoName",
     {"N: x; END; M: x; END; N: r; Key = x; END", "M: y; END"},
     0,
     "M:x; END; M:y; END; N:x; END; N:r; Key = x; END",
     ""},
    {"DefaultsTakeTheOneOtherOrWait",
     {"SHOT: All; END", "PALETTE: Spectrum; END", "PROBE: Spectrum; END", "BAND: b; END"},
     0,
     "BAND:b; Band Count = 11; Palette = Spectrum; Range Mode = Global; Variable = Pressure; Visibility = "
     "On; "
     "END; PALETTE:Spectrum; Blending = Smooth; Option = Scheme; Scheme = Spectrum; END; "
         + probe("Spectrum") + "; " + shot("All", ""),
     "",
     true},
    {"ACandidateHasTheNameSaidInFull",
     {"CUT: Wake; END", "BAND: Colours; Location = Wake; END", "PALETTE: Wake; END", "PROBE: Wake; END"},
     0,
     cut("Wake", "/CUT:Wake") + wakePalette + "; " + probe("Wake"),
     "",
     true},
    {"UndoGivesTheNameBack",
     {"CUT: Wake; END", "BAND: Colours; Location = Wake; END", "PALETTE: Wake; END", "PROBE: Wake; END",
      "> undo"},
     0,
     cut("Wake", "Wake") + wakePalette,
     "",
     true},
    {"BandAndShotFollowACut",
     {"CUT: Wake; END", "BAND: Colours; Location = Wake; END", "SHOT: s; Picture List = Wake; END",
      "> rename from=/CUT:Wake, to=A", "> undo", "> rename from=/CUT:Wake, to=B"},
     0,
     cut("B", "B") + shot("s", "Picture List = B; "),
     "",
     true},
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

// A formula says the same after as before, or the renaming is refused.
TEST(NamesInFormulas, MeanTheSameWhenObjectsAreRenamed)
{
  const std::string refused = "refused";
  struct Row {
    const char* formula;  // of N:r; beside it are N:Q, N:w, N:w.x and, in N:h and in G:g, N:U
    const char* renaming;
    std::string after;
  };
  for (const auto& [formula, renaming, after] : std::initializer_list<Row>{
           {"Q - p.mean + 2 * Q.x / 'Q' [Q]", "Q, to=L", "L - p.mean + 2 * L.x / 'L' [Q]"},
           {"w - w.x + w.y + 'w'.x", "w, to=two w", "'two w' - w.x + 'two w'.y + 'w'.x"},
           {"w - w.x + w.y + 'w'.x", "w.x, to=k", "w - k + w.y + 'k'"},
           {"Q.water - Q", "Q, to=a2.water", "Q.water - a2.water"},
           {"U * 'h/U'", "h/N:U, to=/N:h/N:L", "U * 'h/U'"},
           {"U.x", "Q, to=/G:g/N:Q", "U.x"},
           {"Q.x", "Q, to=/G:g/N:L", "L.x"},
           {"r * 2", "r, to=s", "r * 2"},
           {"Q - r", "r, to=s", "Q - r"},
           {"Q - p", "Q, to=p", refused},
           {"Q - p.x", "Q, to=p", refused},
           {"Q - w.y", "Q, to=w.y", refused},
           {"Q.x", "Q, to=w2", "w2.x"},
           {"Q.x - w.x", "w.x, to=Q.x", refused},
           {"w.x.x", "w.x, to=U", refused},
           {"Q.x", "Q, to=it's", refused},
           {"Q", "Q, to=/N:h/N:Q", refused}}) {
    const std::string text =
        "N: Q; END; N: w; END; N: w.x; END; G: g; N: U; END; END; N: h; N: U; END; END; N: r; Made = "
        + std::string(formula) + "; END; N: user; Made = 2 * r; END";
    const Outcome end = ksl({"run", "--library", library(), "--state", "-e", lines(text), "-e",
                             "> rename from=/N:" + std::string(renaming)});
    const bool isRefused = end.err.find("' of object '/N:r' cannot use that name.") != std::string::npos;
    std::smatch made;
    EXPECT_TRUE(std::regex_search(end.out, made, std::regex("N:[rs]\n  Made = (.*)"))) << renaming << end.err;
    EXPECT_EQ(made[1], isRefused ? formula : after) << renaming;
    EXPECT_EQ(isRefused, after == refused) << formula << " " << renaming << "\n" << end.err;
  }
}

INSTANTIATE_TEST_SUITE_P(Host, NamesTest, testing::ValuesIn(stories),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
