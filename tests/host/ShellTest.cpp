// The shell, on a terminal and without one.
#include "Terminal.h"
#include "boxes.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

using Arguments = std::vector<std::string>;

const std::string greeting = "ksl 1.0.0. Tab completes; .help lists the shell's own commands.\n";
const std::string key_interrupt = "\x03";
const std::string key_end = "\x04";
const std::string key_previous = "\x10";

// Types keys whose effect on the line is to be seen, then drops the line.
void typeAndDrop(Terminal& terminal, const std::string& keys, const std::string& prompt = "ksl> ")
{
  terminal.type(keys + key_interrupt);
  terminal.waitFor("^C");
  terminal.waitForPrompt(prompt);
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
  terminal.enter("NOTE: n", "ksl:1> ");
  terminal.enter("Text = one\\", "ksl:1\\> ");
  terminal.enter(". two", "ksl:1> ");
  terminal.enter("Colour = red", "ksl:1> ");
  terminal.enter("END");
  terminal.enter("> delete \ta");
  terminal.enter(".history");
  terminal.enter(".undo 2");
  terminal.enter(".tree");
  terminal.enter(".redo");
  terminal.enter(".history");
  terminal.enter(".undo 3");
  terminal.enter(".state b");
  terminal.type(".quit\n");
  terminal.waitFor("[y/N] ");
  terminal.type("yes\n");
  EXPECT_EQ(terminal.end(), 0);
  EXPECT_EQ(terminal.takeScreen(), greeting + R"(ksl> BOX: a
ksl:1> Size = 2
ksl:1> END
3 changed, 2 recalculated, N ms
ksl> BOX: b
ksl:1>   On = a # the only one
ksl:1> END
3 changed, 2 recalculated, N ms
ksl> NOTE: n
ksl:1> Text = one\
ksl:1\> . two
ksl:1> Colour = red
ksl:1> END
error[4] DataKSLObject::setValue: Parameter 'Colour' is not recognized on object '/NOTE:n'.
rolled back 2 changes
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
ksl> .tree
BOX:a
ksl> .redo
redone: BOX: b
3 changed, 2 recalculated, N ms
ksl> .history
To be undone, the last one first to go:
    2  BOX: a
    1  BOX: b
To be redone, the first one first:
    1  > delete a
ksl> .undo 3
error[4] ksl::shell: There are only 2 steps to undo. .history lists them.
ksl> .state b
BOX:b
  On = a
  Size = 1
END
ksl> .quit
There is unsaved work. Leave all the same? [y/N] yes
)");
}

// What becomes of a line when Tab is typed behind it. `block` is entered before.
struct Completed {
  const char* name;
  Arguments block;
  std::string typed;
  std::string seen;  // behind the prompt; a second Tab lists, when there are several
  friend void PrintTo(const Completed& completed, std::ostream* out) { *out << completed.name; }
};

class CompletionTest : public testing::TestWithParam<Completed> {};

TEST_P(CompletionTest, LineAfterTab)
{
  makeFile("work/completion-of-files.qst", {});
  Terminal terminal({});
  terminal.waitForPrompt("ksl> ");
  terminal.enter("CUT: Mid Span", "ksl:1> ");
  terminal.enter("END");
  terminal.enter("CUT: Mid Tail", "ksl:1> ");
  terminal.enter("END");
  std::string prompt = "ksl> ";
  for (const std::string& line : GetParam().block)
    terminal.enter(line, prompt = "ksl:1> ");
  terminal.takeScreen();
  typeAndDrop(terminal, GetParam().typed);
  const std::string screen = terminal.takeScreen();
  EXPECT_EQ(screen.substr(screen.rfind('\n', screen.find("^C")) + 1), GetParam().seen + "^C\nksl> ");
}

const Completed completions[] = {
    {"Type", {}, "LEV\t", "ksl> LEVEL SURFACE: "},
    {"TypeInSmallLetters", {}, "lev\t", "ksl> LEVEL SURFACE: "},
    {"SingletonType", {}, "SES\t", "ksl> SESSION:"},
    {"NameAsFarAsSure", {}, "CUT: \t", "ksl> CUT: Mid "},
    {"NameWithBlanks", {}, "CUT: Mid S\t", "ksl> CUT: Mid Span"},
    {"Action", {}, ">getst\t", "ksl> >getstate "},
    {"ObjectOfAction", {}, "> delete Mid Span, Mid T\t", "ksl> > delete Mid Span, Mid Tail"},
    {"PathOfAction", {}, "> s /CUT:Mid S\t", "ksl> > s /CUT:Mid Span"},
    {"WordOfAction", {}, "> savestate mode=over\t", "ksl> > savestate mode=overwrite"},
    {"FileOfAction",
     {},
     "> readstate filename=completion-of-\t",
     "ksl> > readstate filename=completion-of-files.qst"},
    {"OwnCommand", {}, ".tr\t", "ksl> .tree "},
    {"ObjectOfOwnCommand", {}, ".state Mid T\t", "ksl> .state Mid Tail"},
    {"Parameter", {"CUT: new"}, "Dom\t", "ksl:1> Domain List = "},
    {"AllowedValue", {"CUT: new"}, "Option = Axis\t", "ksl:1> Option = Axis Plane"},
    {"PresentValue", {"CUT: new"}, "Offset = \t", "ksl:1> Offset = 0 [m]"},
    {"Continued", {"CUT: new", "Option = Axis\\"}, " Pl\t", "Pl"},
};
INSTANTIATE_TEST_SUITE_P(Lines, CompletionTest, testing::ValuesIn(completions),
                         [](const auto& tested) { return tested.param.name; });

