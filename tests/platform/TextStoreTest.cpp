// The text store: what texts become, what is told of it, and how it is taken back.
#include "platform/ORVError.h"
#include "platform/ORVKSLAPI.h"
#include "platform/ORVKSLParseUtilities.h"
#include "tests/support/TempFolder.h"
#include "tests/support/TestSystem.h"
#include "tests/support/thrown.h"

#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace orv {
namespace {

using Texts = std::vector<std::string>;

// ------------------------------------------------------------------------------------------------------ reading text

// A store that notes its actions, and runs something of the test's at each.
class Store : public KSLAPI, private KSLActionHandler, private KSLReplaceModeHandler {
 public:
  Store()
  {
    registerDefaultActionHandler(this);
    registerReplaceModeHandler(this);
  }
  void load(const std::string& text) { loadKSLData(StringUtilities::stringToVector(text, '\n')); }
  std::string text() const { return TestSystem::storeText(*this); }
  std::string changes() { return TestSystem::render(takeKSLChangeList()); }
  std::string takeActions() { return std::exchange(m_actions, {}); }

  std::function<bool(const std::string&)> onAction;

 private:
  bool handleAction(const std::string& action, const Texts& args) override
  {
    EXPECT_TRUE(args.empty());
    m_actions += "[" + action + "]";
    return !onAction || onAction(action);
  }
  void objectReplaced(const std::string& path) override { m_actions += "{" + path + "}"; }

  std::string m_actions;
};

// O is an object, S a singleton.
const char* const kinds = R"(RULES:
OBJECT: O
Essential Parameter List = p, "q"
CONTEXT: c
Optional Parameter List = r
END
END
SINGLETON: S
END
END
)";

TEST(TextStore, ReadsEveryKindOfLine)
{
  struct Case {
    const char* text;
    const char* changes;
    const char* actions = "";
  };
  const Case cases[] = {
      {"A: a # B: b\nx = 1 # 2\nEND # x\n>do # it\nB: b\nEND", "create /A:a\nparam /A:a x = 1\ncreate /B:b\n",
       "[do]"},
      {"A: a\nx = \"1 # 2\" # 3\ny = \" # z\nEND",
       "create /A:a\nparam /A:a x = \"1 # 2\"\nparam /A:a y = \"\n"},
      // names lose quotes and outer blanks, keep inner ones
      {"  DATA  READER :  \" a  b\" \n \"p q\" = r s \nEND",
       "create /DATA  READER:a  b\nparam /DATA  READER:a  b p q = r s\n"},
      // names and values may look like other things
      {"A: b:c\ny = :z\nEND = >3\ny =\nEND",
       "create /A:b:c\nparam /A:b:c y = :z\nparam /A:b:c END = >3\nchange /A:b:c y =  (:z)\n"},
      {"A: a\nB: b\nx = 1\nC: c\nEND\nEND\nx = 2\nEND",
       "create /A:a\ncreate /A:a/B:b\nparam /A:a/B:b x = 1\ncreate /A:a/B:b/C:c\nparam /A:a x = 2\n"},
      {"END\nA: a\nEND\nEND\nA: b\nB: c\n", "create /A:a\ncreate /A:b\ncreate /A:b/B:c\n"},
      {"> a, b  c\nA: a\n>x=1\nEND\n>\n> # x", "create /A:a\n", "[a, b  c][x=1][][]"},
      {"&replace A: a\nx = 1\nEND", "create /A:a\nparam /A:a x = 1\n", "{/A:a}"},
      {"A: \xc3\xa4\r\nx = \xff\r\nEND\r\nA: b\nEND",
       "create /A:\xc3\xa4\nparam /A:\xc3\xa4 x = \xff\ncreate /A:b\n"},
      {"O:\nEND\nO: O\nx = 1\nEND\nO: t\nEND", "create /O:O\nparam /O:O x = 1\ncreate /O:t\n"},
  };
  for (const auto& [text, changes, actions] : cases) {
    SCOPED_TRACE(text);
    Store store;
    store.load(kinds);
    store.clearKSLChangeList();
    store.load(text);
    EXPECT_EQ(store.changes(), changes);
    EXPECT_EQ(store.takeActions(), actions);
  }
}

