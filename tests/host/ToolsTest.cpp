// The subcommands that look, where docs/ksl.md does not show them: what they say when something is wrong, and files of
// other kinds.
#include "Process.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

struct ToolStory {
  const char* name;
  Arguments arguments;
  Outcome outcome;
};

class ToolsTest : public testing::TestWithParam<ToolStory> {};

// Files: a.ksl, and b.ksl, which differs; the state and the session of a.ksl.
TEST_P(ToolsTest, SaysWhatIsAskedFor)
{
  const std::string cut = "CUT: a\n  Axis = X\n  Offset = 25 [cm]\n  Selected = On\nEND\n";
  makeFile("work/a.ksl", cut);
  makeFile("work/b.ksl", "CUT: a\n  Selected = Yes\n  Offset = 0.25 [m]\n  Option = Axis Plane\nEND\n");
  makeFile("work/later.ksl", "BAND: b\n  Location = late\nEND\nCUT: late\nEND\n");
  makeFile("work/open.ksl", "CUT: a\n  Axis = X\n");
  makeFile(
      "work/lib.ksl",
      "RULES:\n  OBJECT: POND\n    KSLObject Class = DataKSLObject\n    Essental Parameter List = Label\n"
      "  END\nEND\n");
  makeFile("work/pond.ksl", "POND: p\nEND\n");
  for (const char* old : {"a.qst", "a.kses"})
    std::filesystem::remove(workFolder() + old);
  ASSERT_EQ(ksl({"run", "a.ksl", "--save", "a.qst", "--record", "a.kses"}), (Outcome{0, "", ""}));
  EXPECT_EQ(ksl(GetParam().arguments), GetParam().outcome);
}

const std::string lateReport =
    "later.ksl:2:14: error[4]: Object 'late' referred to in 'Location' does not exist.\n";

INSTANTIATE_TEST_SUITE_P(
    Stories, ToolsTest,
    testing::Values(
        ToolStory{
            "DescribeUnknown",
            {"describe", "CUTS"},
            {1, "",
             "ksl: error[4]: 'CUTS' is neither a type nor an object. ksl describe lists the types.\n  did "
             "you mean 'CUT'?\n"}},
        ToolStory{"DescribeUnknownParameter",
                  {"describe", "CUT.Axes"},
                  {1, "",
                   "ksl: error[4]: Parameter 'Axes' is not defined for object type 'CUT'.\n  did you mean "
                   "'Axis'?\n"}},
        ToolStory{"GetOfAState", {"get", "--load", "a.qst", "a.Offset"}, {0, "25 [cm]\n", ""}},
        ToolStory{"GetInOtherUnits",
                  {"get", "-f", "a.ksl", "a", "Offset", "--in", "kg"},
                  {1, "", "ksl: error[4]: Cannot convert units 'cm' to 'kg'.\n"}},
        ToolStory{"GetNothing",
                  {"get", "-f", "a.ksl", "b*", "Offset"},
                  {1, "", "ksl: error[4]: No object matches 'b*'.\n"}},
        ToolStory{"StateAsJson",
                  {"run", "a.ksl", "--state=a", "--format", "json"},
                  {0,
                   "[\n  {\n    \"path\": \"/CUT:a\",\n    \"type\": \"CUT\",\n    \"name\": \"a\",\n    "
                   "\"parameters\": {\n"
                   "      \"Axis\": {\n        \"value\": \"X\"\n      },\n"
                   "      \"Domain List\": {\n        \"value\": \"All Domains\"\n      },\n"
                   "      \"Offset\": {\n        \"value\": \"25 [cm]\",\n        \"number\": 25.0,\n        "
                   "\"units\": \"cm\"\n"
                   "      },\n"
                   "      \"Option\": {\n        \"value\": \"Axis Plane\"\n      },\n"
                   "      \"Selected\": {\n        \"value\": \"On\"\n      },\n"
                   "      \"Visibility\": {\n        \"value\": \"On\"\n      }\n    }\n  }\n]\n",
                   ""}},
        ToolStory{"DiffOfTextAndState", {"diff", "a.ksl", "a.qst"}, {0, "", ""}},
        ToolStory{"DiffOfStateAndSession", {"diff", "a.qst", "a.kses"}, {0, "", ""}},
        ToolStory{"DiffOfMeanings", {"diff", "--values", "a.ksl", "b.ksl"}, {0, "", ""}},
        ToolStory{
            "DiffOfTexts",
            {"diff", "a.ksl", "b.ksl"},
            {1,
             "--- a.ksl\n+++ b.ksl\n~ /CUT:a\n    Offset: 25 [cm] -> 0.25 [m]\n    Selected: On -> Yes\n"
             "0 added, 1 changed, 0 deleted\n",
             ""}},
        ToolStory{"DiffOfWhatIsNotThere",
                  {"diff", "a.ksl", "none.ksl"},
                  {2, "", "ksl: error[4]: Cannot read file 'none.ksl': No such file or directory.\n"}},
        ToolStory{"PlanOfAFailure",
                  {"plan", "later.ksl"},
                  {1, "0 added, 0 changed, 0 deleted, 0 recalculated\n",
                   lateReport
                       + "  2 |   Location = late\n    |              ^~~~\n  object /BAND:b\n"
                         "nothing of later.ksl would be done\n"}},
        ToolStory{"WhyUnknown",
                  {"why", "a", "-e", "CUT: b\nEND"},
                  {1, "", "ksl: error[4]: Object 'a' does not exist.\n"}},
        ToolStory{
            "WhyOfPlainData", {"why", "a", "-e", "LAMP: a\nEND"}, {0, "/LAMP:a computes nothing.\n", ""}},
        ToolStory{
            "CheckOfWhatComesTooLate", {"check", "later.ksl", "--format", "short"}, {1, "", lateReport}},
        ToolStory{
            "CheckOfWhatComesInALaterFile",
            {"check", "--format", "short", "-e", "BAND: b\nLocation = a\nEND", "-e", "CUT: a\nEND"},
            {0, "",
             "-e:2:12: warning[8]: Object 'a' referred to in 'Location' is defined in a later text.\n"}},
        ToolStory{
            "CheckDeniesWarnings",
            {"check", "--deny-warnings", "--format", "short", "-e", "LAMP: a\nEND"},
            {1, "", "-e:1:1: warning[8]: Object '/LAMP:a' does not stand in an object of type SHOT.\n"}},
        ToolStory{"CheckNamesTheBlockLeftOpen",
                  {"check", "open.ksl"},
                  {1, "",
                   "open.ksl:1:1: error[4]: Not enough END statements in KSL.\n  1 | CUT: a\n    | ^~~~~~\n"
                   "  'CUT: a' has no END.\n"}},
        ToolStory{
            "CheckWithALibraryOfOnesOwn",
            {"check", "lib.ksl", "pond.ksl", "--format", "short"},
            {0, "",
             "lib.ksl:4:5: warning[8]: Key 'Essental Parameter List' of definition '/RULES/OBJECT:POND' is "
             "not "
             "recognized.\n"}},
        ToolStory{
            "CompletionOfNothing",
            {"completion", "tcsh"},
            {2, "",
             "bash|zsh|fish|man: tcsh not in {bash,zsh,fish,man}\nRun with --help for more information.\n"}}),
    [](const auto& story) { return std::string(story.param.name); });