TEST(Shell, CtrlCDropsWhatIsEnteredAndTwiceEnds)
{
  Terminal terminal({"--library", boxes()});
  terminal.waitForPrompt("ksl> ");
  terminal.enter("BOX: a", "ksl:1> ");
  typeAndDrop(terminal, "Size");
  terminal.enter("BOX: b", "ksl:1> ");
  terminal.enter(".cancel");
  typeAndDrop(terminal, "BOX: c");
  typeAndDrop(terminal, "");
  terminal.enter(".tree");
  typeAndDrop(terminal, "");
  terminal.type(key_interrupt);
  EXPECT_EQ(terminal.end(), 130);
  const std::string hint = "ksl> ^C\nCtrl-C again, Ctrl-D or .quit leaves.\n";
  EXPECT_EQ(terminal.takeScreen(), greeting + "ksl> BOX: a\nksl:1> Size^C\nksl> BOX: b\nksl:1> .cancel\n"
                                       + "ksl> BOX: c^C\n" + hint + "ksl> .tree\n" + hint + "ksl> ^C\n");
}

TEST(Shell, CtrlDAsksForUnsavedWork)
{
  Terminal terminal({"--library", boxes()});
  terminal.waitForPrompt("ksl> ");
  terminal.enter("MARK: m", "ksl:1> ");
  terminal.enter("END");
  terminal.type(key_end);
  terminal.waitFor("[y/N] ");
  terminal.enter("n");
  terminal.enter("> savestate filename=" + makeFile("saved.qst", {}));
  terminal.type(key_end);
  EXPECT_EQ(terminal.end(), 0);
}

TEST(Shell, HistoryIsKept)
{
  namespace fs = std::filesystem;
  const std::string states = fs::path(makeFile("states/here", {})).parent_path();
  for (const bool again : {false, true}) {
    Terminal terminal({"--library", boxes()}, {{"XDG_STATE_HOME", states + "/of a user"}});
    terminal.waitForPrompt("ksl> ");
    if (again)
      typeAndDrop(terminal, key_previous);
    else
      terminal.enter(".tree # of \"all\"");
    terminal.type(key_end);
    EXPECT_EQ(terminal.end(), 0);
    const std::string line = again ? ".tree # of \"all\"^C" : ".tree # of \"all\"";
    EXPECT_EQ(terminal.takeScreen(), greeting + "ksl> " + line + "\nksl>\n");
  }
}

TEST(Shell, CtrlCStopsALongCommand)
{
  std::string text;
  for (int i = 0; i < 300000; ++i)
    text += "MARK: m" + std::to_string(i) + "\nEND\n";
  const std::string file = makeFile("long.ksl", text);
  Terminal terminal({"run", "--library", boxes(), "-e", "> update", file, "--state"});
  terminal.waitFor(" of 300000 blocks");
  terminal.type(key_interrupt);
  EXPECT_EQ(terminal.end(), 130);
  const std::string screen = terminal.takeScreen();
  EXPECT_EQ(screen.substr(0, screen.find("\nrolled back")),
            "error[4] ksl::interrupt: Interrupted. The command is taken back.");
}

// Without a terminal the lines are read as they are; errors count.
TEST(Shell, ReadsLinesThatNobodyTypes)
{
  const auto text = [](const std::string& err) { return Outcome{1, "", err}; };
  EXPECT_EQ(ksl({"--library", boxes()}, "MARK: a\r\nEND\n.tree\n.quit\nnever read\n").out, "MARK:a\n");
  EXPECT_EQ(ksl({"--library", boxes()}, "\n# nothing\n").status, 0);
  EXPECT_EQ(ksl({"--library", boxes()}, "MARK: a\n"),
            text("error[4] KSLInterface::preParseKSL: Not enough END statements in KSL.\n"));
  EXPECT_EQ(ksl({"--library", boxes()}, ".undo\n.undo x\n.tre\n.help me\n.cancel"),
            text("error[4] ksl::shell: Nothing to undo.\nerror[4] ksl::shell: 'x' is no number of steps.\n"
                 "error[4] ksl::shell: There is no command '.tre'. .help lists those that there are.\n"
                 "error[4] ksl::shell: .help takes no argument.\n"
                 "error[4] ksl::shell: No block is being entered.\n"));
}

}  // namespace