// Whether their reader is told what they are or not, and also when the last is wrong.
TEST(TextStore, LetsGoOfManyLinesAsItReadsThem)
{
  constexpr std::size_t count = 3000;
  for (const bool scanned : {false, true}) {
    KSLLines lines;
    std::string expected = "O: a\n";
    const auto add = [&](const std::string& line) {
      lines.begin() += line;
      const MiniKSLParser::Line is = MiniKSLParser::scan(lines.begun());
      lines.end(scanned ? KSLLines::Scanned{is.type, static_cast<std::uint32_t>(is.mark)}
                        : KSLLines::Scanned());
    };
    add("O: a");
    for (std::size_t i = 0; i < count; ++i) {
      add("p" + std::to_string(i) + " = " + std::to_string(i));
      expected += "p" + std::to_string(i) + " = " + std::to_string(i) + "\n";
    }
    lines.begin() += "dropped";
    lines.drop();
    add("> stop");
    EXPECT_EQ(lines[count], "p2999 = 2999");
    EXPECT_TRUE(lines.from(1).starts_with("p0 = 0p1 = 1"));

    Store store;
    store.load(kinds);
    store.takeKSLChangeList();
    store.onAction = [](const std::string&) { return false; };
    std::size_t line = 0;
    store.loadKSLData(lines, line);
    EXPECT_EQ(line, count + 1);
    EXPECT_EQ(lines[line], "> stop");
    EXPECT_NE(StringUtilities::vectorToString(store.getExpandedKSL(), '\n').find(expected),
              std::string::npos);
  }
}

TEST(TextStore, RefusesLinesAndNamesAndKeepsWhatStoodBefore)
{
  const auto syntax = [](const std::string& line) { return "Syntax error in KSL line: '" + line + "'."; };
  const auto name = [](const std::string& text, const char* what) {
    return "Object name '" + text + "' must not contain '" + what + "'.";
  };
  const std::pair<std::string, std::string> cases[] = {
      {"word", syntax("word")},         {"\"# x", syntax("\"# x")},   {" End # x", syntax(" End # x")},
      {"A: b = c", syntax("A: b = c")}, {": a", syntax(": a")},       {"= 1", syntax("= 1")},
      {"&replace", syntax("&replace")}, {"%s%n", syntax("%s%n")},     {"A: a/b", name("a/b", "/")},
      {"A/B: a", name("A/B", "/")},     {"A: a,b", name("a,b", ",")}, {"A,B:", name("A,B", ",")},
  };
  for (const auto& [line, message] : cases) {
    Store store;
    const auto load = [&] { store.loadKSLData({"K: k", "x = 1", line, "y = 2"}); };
    EXPECT_EQ(thrown<ksl::invalid>(load), ErrorMsg("KSLAPI", "loadKSLData", message, 4)) << line;
    EXPECT_EQ(store.text(), "K: k\n  x = 1\nEND\n");
    store.undo();
    EXPECT_EQ(store.text(), "");
  }
  Store store;
  EXPECT_EQ(thrown<ksl::invalid>([&] { store.load("x = 1"); }).getMessage(), syntax("x = 1"))
      << "a parameter of nothing";
  store.load("RULES:\nPARAMETER: a, b\nEND\nEND");  // RULES are never addressed by path lists
  EXPECT_TRUE(store.doesPathExist("/RULES/PARAMETER:a, b"));
  EXPECT_THROW(store.load("RULES 2:\nPARAMETER: a, b\nEND\nEND"), ksl::invalid);
}

// -------------------------------------------------------------------------------------------------- deletion, undo

TEST(TextStore, DeletionTellsEachObjectBeforeItsContentsInReverse)
{
  Store store;
  store.load("A: z\nEND\nA: a\nx = 1\nB: b\nu = 1\nC: c\nEND\nv = 2\nEND\ny = 2\nB: d\nEND\nEND");
  store.changes();
  store.deleteObj("//A:a/");
  EXPECT_EQ(store.changes(),
            "delete /A:a\ndelete /A:a/B:d\ndrop /A:a y (2)\ndelete /A:a/B:b\ndrop /A:a/B:b v (2)\n"
            "delete /A:a/B:b/C:c\ndrop /A:a/B:b u (1)\ndrop /A:a x (1)\n");
  for (const char* nothing : {"/A:a", "", "/", "A:z", "/A:z/B:b"})
    store.deleteObj(nothing);
  EXPECT_EQ(store.text() + store.changes(), "A: z\nEND\n");
}

TEST(TextStore, ReplaysTolerantly)
{
  Store store;
  store.load("A: a\nx = 1\nEND");
  store.changes();
  KSLChangeList changes;
  changes.createParam("/A:b/B:c", "x", "1");       // ancestors are made
  changes.createObject("/A:b");                    // is there
  changes.changeParam("/A:a", "x", "2", "other");  // simply sets
  changes.createParam("/A:a", "x", "2");           // no change
  changes.changeParam("/A:a", "y", "3", "2");
  changes.deleteParam("/A:a", "z", "1");  // are missing
  changes.deleteParam("/A:q", "x", "1");
  changes.deleteObject("/A:q");
  changes.deleteObject("");
  changes.deleteParam("/A:a", "y", "0");
  KSLAPIUpdateProcessor processor(&store, true);
  changes.process(KSLChangeList::Direction::forward, &processor);
  EXPECT_EQ(store.changes(),
            "create /A:b\ncreate /A:b/B:c\nparam /A:b/B:c x = 1\nchange /A:a x = 2 (1)\n"
            "param /A:a y = 3\ndrop /A:a y (3)\n");
}

