// The shell, on a terminal and without one.
#include "Terminal.h"
#include "boxes.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>

namespace {

const std::string greeting = "ksl 1.0.0. Tab completes; .help lists the shell's own commands.\n";
const std::string question = "There is unsaved work. Save it? [y]es, [n]o, [c]ancel: ";
const std::string key_interrupt = "\x03";

std::string newShellFile(const std::string& name)
{
  const std::string path = makeFile(name);
  std::filesystem::remove(path);
  return path;
}

// Types keys whose effect on the line is to be seen, then drops the line.
void typeAndDrop(Terminal& terminal, const std::string& keys)
{
  terminal.type(keys + key_interrupt);
  terminal.waitFor("^C");
  terminal.waitForPrompt("ksl> ");
}

TEST(Shell, DefineCompleteFailUndoByNumberQuit)
{
  Terminal terminal({"--library", boxes()});
  terminal.waitForPrompt("ksl> ");
  terminal.enter("bo\ta", "ksl:1> ");
  terminal.enter("Si\t2", "ksl:1> ");
  terminal.enter("E\t");
  terminal.enter("BOX: b", "ksl:1> ");
  terminal.enter("  On = \t # the only one", "ksl:1> ");
  terminal.enter("END");
  terminal.type("> delete \t");
  terminal.waitForPrompt("ksl> > delete ");
  terminal.enter("a");
  terminal.enter(".history");
  terminal.enter(".undo 2");
  terminal.enter(".redo");
  terminal.enter(".undo 3");
  terminal.enter(".state b");
  terminal.type(".quit\n");
  terminal.waitForPrompt(question);
  terminal.type("no\n");
  EXPECT_EQ(terminal.end(), 0);
  EXPECT_EQ(terminal.takeScreen(), greeting + R"(ksl> BOX: a
ksl:1> Size = 2
ksl:1> END
3 changed, 2 recalculated, N ms
ksl> BOX: b
ksl:1>   On = a # the only one
ksl:1> END
3 changed, 2 recalculated, N ms
ksl> > delete
a  b

ksl> > delete a
2 changed, 2 recalculated, N ms
ksl> .history
To be undone, the last one first to go:
    3  BOX: a
    2  BOX: b
    1  > delete a
ksl> .undo 2
undone: > delete a
4 changed, 4 recalculated, N ms
undone: BOX: b
3 changed, 0 recalculated, N ms
ksl> .redo
redone: BOX: b
3 changed, 2 recalculated, N ms
ksl> .undo 3
ksl: error[4]: There are only 2 steps to undo. .history lists them.
ksl> .state b
BOX:b
  On = a
  Size = 1
END
ksl> .quit
There is unsaved work. Save it? [y]es, [n]o, [c]ancel: no
)");
}

// What becomes of a line when Tab is typed behind it.
TEST(Shell, TabCompletes)
{
  const struct {
    Arguments block;  // entered before
    std::string typed;
    std::string seen;  // behind the prompt
  } rows[] = {
      {{}, "LEV", "ksl> LEVEL SURFACE: "},
      {{}, "CUT: ", "ksl> CUT: Mid "},  // as far as it is sure
      {{}, "> s /CUT:Mid S", "ksl> > s /CUT:Mid Span"},
      {{}, "> savestate mode=over", "ksl> > savestate mode=overwrite"},
      {{}, "> readstate filename=completion-of-", "ksl> > readstate filename=completion-of-files.qst"},
      {{}, ".state Mid T", "ksl> .state Mid Tail"},
      {{}, ".get Mid Span.Off", "ksl> .get Mid Span.Offset"},
      {{}, ".describe PALETTE.Sch", "ksl> .describe PALETTE.Scheme"},
      {{}, ".read completion-of-", "ksl> .read completion-of-files.qst"},
      {{}, "BOU", "BOU"},  // stands in a domain
      {{"DOMAIN: Air"}, "BOU", "ksl:1> BOUNDARY: "},
      {{"DOMAIN: Air"}, "CU", "ksl:1> CU"},
      {{"CUT: new", "Option = Point and Normal"}, "Po", "ksl:1> Point = "},  // of this context
      {{"CUT: new"}, "Offset = ", "ksl:1> Offset = 0 [m]"},                  // the present value
      {{"CUT: new", "Option = Axis \\"}, " Pl", "ksl:1\\>  Plane"},
  };
  makeFile("work/completion-of-files.qst");
  Terminal terminal({});
  terminal.waitForPrompt("ksl> ");
  terminal.enter("CUT: Mid Span", "ksl:1> ");
  terminal.enter("END");
  terminal.enter("CUT: Mid Tail", "ksl:1> ");
  terminal.enter("END");
  for (const auto& [block, typed, seen] : rows) {
    for (const std::string& line : block)
      terminal.enter(line, line.back() == '\\' ? "ksl:1\\> " : "ksl:1> ");
    typeAndDrop(terminal, typed + "\t");
    const std::string screen = terminal.takeScreen();
    const std::size_t end = screen.find("^C");
    const std::size_t begin = screen.rfind('\n', end) + 1;
    EXPECT_EQ(screen.substr(begin, end - begin), seen);
  }
}

TEST(Shell, CtrlCDropsWhatIsEnteredAndTwiceEnds)
{
  Terminal terminal({"--library", boxes()});
  terminal.waitForPrompt("ksl> ");
  terminal.enter("BOX: a", "ksl:1> ");
  typeAndDrop(terminal, "Size");
  terminal.enter("BOX: b", "ksl:1> ");
  terminal.enter("BOX: c", "ksl:2> ");
  terminal.enter("END", "ksl:1> ");
  terminal.enter(".cancel");
  typeAndDrop(terminal, "BOX: c");
  typeAndDrop(terminal, "");
  terminal.enter(".tree");
  typeAndDrop(terminal, "");
  terminal.type(key_interrupt);
  EXPECT_EQ(terminal.end(), 130);
  const std::string hint = "ksl> ^C\nCtrl-C again, Ctrl-D or .quit leaves.\n";
  EXPECT_EQ(terminal.takeScreen(),
            greeting + "ksl> BOX: a\nksl:1> Size^C\nksl> BOX: b\nksl:1> BOX: c\nksl:2> END\nksl:1> .cancel\n"
                + "ksl> BOX: c^C\n" + hint + "ksl> .tree\n" + hint + "ksl> ^C\n");
}

// Also one that is nested in another, and is not recorded as done.
TEST(Shell, CtrlCStopsALongCommand)
{
  std::string text;
  for (int i = 0; i < 300000; ++i)
    text += "MARK: m" + std::to_string(i) + "\nEND\n";
  const std::string file = makeFile("long.ksl", text);
  const std::string told = ": error[4]: Interrupted. The command is taken back.\n";

  Terminal run({"run", "--library", boxes(), file, "-e", "MARK: never\nEND", "--state"});
  run.waitFor(" of 300000 blocks");
  run.type(key_interrupt);
  EXPECT_EQ(run.end(), 130);
  const std::string screen = run.takeScreen();
  EXPECT_TRUE(screen.starts_with(file + ":") && screen.find(told) < screen.find("\nrolled back ")) << screen;

  Terminal shell({"--library", boxes(), "--library", fileTypes()});
  shell.waitForPrompt("ksl> ");
  shell.type("> readsession filename=" + file + "\n");
  shell.waitFor(" of 300000 blocks");
  shell.type(key_interrupt);
  shell.waitForPrompt("ksl> ");
  EXPECT_NE(shell.takeScreen().find(told), std::string::npos);
  shell.enter(".history");
  EXPECT_EQ(shell.takeScreen(), ".history\nNothing to undo or redo.\nksl>");
}

// Without a terminal the lines are read as they are; errors count.
TEST(Shell, ReadsLinesThatNobodyTypes)
{
  const auto text = [](const std::string& err) { return Outcome{1, "", err}; };
  EXPECT_EQ(ksl({"--library", boxes()}, "MARK: a\r\nEND\n.tree\n.quit\nnever read\n").out, "MARK:a\n");
  EXPECT_EQ(ksl({"--library", boxes()}, "\n# nothing\n").status, 0);
  EXPECT_EQ(ksl({"--library", boxes()}, "MARK: a\n").err.substr(0, 21), "<entry 1>:1:1: error[");
  EXPECT_EQ(
      ksl({"--library", boxes()}, ".undo\n.undo x\n.redo x\n.tre\n.help me\n.cancel\n.edit\n.save\n.read\n"),
      text("ksl: error[4]: Nothing to undo.\n"
           "ksl: error[4]: No step is called 'x' or has changed such an object.\n"
           "ksl: error[4]: 'x' is no number of steps.\n"
           "ksl: error[4]: There is no command '.tre'. .help lists those that there are.\n  did you "
           "mean '.tree'?\n"
           "ksl: error[4]: .help takes no argument.\n"
           "ksl: error[4]: No block is being entered.\n"
           "ksl: error[4]: There is no terminal to edit on.\n"
           "ksl: error[4]: .save takes FILE when none was opened or saved before.\n"
           "ksl: error[4]: .read takes FILE.\n"));
}

// What is printed by lines that are typed behind a cut and a band on it.
TEST(Shell, DotsLookAndMove)
{
  makeFile("work/shell-read.ksl", "CUT: Mid Span\n  Offset = 25 [cm]\nEND\n");
  makeFile("work/shell-plan.ksl", "CUT: Mid Span\n  Axis = Y\nEND\n> delete Fast\n");
  const std::string before =
      ".read shell-read.ksl\nCUT: Mid Span\nAxis = Z\nEND\nPALETTE: Warm\nEND\n> delete Warm\n";
  const std::pair<const char*, const char*> rows[] = {
      {".get Mid Span.Offset", "25 [cm]\n"},
      {".get \"Mid Span\" Axis,Offset --in mm --format csv",
       "object,parameter,value,units\n/CUT:Mid Span,Axis,Z,\n/CUT:Mid Span,Offset,250.0,mm\n"},
      {".why Mid Span.Offset --format json\n.why Mid Span.Axis",
       "  \"setBy\": \".read shell-read.ksl\",\n/CUT:Mid Span.Axis = Z\n  set by CUT: Mid Span\n"},
      {".describe PALETTE.Scheme", "  Takes     Spectrum, Heat, Ocean or Grey\n"},
      {".plan shell-plan.ksl", "    Axis: Z -> Y\n"},
      {".undo \"PALETTE: Warm\"\n.undo \"PALETTE: Warm\"\n.history",  // the last that changed it, each time
       "undone: > delete Warm\nundone: PALETTE: Warm\n    1  CUT: Mid Span\n"},
      {".undo Mid Span\n.state Mid Span",
       "undone: > delete Warm\nundone: PALETTE: Warm\nundone: CUT: Mid Span\n  Axis = X\n"},
      {".undo .read  shell-read.ksl\n.tree", "undone: CUT: Mid Span\nundone: .read shell-read.ksl\n"},
      {".save shell.qst\n.undo 4\n.open shell.qst\n.state", "CUT:Mid Span\n  Axis = Z\n"},
      {"help\nexit\nnever read", "All else is KSL: blocks"},
      {"?\nquit\nnever read", ".why PATH[.PARAM]"}};
  for (const auto& [line, printed] : rows) {
    const Outcome outcome = ksl({}, before + line);
    EXPECT_EQ(outcome.status, 0) << line << outcome.err;
    std::istringstream lines(printed);
    std::size_t at = 0;
    for (std::string each; at != std::string::npos && std::getline(lines, each);)
      at = outcome.out.find(each, at);
    EXPECT_NE(at, std::string::npos) << line << "\n" << outcome.out;
  }
}

// On a terminal that can show several lines to be edited.
TEST(Shell, BlocksComeBackAndPastesAreTakenAsTheyAre)
{
  const std::string up = "\x1b[A";
  const std::string end = "\x05";
  const std::string backspace = "\x7f";
  const std::string state = newShellFile("shell-saved.qst");
  Terminal terminal({"--library", boxes(), "--library", fileTypes()},
                    "TERM=xterm VISUAL= EDITOR='sed -i s/Edited/Mended/'");
  const auto enter = [&](const std::string& keys, const std::string& seen) {
    terminal.type(keys);
    terminal.waitFor(seen);
    terminal.waitForKeys();
  };
  terminal.waitFor("ksl> ");
  enter("BOX: a\n", "ksl:1> ");
  enter("Sise = 2\n", "ksl:1> ");
  enter("END\n", "rolled back");
  terminal.waitFor("Sise = 2\r\nEND");  // to be mended
  terminal.waitForKeys();
  enter(up + end + backspace + "3\n", "rolled back");
  terminal.waitFor("Sise = 3\r\nEND");
  enter(up + "\x01\x1b[C\x1b[C\x1b[C" + backspace + "z\n", "changed");  // Size
  enter(".get a.Size\n", "3\r\n");
  enter(up + up + "\n", "changed");  // the whole block
  // Nothing in it is a key; what stands behind a refusal waits.
  enter(
      "\x1b[200~NOTE: n\r\tText = x\rEND\rBOX: b\rSize = ][\rOn = nobody\rEND\rMARK: "
      "Edited\rEND\r\x1b[201~",
      "MARK: Edited\r\nEND");
  enter("\n", "rolled back");
  terminal.waitFor("MARK: Edited\r\nEND");
  enter("\x03", "^C");
  enter("MARK: Edited\n", "ksl:1> ");
  enter("END\n", "changed");
  enter(".edit\n", "changed");
  enter(".tree\n", "MARK:Mended\r\n");
  enter(".quit\n", question);
  enter("cancel\n", "ksl> ");
  enter("exit\n", question);
  enter("yes\n", "File: ");
  terminal.type(state + "\n");
  EXPECT_EQ(terminal.end(), 0);
  EXPECT_EQ(readFile(state).find("BOX: b"), std::string::npos);
  EXPECT_NE(readFile(state).find("Text = x"), std::string::npos);
}

}  // namespace
