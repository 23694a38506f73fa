// The text store: what texts become, what is told of it, and how it is taken back.
#include "platform/ORVError.h"
#include "platform/ORVKSLAPI.h"
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
      {"\n  \t\n# A: a\n", ""},
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
      {"S:\nEND\nS: S\nx = 1\nEND\nS: t\nEND", "create /S\nparam /S x = 1\ncreate /S:t\n"},
      {"O:\nEND\nO: O\nx = 1\nEND\nO: t\nEND", "create /O:O\nparam /O:O x = 1\ncreate /O:t\n"},
      {"U:\nEND\nU: U\nx = 1\nEND\nU: t\nEND", "create /U\nparam /U x = 1\ncreate /U:t\n"},
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

TEST(TextStore, RefusesLinesAndNamesAndKeepsWhatStoodBefore)
{
  const auto syntax = [](const std::string& line) { return "Syntax error in KSL line: '" + line + "'."; };
  const auto name = [](const std::string& text, const char* what) {
    return "Object name '" + text + "' must not contain '" + what + "'.";
  };
  const std::pair<std::string, std::string> cases[] = {
      {"word", syntax("word")},         {"\"# x", syntax("\"# x")},       {" End # x", syntax(" End # x")},
      {"A: b = c", syntax("A: b = c")}, {": a", syntax(": a")},           {"\"\": a", syntax("\"\": a")},
      {"= 1", syntax("= 1")},           {"&replace", syntax("&replace")}, {"%s%n", syntax("%s%n")},
      {"A: a/b", name("a/b", "/")},     {"A/B: a", name("A/B", "/")},     {"A: a,b", name("a,b", ",")},
      {"A,B:", name("A,B", ",")},
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
  EXPECT_THROW(store.load("RULES:\nPARAMETER: a/b\nEND\nEND"), ksl::invalid);
  EXPECT_THROW(store.load("RULES 2:\nPARAMETER: a, b\nEND\nEND"), ksl::invalid);
}

TEST(TextStore, TakesTheKindsOfAnotherStoreUntilItHasItsOwn)
{
  Store rules;
  rules.load(kinds);
  Store store;
  store.setKindsFrom(&rules);
  store.load("O:\nEND\nS: S\nEND\nRULES:\nSINGLETON: O\nEND\nEND\nO: O\nEND");
  EXPECT_EQ(store.text(), "O: O\nEND\nS:\nEND\nO:\nEND\n");
  store.undo();
  store.load("O:\nEND");
  EXPECT_EQ(store.text(), "O: O\nEND\n") << "kinds follow what undo does to RULES";
}

// -------------------------------------------------------------------------------------------------- deletion, undo

TEST(TextStore, DeletionTellsEachObjectBeforeItsContentsInReverse)
{
  Store store;
  store.load("A: z\nEND\nA: a\nx = 1\nB: b\nu = 1\nC: c\nEND\nv = 2\nEND\ny = 2\nB: d\nEND\nEND");
  store.recordChanges();
  const std::string before = store.text();
  store.changes();
  store.deleteObj("//A:a/");
  const KSLChangeList deletion = store.takeKSLChangeList();
  EXPECT_EQ(TestSystem::render(deletion),
            "delete /A:a\ndelete /A:a/B:d\ndrop /A:a y (2)\ndelete /A:a/B:b\ndrop /A:a/B:b v (2)\n"
            "delete /A:a/B:b/C:c\ndrop /A:a/B:b u (1)\ndrop /A:a x (1)\n");
  for (const char* nothing : {"/A:a", "", "/", "A:z", "/A:z/B:b"})
    store.deleteObj(nothing);
  EXPECT_EQ(store.text() + store.changes(), "A: z\nEND\n");

  KSLAPIUpdateProcessor processor(&store, true);
  for (std::size_t i = deletion.size(); i-- > 0;)
    processor.visit(deletion[i].inverse());
  EXPECT_EQ(store.text(), before);
  EXPECT_EQ(store.changes(),
            "create /A:a\nparam /A:a x = 1\ncreate /A:a/B:b\nparam /A:a/B:b u = 1\ncreate /A:a/B:b/C:c\n"
            "param /A:a/B:b v = 2\nparam /A:a y = 2\ncreate /A:a/B:d\n")
      << "what is there already is told once";
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
  for (int round = 0; round < 2; ++round) {
    store.undo();
    EXPECT_EQ(store.text(), "A: a\n  x = 2\nEND\n");
    EXPECT_EQ(store.changes(), "");
  }
  store.deleteObj("/A:a");
  store.confirmTo(store.changeMark() + 100);
  store.undo();
  EXPECT_EQ(store.text(), "");
}

TEST(TextStore, ReplaysTolerantly)
{
  for (const bool record : {true, false}) {
    Store store;
    store.load("A: a\nx = 1\nEND");
    store.recordChanges();
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
    KSLAPIUpdateProcessor processor(&store, record);
    changes.process(KSLChangeList::Direction::forward, &processor);
    EXPECT_EQ(store.text(), "A: a\n  x = 2\nEND\nA: b\n  B: c\n    x = 1\n  END\nEND\n");
    EXPECT_EQ(store.changes(),
              record ? "create /A:b\ncreate /A:b/B:c\nparam /A:b/B:c x = 1\nchange /A:a x = 2 (1)\n"
                       "param /A:a y = 3\ndrop /A:a y (3)\n"
                     : "");
    store.undo();
    EXPECT_EQ(store.text(), "A: a\n  x = 1\nEND\n");
  }
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
    store.load("A: a\nx = 1\nB: b\ny = 1\n> go\ny = 2\nC: c\nEND\nEND\nx = 3\n> stop\nz = 1\nEND");
    EXPECT_EQ(store.text(), expected);
    store.undo();
  };
  const std::string inside = "  B: b\n    y = 2\n    C: c\n    END\n  END\n";
  loading([&] { store.deleteObj("/A:a"); }, "A: a\n" + inside + "  x = 3\nEND\n");
  loading([&] { store.deleteObj("/A:a/B:b"); }, "A: a\n  x = 3\n" + inside + "END\n");
  loading([&] { store.undo(); }, "A: a\n" + inside + "  x = 3\nEND\n");
  // A nested text knows nothing of the blocks open outside, nor they of it.
  loading([&] { store.load("END\nD: d\n> deeper\nE: e\nq = 1\n"); },
          "A: a\n  x = 3\n" + inside + "END\nD: d\n  E: e\n    q = 1\n  END\nEND\n");

  store.onAction = [](const std::string&) -> bool { throw std::string("out"); };
  EXPECT_THROW(store.load("A: a\nx = 1\n> throw\nx = 2"), std::string);
  EXPECT_EQ(store.text(), "A: a\n  x = 1\nEND\n");
  store.takeActions();
  store.registerDefaultActionHandler(nullptr);
  store.load("A: b\n> nobody\nEND");
  EXPECT_EQ(store.takeActions(), "");
}