TEST(TextStore, UndoTakesBackWhatIsNotConfirmed)
{
  Store store;
  store.load("A: a\nx = 1\nEND");
  store.recordChanges();
  store.changes();

  store.load("A: a\nx = 2\nEND");
  const auto mark = store.changeMark();
  store.load("A: a\nx = 3\ny = 1\nB: b\nEND\nEND");
  store.clearKSLChangeList();  // forgets nothing
  EXPECT_THROW(store.load("A: a\nz = 1\nB: b\nw = 1\n?"), ksl::invalid);
  for (const auto confirmed : {mark, mark, mark - 1})  // nothing is confirmed twice
    store.confirmTo(confirmed);
  store.undo();
  EXPECT_EQ(store.text() + store.changes(), "A: a\n  x = 2\nEND\n");
  const auto last = store.changeMark();
  store.deleteObj("/A:a");
  EXPECT_EQ(store.pendingMark(), last);
  store.confirmTo(store.changeMark() + 100);
  store.undo();
  EXPECT_EQ(store.text(), "");
}

TEST(TextStore, IsReadAgainFromItsActions)
{
  Store store;
  const auto loading = [&store](std::function<void()> act, const std::string& expected) {
    store.onAction = [act](const std::string& action) {
      if (action == "go")
        act();
      return action != "stop";
    };
    store.load("A: a\nx = 1\nB: b\ny = 1\n> go\ny = 2\nEND\nx = 3\n> stop\nz = 1\nEND");
    EXPECT_EQ(store.text(), expected);
    store.undo();
  };
  const std::string inside = "  B: b\n    y = 2\n  END\n";
  loading([&] { store.deleteObj("/A:a"); }, "A: a\n" + inside + "  x = 3\nEND\n");
  loading([&] { store.deleteObj("/A:a/B:b"); }, "A: a\n  x = 3\n" + inside + "END\n");
  loading([&] { store.undo(); }, "A: a\n" + inside + "  x = 3\nEND\n");
  // A nested text knows nothing of the blocks open outside, nor they of it.
  loading([&] { store.load("END\nD: d\n> deeper\nE: e\nq = 1\n"); },
          "A: a\n  x = 3\n" + inside + "END\nD: d\n  E: e\n    q = 1\n  END\nEND\n");
}

// ----------------------------------------------------------------------------------------------- libraries, validation

TEST(Libraries, AreReadInOrder)
{
  const TempFolder folder;
  folder.write("one/b.ksl", "RULES:\r\nb = 1 \\\r\n  + 2\r\nEND\r\n");
  folder.write("one/a.ksl", "\xEF\xBB\xBFRULES:\na =\nEND");
  folder.write("two/a.ksl", "# nothing here\n\\");
  const std::string lone = folder.write("two/lone", "RULES:\nlone =\nEND\n");
  Store store;
  store.readNamedLibraries(lone + " , " + folder / "one,", "");
  const std::vector<std::string> all{"RULES:", "lone = ", "a = ", "b = 1 + 2", "END"};
  EXPECT_EQ(store.getExpandedKSL(), all);
  store.undo();
  setenv("ORV_KSL_LIBRARY_PATH", (folder / "two:" + folder / "one").c_str(), 1);
  store.readLibraries();
  unsetenv("ORV_KSL_LIBRARY_PATH");
  EXPECT_EQ(store.getExpandedKSL(), (std::vector<std::string>{"RULES:", "a = ", "b = 1 + 2", "END"}));
}

