// "ksl run" from outside: what goes in, what comes out, and how it ends.
#include "Terminal.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <utility>

namespace {

// A cut that is there, and what the commands below do before and after their fault.
constexpr const char* base = "CUT: Base\n  Axis = X\nEND\n";
const std::string changes = "CUT: Next\n  Axis = Y\nEND\nCUT: Base\n  Axis = Z\nEND\n";

std::string cutText(const std::string& name, const std::string& axis)
{
  return "CUT:" + name + "\n  Axis = " + axis
         + "\n  Domain List = All Domains\n  Offset = 0 [m]\n  Option = Axis Plane\n  Visibility = On\nEND\n";
}

Outcome run(const Arguments& options, const Arguments& texts)
{
  Arguments arguments{"run", "--state", "--format", "short"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  for (const std::string& text : texts)
    arguments.insert(arguments.end(), {"-e", text});
  return ksl(arguments);
}

// The state is as before. So is the text store: had it kept the changes, entering them again would change
// nothing.
TEST(Run, AFailedCommandIsReportedOnceAndTakenBack)
{
  const std::string fault = "> delete Base\nCUTT: a\nEND\n";
  // Entered again the changes change something: the text store did not keep them either.
  EXPECT_EQ(run({}, {base, changes + fault, changes, "> redo"}),
            (Outcome{1, cutText("Base", "Z") + cutText("Next", "Y"),
                     "-e2:8:1: error[4]: Could not find object: CUTT\nrolled back 6 changes\n"
                     "-e4:1:1: warning[8]: Nothing to redo.\n"}));
  EXPECT_EQ(run({"--validate"}, {base, "CUT: Next\n  Colr = 1, 1, 1\nEND\n"}),
            (Outcome{1, cutText("Base", "X"),
                     "-e2:2:3: error[4]: Parameter 'Colr' is not defined for object type 'CUT'.\n"}));
}

TEST(Run, FilesThenTextsEachOneCommand)
{
  const std::string file = makeFile("one.ksl", "CUT: a\r\n  Axis = \\\r\n Y\r\nEND\r\n");
  // Undo takes back the newest command: the text, which came after the files and standard input.
  EXPECT_EQ(ksl({"run", "--state", "-e", "CUT: a\n  Axis = Z\nEND\n\nCUT: c\nEND\n", "-e", "> undo", file,
                 "-", makeFile("empty.ksl")},
                "CUT: b\r\nEND\r\n"),
            (Outcome{0, cutText("a", "Y") + cutText("b", "X"), ""}));
  EXPECT_EQ(run({"--update-mode", "no-action"}, {base}), (Outcome{0, "", ""}));
  const std::string gone = workFolder() + "gone.ksl";
  for (const auto& [name, why] :
       {std::pair(gone, "No such file or directory"), std::pair(workFolder(), "Is a directory")})
    EXPECT_EQ(ksl({"run", file, name, "--state", "--trace", "notify", "-e", base}),
              (Outcome{1, "", "ksl: error[4]: Cannot read file '" + name + "': " + why + ".\n"}))
        << "told before anything is run";
}

// A large file's text is let go of when its lines are read, and read again for an error: the file that was read, whatever
// stands in its place by then.
TEST(Run, ErrorsTellLinesOfAFileThatIsNoLongerKept)
{
  const std::string fault = "CUT: a\n  Axis = Z\nEND\n# behind a comment\nCUT: b\n  Axis = Q\nEND\n#"
                            + std::string(std::size_t{1} << 20, '-') + "\n";
  const std::string told =
      ":6:10: error[4]: Parameter 'Axis' cannot have value 'Q'.\nrolled back 3 changes\n";
  const std::string file = makeFile("itself.ksl", fault);
  const std::string saving = makeFile("saving.ksl", "> savestate filename=" + file + ", mode=overwrite\n");
  EXPECT_EQ(ksl({"run", "--format", "short", saving, file}).err, file + told);
  EXPECT_NE(readFile(file), fault) << "saved over";
  EXPECT_EQ(ksl({"run", "--format", "short", "-"}, fault).err, "<stdin>" + told);
}

TEST(Run, LibrariesStandInPlaceOfTheDemo)
{
  const std::string library = makeFile("thing.ksl",
                                       "RULES:\n  KSLObjectClasses = DataKSLObject\n  OBJECT: THING\n"
                                       "    KSLObject Class = DataKSLObject\n  END\nEND\n");
  const Arguments thing{"run", "-e", "THING: a\nEND\n", "--state"};
  EXPECT_EQ(ksl(thing, {}, "ORV_KSL_LIBRARY_PATH=" + library), (Outcome{0, "THING:a\nEND\n", ""}));
  EXPECT_EQ(ksl(thing).status, 1);
  const std::string bad = makeFile("bad.ksl", "RULES:\nTHING: a\nEND\nEND\n");
  EXPECT_EQ(run({"--library", bad, "--trace", "notify"}, {"THING: a\nEND\n"}),
            (Outcome{1, "",
                     bad
                         + ":2:1: error[4]: KSL type 'THING' is not one of PARAMETER, OBJECT or "
                           "SINGLETON.\n"}));
}

TEST(Run, ExamplesReadBackFromTheirState)
{
  Arguments arguments{"run", "--validate", "--state"};
  for (const char* name : {"01-cylinder-study", "02-palettes-and-lamps", "03-probe-sweep", "04-flow-picture",
                           "05-slices", "06-units", "07-expressions"})
    arguments.push_back(sourceDir() + "/examples/" + name + ".ksl");
  const Outcome first = ksl(arguments);
  EXPECT_EQ(first.status, 0);
  EXPECT_EQ(first.err.find("wrote cylinder.svg\n"), 0u) << first.err;
  EXPECT_NE(first.out.find("\n    Text = \"Pressure past a cylinder, 10 m/s\"\n"), std::string::npos);
  EXPECT_NE(first.out.find("\n  Label = \"Top of the cylinder, # 1 of 2\"\n"), std::string::npos);
  const std::string picture = readFile(workFolder() + "flow-picture.svg");
  EXPECT_EQ(ksl({"run", "--update-mode", "at-end", "-", "--state"}, first.out).out, first.out);
  EXPECT_EQ(readFile(workFolder() + "flow-picture.svg"), picture);
}

TEST(Run, CommandLine)
{
  const std::pair<Arguments, std::string> wrong[] = {
      {{"fly"}, "The following argument was not expected: fly"},
      {{"run", "--svg"}, "The following argument was not expected: --svg"},
      {{"run", "--trace", "notify,foo"},
       "--trace: 'foo' is none of notify, changes, errors, graph, files, results"},
      {{"run", "--update-mode", "often"}, "--update-mode: 'often' is none of at-end, default, no-action"},
      {{"graph", "--library", ""}, "--library: a path must not be empty or hold a ','"},
      {{"run", "-e"}, "-e: 1 required TEXT missing"},
      {{"graph", "--svg", "--dot"}, "--dot excludes --svg"},
      // Names that an action line would read as others.
      {{"run", "--record", "a b"}, "--record: a file name here must not hold blanks"},
      {{"run", "--save", "a,b"}, "--save: a file name here must not hold any of , # \\ \""},
      {{"run", "--load", "a  b"},
       "--load: a file name here must not hold white space but single blanks inside"},
      {{"replay", ""}, "FILE: a file name here must not be empty"},
      {{"replay"}, "FILE is required"},
  };
  for (const auto& [arguments, message] : wrong)
    EXPECT_EQ(ksl(arguments), (Outcome{2, "", message + "\nRun with --help for more information.\n"}));
  const std::pair<Arguments, std::string> results[] = {
      {{"--version"}, "ksl "},
      {{"--help"}, "Defines and changes objects"},
      {{"run", "--help"}, "Enter KSL texts"},
  };
  for (const auto& [arguments, beginning] : results) {
    const Outcome outcome = ksl(arguments);
    EXPECT_EQ((Outcome{outcome.status, outcome.out.substr(0, beginning.size()), outcome.err}),
              (Outcome{0, beginning, ""}));
  }
}

TEST(Run, Trace)
{
  EXPECT_EQ(
      ksl({"run", "--format", "short", "--trace", "notify,errors", "-e", base, "-e", "> delete Base\nwhat"}),
      (Outcome{1, "",
               "notify 0\nnotify 4\nnotify 5\nnotify 16\nnotify 1\n"
               "notify 0\n"                                // the second command
               "notify 0\nnotify 4\nnotify 5\nnotify 1\n"  // the update that the deletion enters
               "notify 0\nnotify 1\n"                      // and the view
               "-e2:2:1: error[4]: Syntax error in KSL line: 'what'.\n"
               "report 4 KSLAPI loadKSLData\n"
               "notify 12\nnotify 4\nnotify 5\nnotify 13\nnotify 1\nrolled back 2 changes\n"}));
}

TEST(Run, ColourOnTerminalsOnly)
{
  for (const bool coloured : {true, false}) {
    Terminal terminal({"run", "-e", "what"}, coloured ? "NO_COLOR=" : "NO_COLOR=1");
    EXPECT_EQ(terminal.end(), 1);
    EXPECT_EQ(terminal.takeScreen(),
              coloured
                  ? "-e:1:1: \x1b[1;31merror[4]\x1b[0m: Syntax error in KSL line: 'what'.\n  1 | what\n    | "
                    "\x1b[1;31m^~~~\x1b[0m\n"
                  : "-e:1:1: error[4]: Syntax error in KSL line: 'what'.\n  1 | what\n    | ^~~~\n");
  }
}

}  // namespace