// What a shell's script, given the words as its first argument, prints once it has read the completion of ksl.
std::string completed(const std::string& shell, const std::string& script, const std::string& words)
{
  makeFile("work/" + shell + "/_ksl", ksl({"completion", shell}).out);
  makeFile("work/" + shell + "/script", script);
  const std::string out = makeFile("standard/completed");
  static_cast<void>(std::system(("cd " + workFolder() + " && PATH=$(dirname $KSL_BIN):$PATH " + shell + " "
                                 + shell + "/script '" + words + "' > " + out + " 2>&1")
                                    .c_str()));
  return readFile(out);
}

bool isThere(const std::string& program)
{
  return std::system(("command -v " + program + " > /dev/null").c_str()) == 0;
}

class Completion : public testing::TestWithParam<std::pair<const char*, const char*>> {};

// The words as they are completed where one thing can stand there.
TEST_P(Completion, OffersWhatTheParserTakes)
{
  const auto& [shell, script] = GetParam();
  if (!isThere(shell))
    GTEST_SKIP() << "no " << shell << " here";
  makeFile("work/with-dash.txt");
  for (const auto& [words, last] : {std::pair("ksl des", "describe"),
                                    {"ksl get --format c", "csv"},
                                    {"ksl get --fo", "--format"},
                                    {"ksl check --de", "--deny-warnings"},
                                    {"ksl run with", "with-dash.txt"},
                                    {"ksl completion f", "fish"}})
    EXPECT_EQ(completed(shell, script, words), std::string(last) + "\n") << words;
}

INSTANTIATE_TEST_SUITE_P(
    Shells, Completion,
    testing::Values(
        std::pair("bash",
                  "source bash/_ksl; COMP_WORDS=($1); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _ksl\n"
                  "printf '%s\\n' \"${COMPREPLY[@]}\""),
        std::pair("fish", "source fish/_ksl; complete -C $argv[1] | string replace -r '\\t.*' ''"),
        // It completes on a terminal only: another zsh shows what Tab made of the words.
        std::pair("zsh", R"(
zmodload zsh/zpty
zpty z 'zsh -f -i'
zpty -w z 'fpath=($PWD/zsh $fpath); autoload -U compinit; compinit -u -D; bindkey "^I" complete-word'
zpty -w z 'show() { print -r -- "[[${${(z)BUFFER}[-1]}]]" }; zle -N show; bindkey "^X" show; echo rea""dy'
zpty -r -m z shown '*ready*'
zpty -w -n z "$1"$'\t\x18'
zpty -r -m z shown '*\[\[*\]\]*'
print -r -- "${${shown##*\[\[}%%\]\]*}"
zpty -d z
)")),
    [](const auto& shell) { return std::string(shell.param.first); });

TEST(Manual, PageHasAllOptions)
{
  const std::string page = ksl({"completion", "man"}).out;
  for (const char* part : {".SH \"ksl describe\"", "\\fB\\-\\-deny\\-warnings\\fR", ".TH KSL 1"})
    EXPECT_NE(page.find(part), std::string::npos) << part;
}

TEST(Manual, HasAPageForEachTypeWithLinks)
{
  for (const std::string ending : {".html", ".md"}) {
    const std::string folder = workFolder() + "manual" + ending;
    ASSERT_EQ(ksl({"describe", ending == ".md" ? "--markdown" : "--html", folder}), (Outcome{0, "", ""}));
    const std::string shot = readFile(folder + "/shot" + ending);
    const std::string index = readFile(folder + "/index" + ending);
    EXPECT_NE(shot.find(ending == ".md" ? "[LAMP](lamp.md)" : "<a href=\"lamp.html\">LAMP</a>"),
              std::string::npos);
    EXPECT_NE(index.find(ending == ".md" ? "[SHOT](shot.md)" : "<a href=\"shot.html\">SHOT</a>"),
              std::string::npos);
  }
}

}  // namespace