TEST(Libraries, LeaveTheStoreAloneWhenOneIsBad)
{
  const TempFolder folder;
  const std::string good = folder.write("a.ksl", "RULES:\nx = 1\nEND");
  const auto refusal = [&]<class Exception>(const std::string& name, Exception*) {
    Store store;
    store.load("K: k\ny = 1\nEND");
    const ErrorMsg error = thrown<Exception>([&] { store.readNamedLibraries(good, folder / name); });
    EXPECT_EQ(store.text() + store.changes(), "K: k\n  y = 1\nEND\ncreate /K:k\nparam /K:k y = 1\n");
    return toText(error);
  };
  const auto quoted = [&](const std::string& name) { return "'" + folder / name + "'"; };
  const ksl::invalid* const invalid = nullptr;
  const std::string where = "error[4] KSLAPI::readNamedLibraries: ";
  folder.write("act.ksl", "RULES:\nEND\n\n\\\n  >delete   /A:a # x\n");
  folder.write("open.ksl", "RULES:\nB: c\nEND\n");
  folder.write("object.ksl", "RULES:\nx = \\\n1\nEND\nA: early\nEND\n");
  folder.write("end.ksl", "RULES:\nOBJECT: A\nEND\nEND\nOBJECT: B\nEND\nEND\n");
  folder.write("syntax.ksl", "RULES:\n?\n");
  EXPECT_EQ(refusal("none", static_cast<file::error*>(nullptr)),
            where + "Cannot read KSL library " + quoted("none") + ": No such file or directory.");
  EXPECT_EQ(refusal("act.ksl", invalid),
            where + "Action line in KSL library " + quoted("act.ksl") + ", line 4: '>delete /A:a # x'.");
  EXPECT_EQ(refusal("object.ksl", invalid), where + "Object '/A:early' in KSL library " + quoted("object.ksl")
                                                + ", line 5, is no definition.");
  EXPECT_EQ(refusal("end.ksl", invalid),
            where + "Object '/OBJECT:B' in KSL library " + quoted("end.ksl") + ", line 5, is no definition.");
  EXPECT_EQ(refusal("open.ksl", invalid),
            where + "Not enough END statements in KSL library " + quoted("open.ksl") + ".");
  EXPECT_EQ(refusal("syntax.ksl", invalid),
            where + "Syntax error in KSL line: '?'. (KSL library " + quoted("syntax.ksl") + ")");
}

// Refuses the value "bad" of p, and is told of what does not stand at the top.
struct Judge : KSLValidator {
  std::string whyRefused(std::string_view, const std::string&, const std::string& value) const override
  {
    return value == "bad" ? "no good" : "";
  }
  void checkObject(const std::string& path) const override { asked.push_back(path); }
  std::vector<std::string> typeNames() const override { return {}; }
  bool judgesValues(std::string_view, const std::string& param) const override { return param == "p"; }
  bool mayStandIn(std::string_view, std::string_view parent) const override { return parent.empty(); }
  mutable std::vector<std::string> asked;
};

TEST(TextStore, ValidatesTheChangesAgainstWhatItWasTold)
{
  Store store;
  store.load(kinds);
  store.load("RULES:\nSINGLETON: E\nEND\nEND");
  store.defineType("O", {"p", "q", "r"}, false);
  store.defineType("E", {}, true);
  store.recordChanges();
  store.enableValidation(true);
  store.clearKSLChangeList();
  // What is wrong with the changes that a text makes, which are taken back then.
  const auto refusal = [&store](const std::string& text) {
    store.load(text);
    const ScopeGuard back([&store] { store.undo(); });
    return thrown<ksl::invalid>([&store] { store.validateKSLData(); }).getMessage();
  };
  EXPECT_EQ(refusal("U: u\nEND"), "Object type 'U' is not defined.");
  EXPECT_EQ(refusal("S:\np = 1\nEND"), "Parameter 'p' is not defined for object type 'S'.");
  EXPECT_EQ(refusal("O: a\np = 1\nEND\nO: b\np = 1\nx = 1\nEND"),
            "Parameter 'x' is not defined for object type 'O'.");
  const Judge judge;
  store.setValidator(&judge);
  // What holds for a type is found out once, also when its objects lie in each other.
  EXPECT_EQ(refusal("O: a\np = 1\nq = bad\nEND\nO: b\nq = 1\nO: in\nq = 1\nEND\nO: too\nEND\np = bad\nEND"),
            "Parameter 'p' of object '/O:b' cannot have value 'bad'.");
  EXPECT_EQ(judge.asked, (std::vector<std::string>{"/O:b/O:in", "/O:b/O:too"}));
  store.setValidator(nullptr);
  store.defineType("S", {"p"}, false);
  store.load("O: o\np = 1\nq = 2\nr = 3\nEND\nS:\np = 1\nEND\nE:\nany = 1\nEND");
  store.refuseRules(true);
  store.validateKSLData();
  // It holds for later lists, until somebody else judges or a type has other parameters.
  store.setValidator(&judge);
  EXPECT_EQ(refusal("O: a\np = bad\nEND"), "Parameter 'p' of object '/O:a' cannot have value 'bad'.");
  store.validateKSLData();
  store.setValidator(nullptr);
  store.defineType("O", {"q"}, false);
  EXPECT_EQ(refusal("O: a\nq = bad\np = 1\nEND"), "Parameter 'p' is not defined for object type 'O'.");
}

}  // namespace
}  // namespace orv
