// The host from outside: what goes in, what comes out, and how it ends.
#include "Process.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <utility>

namespace {

using Arguments = std::vector<std::string>;

// A cut that is there, and what the commands below do before and after their fault.
constexpr const char* base = "CUT: Base\n  Axis = X\nEND\n";
constexpr const char* changes = "CUT: Next\n  Axis = Y\nEND\nCUT: Base\n  Axis = Z\nEND\n";

std::string cutText(const std::string& name, const std::string& axis)
{
  return "CUT:" + name + "\n  Axis = " + axis
         + "\n  Domain List = All Domains\n  Offset = 0 [m]\n  Option = Axis Plane\n  Visibility = On\nEND\n";
}

Arguments runArguments(const Arguments& options, const Arguments& texts)
{
  Arguments arguments{"run", "--state"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  for (const std::string& text : texts)
    arguments.insert(arguments.end(), {"-e", text});
  return arguments;
}

struct BadInput {
  const char* name;
  std::string fault;  // entered behind `changes`, in one command
  std::string err;
  Arguments options = {};
  friend void PrintTo(const BadInput& bad, std::ostream* out) { *out << bad.name; }
};

class BadInputTest : public testing::TestWithParam<BadInput> {};

// The state is as before. So is the text store: had it kept the changes, entering them again would change
// nothing.
TEST_P(BadInputTest, OneReportAndNothingDone)
{
  const BadInput& bad = GetParam();
  const std::string command = changes + bad.fault;
  EXPECT_EQ(ksl(runArguments(bad.options, {base, command})), (Outcome{1, cutText("Base", "X"), bad.err}));
  EXPECT_EQ(ksl(runArguments(bad.options, {base, command, changes})),
            (Outcome{1, cutText("Base", "Z") + cutText("Next", "Y"), bad.err}));
}

const BadInput badInputs[] = {
    {"UnknownType", "CUTT: a\n  Axis = X\nEND\n",
     "error[4] ObjectFactory::createObject: Could not find object: CUTT\nrolled back 4 changes\n"},
    {"UnknownParameter", "CUT: Next\n  Colr = 1, 1, 1\nEND\n",
     "error[4] DataKSLObject::setValue: Parameter 'Colr' is not recognized on object '/CUT:Next'.\n"
     "rolled back 3 changes\n"},
    {"UnknownTypeValidated",
     "CUTT: a\nEND\n",
     "error[4] KSLAPI::validateKSLData: Object type 'CUTT' is not defined.\nrolled back 3 changes\n",
     {"--validate"}},
    {"UnknownParameterValidated",
     "CUT: Next\n  Colr = 1, 1, 1\nEND\n",
     "error[4] KSLAPI::validateKSLData: Parameter 'Colr' is not defined for object type 'CUT'.\n"
     "rolled back 3 changes\n",
     {"--validate"}},
    {"ValueNotAllowed", "CUT: Next\n  Axis = W\nEND\n",
     "error[4] ParamDefinition::setValue: Parameter 'Axis' cannot have value 'W'.\nrolled back 3 changes\n"},
    {"EmptyValueNotAllowed", "CUT: Next\n  Axis =\nEND\n",
     "error[4] ParamDefinition::setValue: Parameter 'Axis' cannot have value ''.\nrolled back 3 changes\n"},
    {"NamedSingleton", "DATA READER: mine\nEND\n",
     "error[4] KSLObject::initialize: 'DATA READER' is a singleton object, but name 'mine' does not equal "
     "type.\nrolled back 4 changes\n"},
    // Counted before anything is read.
    {"MissingEnd", "CUT: open\n  Axis = X\n",
     "error[4] KSLInterface::preParseKSL: Not enough END statements in KSL.\n"},
    {"SurplusEnd", "END\n", "error[4] KSLInterface::preParseKSL: Too many END statements in KSL.\n"},
    {"NoStatement", "CUT: Next\n  Axis is X\nEND\n",
     "error[4] KSLAPI::loadKSLData: Syntax error in KSL line: 'Axis is X'.\nrolled back 3 changes\n"},
    {"ColonBeforeEquals", "CUT: Next\n  Axis: x = y\nEND\n",
     "error[4] KSLAPI::loadKSLData: Syntax error in KSL line: 'Axis: x = y'.\nrolled back 3 changes\n"},
    {"NothingAppliedYet",
     "CUT Next\n",
     "error[4] KSLAPI::loadKSLData: Syntax error in KSL line: 'CUT Next'.\n",
     {"--update-mode", "at-end"}},
    {"SlashInName", "CUT: a/b\nEND\n",
     "error[4] KSLAPI::loadKSLData: Object name 'a/b' must not contain '/'.\nrolled back 3 changes\n"},
    {"CommaInName", "CUT: \"a, b\"\nEND\n",
     "error[4] KSLAPI::loadKSLData: Object name 'a, b' must not contain ','.\nrolled back 3 changes\n"},
    {"UnknownAction", "> fly, me\n",
     "error[32] ActionFactory::getExecutor: Action fly is not recognized.\nrolled back 3 changes\n"},
    {"EmptyAction", ">\n", "error[4] Executive::doAction: Empty action line.\nrolled back 3 changes\n"},
    {"ArgumentsOfGetstate", "> getstate\n",
     "error[4] GetStateExecutor::invoke: Action 'getstate' requires 1 argument(s). Received 0 argument(s).\n"
     "rolled back 3 changes\n"},
    {"ArgumentsOfDelete", "> delete\n",
     "error[4] DeleteExecutor::invoke: Action 'delete' requires at least 1 argument(s). Received 0 "
     "argument(s).\nrolled back 3 changes\n"},
    // A deletion is taken back with the rest: the object and its one parameter.
    {"AfterDeletion", "> delete Base\nCUTT: a\nEND\n",
     "error[4] ObjectFactory::createObject: Could not find object: CUTT\nrolled back 6 changes\n"},
};

INSTANTIATE_TEST_SUITE_P(Run, BadInputTest, testing::ValuesIn(badInputs),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Run, UnknownTypeBetweenTwoGoodBlocksDefinesNothing)
{
  const std::string first = "CUT: First\n  Axis = X\nEND\n";
  const std::string last = "CUT: Last\n  Axis = Y\nEND\n";
  const std::string bad = first + "SLICE: Middle\n  Axis = X\nEND\n" + last;
  const std::string err =
      "error[4] ObjectFactory::createObject: Could not find object: SLICE\nrolled back 3 changes\n";
  EXPECT_EQ(ksl({"run", "-e", bad, "--state"}), (Outcome{1, "", err}));
  EXPECT_EQ(ksl({"run", "-e", bad, "-e", first + last, "--state"}),
            (Outcome{1, cutText("First", "X") + cutText("Last", "Y"), err}));
}

TEST(Run, MendedCommandTakesEffect)
{
  const std::string bad = "CUT: a\n  Axis = Y\n  Visibility = Sometimes\n  Label = behind\nEND\n";
  const std::string mended = "CUT: a\n  Axis = Y\n  Visibility = Off\nEND\n";
  EXPECT_EQ(ksl({"run", "--state", makeFile("bad.ksl", bad), makeFile("mended.ksl", mended)}),
            (Outcome{1,
                     "CUT:a\n  Axis = Y\n  Domain List = All Domains\n  Offset = 0 [m]\n"
                     "  Option = Axis Plane\n  Visibility = Off\nEND\n",
                     "error[4] ParamDefinition::setValue: Parameter 'Visibility' cannot have value "
                     "'Sometimes'.\nrolled back 2 changes\n"}));
}

TEST(Run, WarningsAreNoFailure)
{
  EXPECT_EQ(ksl(runArguments({}, {base, "> getstate /CUT:none", "> delete /CUT:none, none", "> redo"})),
            (Outcome{0, "\n" + cutText("Base", "X"),
                     "warning[8] ObjectDB::getState: Object '/CUT:none' does not exist.\n"
                     "warning[8] KSLInterface::getHistoryChanges: Nothing to redo.\n"}));
  EXPECT_EQ(ksl({"run", "-e", base, "--state=/CUT:none, Base"}),
            (Outcome{0, cutText("Base", "X"),
                     "warning[8] ObjectDB::getState: Object '/CUT:none' does not exist.\n"}));
}

TEST(Run, EndsAreCountedInTheDefaultModeOnly)
{
  for (const char* text : {"CUT: a\n  Axis = Y\n", "CUT: a\n  Axis = Y\nEND\nEND\n"}) {
    EXPECT_EQ(ksl(runArguments({"--update-mode", "at-end"}, {text})), (Outcome{0, cutText("a", "Y"), ""}));
    EXPECT_EQ(ksl(runArguments({"--update-mode", "no-action"}, {text})), (Outcome{0, "", ""}));
  }
}

TEST(Run, FilesThatCannotBeReadAreToldBeforeAnythingIsRun)
{
  const std::string folder = std::filesystem::path(makeFile("there.ksl", base)).parent_path();
  const std::string missing = folder + "/missing.ksl";
  const auto report = [](const std::string& file, const std::string& why) {
    return Outcome{1, "", "error[4] ORVFile::readAll: Cannot read file '" + file + "': " + why + ".\n"};
  };
  EXPECT_EQ(ksl({"run", folder + "/there.ksl", missing, "--state", "--trace", "notify", "-e", base}),
            report(missing, "No such file or directory"));
  EXPECT_EQ(ksl({"run", folder, "--state"}), report(folder, "Is a directory"));
}

// ------------------------------------------------------------------------------------------------- libraries

struct BadLibrary {
  const char* name;
  std::string text;
  std::string err;  // FILE stands for the library's path
  friend void PrintTo(const BadLibrary& bad, std::ostream* out) { *out << bad.name; }
};

class BadLibraryTest : public testing::TestWithParam<BadLibrary> {};

TEST_P(BadLibraryTest, OneReportAndTheRunEnds)
{
  const std::string file = makeFile(std::string(GetParam().name) + ".ksl", GetParam().text);
  std::string err = GetParam().err;
  if (const std::size_t at = err.find("FILE"); at != std::string::npos)
    err.replace(at, 4, file);
  EXPECT_EQ(ksl({"run", "--library", file, "--trace", "notify", "-e", "THING: a\nEND\n", "--state"}),
            (Outcome{1, "", err}));
}

// Rules of one type with the given entries.
std::string rules(const std::string& thing, const std::string& others = {})
{
  return "RULES:\n  KSLObjectClasses = DataKSLObject, ListedOnly\n  SchedulerTypes = Make\n  OBJECT: THING\n"
         + thing + "END\n" + others + "END\n";
}

const std::string plain = "KSLObject Class = DataKSLObject\n";

const BadLibrary badLibraries[] = {
    {"Kind", "RULES:\nTHING: a\nEND\nEND\n",
     "error[4] KSLRules::process: KSL type 'THING' is not one of PARAMETER, OBJECT or SINGLETON.\n"},
    {"Class", rules("KSLObject Class = NoSuch\n"),
     "error[4] KSLRules::parseObject: KSL Object class 'NoSuch' is not recognized.\n"},
    {"BaseType", rules("KSLObject Class = ListedOnly\n"),
     "error[4] ObjectFactory::createBaseType: Could not find base type: ListedOnly\n"},
    {"DuplicateType", rules(plain, "SINGLETON: THING\n" + plain + "END\n"),
     "error[4] KSLRules::process: Duplicate data: KSLObject type 'THING' already exists.\n"},
    {"Entry", rules(plain + "WIDGET: x\nEND\n"),
     "error[4] KSLRules::parseObject: KSL object 'x' is not recognized.\n"},
    {"Context", rules(plain + "CONTEXT: Round\nEND\n"),
     "error[4] KSLRules::parseObject: Object Context 'Round' is not recognized.\n"},
    {"Category", rules(plain + "Category = nice\n"),
     "error[4] Category::setCategory: Category 'nice' is not recognized.\n"},
    {"Function", rules(plain + "Calculate Function = Make, thing\n"),
     "error[4] KSLRules::parseObject: Calculate function specification requires triplets, (2).\n"},
    {"Links", rules(plain + "Scheduler Links = Make\n"),
     "error[4] KSLRules::parseObject: Odd number of scheduler types specified, (1).\n"},
    {"UnknownParameter", rules(plain + "Essential Parameter List = Size\n"),
     "error[4] ObjectFactory::createParam: Could not find parameter: Size\n"},
    {"LocalType", rules(plain, "PARAMETER: Size\nRemote Type = Make\nEND\n"),
     "error[4] KSLRules::parseParam: The local type is empty and the remote type is not for parameter "
     "'Size'.\n"},
    {"SchedulerType", rules(plain, "PARAMETER: Size\nLocal Type = Bake\nEND\n"),
     "error[4] KSLRules::parseParam: Scheduler type 'Bake' is not recognized.\n"},
    {"Open", "RULES:\n",
     "error[4] KSLAPI::readNamedLibraries: Not enough END statements in KSL library 'FILE'.\n"},
    {"Action", "# rules\n> update\n",
     "error[4] KSLAPI::readNamedLibraries: Action line in KSL library 'FILE', line 2: '> update'.\n"},
    {"Syntax", "RULES:\nwhat\nEND\n",
     "error[4] KSLAPI::readNamedLibraries: Syntax error in KSL line: 'what'. (KSL library 'FILE')\n"},
};

INSTANTIATE_TEST_SUITE_P(Run, BadLibraryTest, testing::ValuesIn(badLibraries),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Run, LibrariesAreReadInPlaceOfTheDemo)
{
  const std::string first = makeFile("lib/10.ksl", rules(plain + "Essential Parameter List = Size\n"));
  const std::string second = makeFile("20.ksl", "RULES:\nPARAMETER: Size\nDefault = 3 [m]\nEND\nEND\n");
  const std::string folder = std::filesystem::path(first).parent_path();
  const Outcome thing{0, "THING:a\n  Size = 3 [m]\nEND\n", ""};
  EXPECT_EQ(ksl({"run", "--library", folder, "--library", second, "-e", "THING: a\nEND\n", "--state"}),
            thing);
  setenv("ORV_KSL_LIBRARY_PATH", (folder + ":" + second).c_str(), 1);
  const Outcome fromEnvironment = ksl({"run", "-e", "THING: a\nEND\n", "--state"});
  unsetenv("ORV_KSL_LIBRARY_PATH");
  EXPECT_EQ(fromEnvironment, thing);
  EXPECT_EQ(ksl({"run", "-e", "THING: a\nEND\n", "--state"}).status, 1);  // the demo knows no things
}

// ---------------------------------------------------------------------------------------- texts in and out

TEST(Run, ExamplesReadBackFromTheirState)
{
  Arguments arguments{"run"};
  for (const char* name : {"01-cylinder-study", "02-palettes-and-lamps", "03-probe-sweep", "04-flow-picture",
                           "05-slices", "06-units", "07-expressions"})
    arguments.push_back(sourceDir() + "/examples/" + name + ".ksl");
  arguments.push_back("--state");
  const Outcome first = ksl(arguments);
  EXPECT_EQ(first.status, 0);
  EXPECT_EQ(first.err.find("wrote cylinder.svg\n"), 0u) << first.err;
  EXPECT_NE(first.out.find("\n    Text = \"Pressure past a cylinder, 10 m/s\"\n"), std::string::npos);
  EXPECT_NE(first.out.find("\n  Label = \"Top of the cylinder, # 1 of 2\"\n"), std::string::npos);
  const std::string folder = std::filesystem::path(makeFile("state.ksl", first.out)).parent_path();
  const std::string picture = readFile(folder + "/work/flow-picture.svg");
  EXPECT_EQ(ksl({"run", "--update-mode", "at-end", folder + "/state.ksl", "--state"}).out, first.out);
  EXPECT_EQ(readFile(folder + "/work/flow-picture.svg"), picture);
}

// Names and values that mean something else where a line is read carelessly.
TEST(Run, AwkwardTextsReadBackFromTheirState)
{
  for (const char* text :
       {"CUT: \"a # b\"\n", "CUT: a\\ \n", "CUT: &replace\n", "CUT: >x\n", "CUT: a:b\n", "CUT: a\"b\n",
        "CUT: END\nLabel = END\n", "CUT: a\nLabel = b\\ \n", "CUT: a\nLabel = = b: c\n",
        "CUT: a\nLabel = \"b # c\n", "CUT: a\nLabel = > update\n"}) {
    const Outcome first = ksl({"run", "-e", std::string(text) + "END\n", "--state"});
    EXPECT_EQ(first.status, 0) << text;
    EXPECT_EQ(ksl({"run", "--update-mode", "at-end", "-", "--state"}, first.out), first) << text;
  }
}

TEST(Run, FilesThenTextsEachOneCommand)
{
  const std::string file = makeFile("one.ksl", "CUT: a\n  Axis = Y\nEND\n");
  const std::string empty = makeFile("empty.ksl", "");
  // Undo takes back the newest command: the text, which came after the files and standard input.
  EXPECT_EQ(ksl({"run", "--state", "-e", "CUT: a\n  Axis = Z\nEND\n\nCUT: c\nEND\n", "-e", "> undo", file,
                 "-", empty},
                "CUT: b\nEND\n"),
            (Outcome{0, cutText("a", "Y") + cutText("b", "X"), ""}));
}

TEST(Run, LegalMonsters)
{
  const std::string text(100'000, 'x');
  std::string cut = cutText("caf\xe9 \xc3\xa9", "X");
  cut.insert(cut.find("  Offset"), "  Label = \xff\x80 " + text + "\n");
  const std::string crLf = "CUT: caf\xe9 \xc3\xa9\r\n  Label = \xff\x80 \\\r\n    " + text + "\r\nEND\r\n";
  const Outcome expected{0, cut, ""};
  EXPECT_TRUE(ksl({"run", makeFile("long.ksl", crLf), "--state"}) == expected);
  EXPECT_TRUE(ksl({"run", "-", "--state"}, crLf) == expected);

  constexpr int depth = 3000;
  std::string nested;
  std::string indented;
  for (int i = 0; i < depth; ++i) {
    nested += "DATA READER:\n";
    indented += std::string(2 * i, ' ') + "DATA READER:\n";
  }
  for (int i = depth; i-- > 0;) {
    nested += "END\n";
    indented += std::string(2 * i, ' ') + "END\n";
  }
  EXPECT_TRUE(
      ksl({"run", makeFile("deep.ksl", nested), "-e", "> delete /DATA READER", "-e", "> undo", "--state"})
      == (Outcome{0, indented, ""}));
}

// --------------------------------------------------------------------------------------------- command line

TEST(Run, WrongUsage)
{
  const std::pair<Arguments, std::string> cases[] = {
      {{"fly"}, "The following argument was not expected: fly"},
      {{"run", "--svg"}, "The following argument was not expected: --svg"},
      {{"run", "--trace", "notify,foo"}, "--trace: 'foo' is none of notify, changes, errors, graph, files"},
      {{"run", "--update-mode", "often"}, "--update-mode: 'often' is none of at-end, default, no-action"},
      {{"run", "--library", "a,b"}, "--library: a path must not be empty or hold a ','"},
      {{"run", "-e"}, "-e: 1 required TEXT missing"},
      {{"graph", "--library", ""}, "--library: a path must not be empty or hold a ','"},
      {{"graph", "--svg", "--dot"}, "--dot excludes --svg"},
  };
  for (const auto& [arguments, message] : cases)
    EXPECT_EQ(ksl(arguments), (Outcome{2, "", message + "\nRun with --help for more information.\n"}));
}

TEST(Run, HelpAndVersionAreResults)
{
  const std::pair<Arguments, std::string> cases[] = {
      {{"--version"}, "ksl "},
      {{"--help"}, "Defines and changes objects"},
      {{"run", "--help"}, "Enter KSL texts"},
  };
  for (const auto& [arguments, beginning] : cases) {
    Outcome outcome = ksl(arguments);
    outcome.out.resize(std::min(outcome.out.size(), beginning.size()));
    EXPECT_EQ(outcome, (Outcome{0, beginning, ""}));
  }
}

TEST(Run, StateTakesPathsBehindAnEqualsSignOnly)
{
  // What follows is a file, not the path of an object. The count is internal and not shown.
  const std::string file =
      makeFile("flag.ksl", std::string(base) + "CUT: Other\n  Triangle Count = 3\nEND\n");
  EXPECT_EQ(ksl({"run", "--state", file}), (Outcome{0, cutText("Base", "X") + cutText("Other", "X"), ""}));
  EXPECT_EQ(ksl({"run", "--state=/CUT:Other,Base", file}),
            (Outcome{0, cutText("Other", "X") + cutText("Base", "X"), ""}));
}

TEST(Run, Trace)
{
  EXPECT_EQ(ksl({"run", "--trace", "notify", "--trace", "errors", "-e", base, "-e", "> delete Base\nwhat"}),
            (Outcome{1, "",
                     "notify 0\nnotify 4\nnotify 5\nnotify 16\nnotify 1\n"
                     "notify 0\n"                                // the second command
                     "notify 0\nnotify 4\nnotify 5\nnotify 1\n"  // the update that the deletion enters
                     "notify 0\nnotify 1\n"                      // and the view
                     "error[4] KSLAPI::loadKSLData: Syntax error in KSL line: 'what'.\n"
                     "report 4 KSLAPI loadKSLData\n"
                     "notify 12\nnotify 4\nnotify 5\nnotify 13\nnotify 1\nrolled back 2 changes\n"}));
}

TEST(Run, ColourOnTerminalsOnly)
{
  const Arguments failing{"run", "-e", "> getstate"};
  const std::string message =
      " GetStateExecutor::invoke: Action 'getstate' requires 1 argument(s). Received 0 argument(s).\r\n";
  unsetenv("NO_COLOR");
  EXPECT_EQ(kslOnTerminal(failing), (Outcome{1, "", "\x1b[1;31merror[4]\x1b[0m" + message}));
  setenv("NO_COLOR", "1", 1);
  EXPECT_EQ(kslOnTerminal(failing), (Outcome{1, "", "error[4]" + message}));
  unsetenv("NO_COLOR");
}

}  // namespace