// ----------------------------------------------------------------------------------------------- libraries, validation

TEST(Libraries, AreReadInOrder)
{
  const TempFolder folder;
  folder.write("one/b.ksl", "A: b\r\nx = 1 \\\r\n  + 2\r\nEND\r\n");
  folder.write("one/a.ksl", "A: a\nEND");
  folder.write("one/c.txt", "not read");
  folder.write("two/a.ksl", "# nothing here\n");
  const std::string lone = folder.write("two/lone", "A: lone\nEND\n");
  Store store;
  store.readNamedLibraries(lone + " , " + folder / "one,", "");
  EXPECT_EQ(store.text(), "A: lone\nEND\nA: a\nEND\nA: b\n  x = 1 + 2\nEND\n");
  store.undo();
  setenv("ORV_KSL_LIBRARY_PATH", (folder / "two:" + folder / "one").c_str(), 1);
  store.readLibraries();
  unsetenv("ORV_KSL_LIBRARY_PATH");
  EXPECT_EQ(store.text(), "A: a\nEND\nA: b\n  x = 1 + 2\nEND\n");
}

TEST(Libraries, LeaveTheStoreAloneWhenOneIsBad)
{
  const TempFolder folder;
  Store store;
  store.load("K: k\nEND");
  store.recordChanges();
  store.load("K: k\ny = 1\nEND");
  const std::string good = folder.write("a.ksl", "K: k\nx = 1\nEND\nA: a\nEND");
  const auto expect = [&]<class Exception>(const std::string& file, const std::string& message, Exception*) {
    const auto read = [&] { store.readNamedLibraries(good, file); };
    EXPECT_EQ(thrown<Exception>(read), ErrorMsg("KSLAPI", "readNamedLibraries", message, 4));
    EXPECT_EQ(store.text(), "K: k\n  y = 1\nEND\n");
    EXPECT_EQ(TestSystem::render(*store.getKSLChangeList()), "create /K:k\nparam /K:k y = 1\n");
  };
  const ksl::invalid* const invalid = nullptr;
  const file::error* const unreadable = nullptr;
  std::string file = folder / "none";
  expect(file, "Cannot read KSL library '" + file + "': No such file or directory.", unreadable);
  file = folder.write("act.ksl", "A: b\nEND\n\n  >delete   /A:a # x\n");
  expect(file, "Action line in KSL library '" + file + "', line 4: '>delete /A:a # x'.", invalid);
  file = folder.write("open.ksl", "A: b\nB: c\nEND\n");
  expect(file, "Not enough END statements in KSL library '" + file + "'.", invalid);
  file = folder.write("syntax.ksl", "A: b\n?\n");
  expect(file, "Syntax error in KSL line: '?'. (KSL library '" + file + "')", invalid);
  store.undo();
  EXPECT_EQ(store.text(), "K: k\nEND\n");
}

TEST(TextStore, ValidatesTheChangesAgainstWhatItWasTold)
{
  Store store;
  store.load(kinds);
  store.load("RULES:\nSINGLETON: E\nEND\nEND");
  store.defineType("O", {"p", "q", "r"}, false);
  store.defineType("E", {}, true);
  store.recordChanges();
  // What is wrong with the changes that a text makes, which are taken back then.
  const auto refusal = [&store](const std::string& text, const std::string& goes = {}) {
    std::string message;
    store.load(text);
    if (!goes.empty())
      store.clearKSLChangeList();
    KSLAPIUpdateProcessor(&store, true).deletedParam(goes, "x", "");
    try {
      store.validateKSLData();
    } catch (const ksl::invalid& error) {
      message = toText(ErrorMsg(error));
    }
    store.undo();
    return message;
  };
  const std::string noType = "error[4] KSLAPI::validateKSLData: Object type 'U' is not defined.";
  const std::string noParam =
      "error[4] KSLAPI::validateKSLData: Parameter 'p' is not defined for object type 'S'.";
  store.clearKSLChangeList();
  EXPECT_EQ(refusal("U: u\nEND"), "");
  store.enableValidation(true);
  EXPECT_EQ(refusal("U: u\nEND"), noType);
  EXPECT_EQ(refusal("O: o\np = 1\nq = 2\nr = 3\nEND\nS:\nEND\nE:\nany = 1\nEND"), "");
  EXPECT_EQ(refusal("S:\np = 1\nEND"), noParam);
  EXPECT_EQ(refusal("U: u\nx = 1\nEND", "/U:u"), "") << "what goes needs no definition";
  store.defineType("S", {"p"}, false);
  EXPECT_EQ(refusal("S:\np = 1\nEND"), "");
}

// --------------------------------------------------------------------------------------------------------- queries

TEST(TextStore, ListsParametersAndChildrenInOneOrder)
{
  Store store;
  store.load("A: a\nx = 1\nB: b\nEND\ny = \"p, q\", [r, s], \"t\"\nC:\nEND\nEND");
  std::string entries;
  for (const KSLAPI::ObjectInfo& info : store.getObjectInfo("/A:a/"))
    entries += info.getKind() + "|" + info.getType() + "|" + info.getName() + "|" + info.getPath() + "|"
               + info.getValue() + "\n";
  EXPECT_EQ(entries,
            "Param||x|/A:a/x|1\nObject|B|b|/A:a/B:b|\nParam||y|/A:a/y|\"p, q\", [r, s], "
            "\"t\"\nObject|C|C|/A:a/C|\n");
  EXPECT_EQ(store.getObjectInfo("/").size(), 1U);
  EXPECT_TRUE(store.getObjectInfo("/A:b").empty());
  EXPECT_EQ(store.getStringList("/A:a/y"), (Texts{"p, q", "[r, s]", "t"}));
  for (const char* nothing : {"/A:a/z", "/A:a", "y", ""})
    EXPECT_TRUE(store.getStringList(nothing).empty()) << nothing;
  EXPECT_TRUE(store.doesPathExist("/A:a//B:b") && store.doesPathExist("/"));
  EXPECT_FALSE(store.doesPathExist("A:a") || store.doesPathExist("/A:a/x"));
}

TEST(TextStore, ManyParametersKeepTheirPlaces)
{
  Store store;
  std::string text = "A: a\n";
  Texts expected;
  for (int i = 0; i < 100; ++i) {
    text += "p" + std::to_string(i) + " = " + std::to_string(i) + "\n";
    if (i % 3 != 1)
      expected.push_back(std::to_string(i));
  }
  store.load(text + "END");
  KSLAPIUpdateProcessor processor(&store, true);
  for (int i = 1; i < 100; i += 3)
    processor.deletedParam("/A:a", "p" + std::to_string(i), "");
  processor.newParam("/A:a", "p4", "new");
  processor.changedParam("/A:a", "p99", "last", "");
  expected.back() = "last";
  expected.push_back("new");
  Texts values;
  for (const KSLAPI::ObjectInfo& info : store.getObjectInfo("/A:a")) {
    values.push_back(info.getValue());
    ASSERT_TRUE(store.findParam("/A:a", info.getName()));
    EXPECT_EQ(*store.findParam("/A:a", info.getName()), info.getValue());
  }
  EXPECT_EQ(values, expected);
  EXPECT_FALSE(store.findParam("/A:a", "p1"));
}

TEST(TextStore, NestsDeeply)
{
  std::string text;
  for (int i = 0; i < 3000; ++i)
    text += "A: a\nx = " + std::to_string(i) + "\n";
  Store store;
  store.load(text);
  const std::string full = store.text();
  store.recordChanges();
  store.deleteObj("/A:a");
  EXPECT_EQ(store.text(), "");
  store.undo();
  EXPECT_EQ(store.text(), full);
}

}  // namespace
}  // namespace orv
