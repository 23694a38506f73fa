// The text store: what texts become, what is told of it, and how it is taken back.
#include "platform/ORVError.h"
#include "platform/ORVKSLAPI.h"
#include "tests/support/TestSystem.h"
#include "tests/support/thrown.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace orv {
namespace {

using Texts = std::vector<std::string>;

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

// ------------------------------------------------------------------------------------------------------ reading text

struct LineCase {
  const char* name;
  const char* text;
  const char* changes;
  const char* actions = "";
};

TEST(TextStore, ReadsEveryKindOfLine)
{
  const LineCase cases[] = {
      {"empty", "", ""},
      {"blanks and comments", "\n  \t\n# A: a\n", ""},
      {"a block", "A: a\nx = 1\nEND", "create /A:a\nparam /A:a x = 1\n"},
      {"comments are cut everywhere", "A: a # B: b\nx = 1 # 2\nEND # x\n>do # it\nB: b\nEND",
       "create /A:a\nparam /A:a x = 1\ncreate /B:b\n", "[do]"},
      {"a quoted hash stays", "A: a\nx = \"1 # 2\" # 3\ny = \" # z\nEND",
       "create /A:a\nparam /A:a x = \"1 # 2\"\nparam /A:a y = \"\n"},
      {"names lose quotes and outer blanks, keep inner ones",
       "  DATA  READER :  \" a  b\" \n \"p q\" = r s \nEND",
       "create /DATA  READER:a  b\nparam /DATA  READER:a  b p q = r s\n"},
      {"a name may hold a colon", "A: b:c\nEND", "create /A:b:c\n"},
      {"values may look like other things", "A: a\nx = y = :z\nEND = >3\ny =\nEND",
       "create /A:a\nparam /A:a x = y = :z\nparam /A:a END = >3\nparam /A:a y = \n"},
      {"nested", "A: a\nB: b\nx = 1\nC: c\nEND\nEND\nx = 2\nEND",
       "create /A:a\ncreate /A:a/B:b\nparam /A:a/B:b x = 1\ncreate /A:a/B:b/C:c\nparam /A:a x = 2\n"},
      {"surplus and missing END", "END\nA: a\nEND\nEND\nA: b\nB: c\n",
       "create /A:a\ncreate /A:b\ncreate /A:b/B:c\n"},
      {"actions in their place", "> a, b  c\nA: a\n>x=1\nEND\n>\n> # x", "create /A:a\n",
       "[a, b  c][x=1][][]"},
      {"replace mode of what is new", "&replace A: a\nx = 1\nEND", "create /A:a\nparam /A:a x = 1\n",
       "{/A:a}"},
      {"ends as CR LF leave them", "A: a\r\nx = 1\r\nEND\r\nA: b\nEND",
       "create /A:a\nparam /A:a x = 1\ncreate /A:b\n"},
      {"bytes above 127", "A: \xc3\xa4\nx = \xff\nEND", "create /A:\xc3\xa4\nparam /A:\xc3\xa4 x = \xff\n"},
      // kinds: O is an object, S a singleton, U unknown
      {"singleton", "S:\nEND\nS: S\nx = 1\nEND\nS: t\nEND", "create /S\nparam /S x = 1\ncreate /S:t\n"},
      {"object", "O:\nEND\nO: O\nx = 1\nEND\nO: t\nEND", "create /O:O\nparam /O:O x = 1\ncreate /O:t\n"},
      {"unknown", "U:\nEND\nU: U\nx = 1\nEND\nU: t\nEND", "create /U\nparam /U x = 1\ncreate /U:t\n"},
  };
  for (const LineCase& entry : cases) {
    SCOPED_TRACE(entry.name);
    Store store;
    store.load(kinds);
    store.clearKSLChangeList();
    store.load(entry.text);
    EXPECT_EQ(store.changes(), entry.changes);
    EXPECT_EQ(store.takeActions(), entry.actions);
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
}

TEST(TextStore, MergesIntoWhatIsThere)
{
  Store store;
  store.load("A: a\nx = 1\nB: b\nEND\ny = 2\nEND\nA: c\nEND");
  store.changes();
  store.load("A: \"a\"\ny = 2\nz = 3\nx = 4\nx = 5\nB: b\nEND\ny =\nEND");
  EXPECT_EQ(store.changes(),
            "param /A:a z = 3\nchange /A:a x = 4 (1)\nchange /A:a x = 5 (4)\nchange /A:a y =  (2)\n");
  EXPECT_EQ(store.text(), "A: a\n  x = 5\n  B: b\n  END\n  y = \n  z = 3\nEND\nA: c\nEND\n");
  store.load("A: a\nx = 5\nEND");
  EXPECT_EQ(store.changes(), "") << "the same text again is no change";

  store.load("&replace A: a\nB: b\nEND\nx = 6\nEND");
  EXPECT_EQ(store.changes(),
            "delete /A:a\ndrop /A:a z (3)\ndrop /A:a y ()\ndelete /A:a/B:b\ndrop /A:a x (5)\n"
            "create /A:a\ncreate /A:a/B:b\nparam /A:a x = 6\n");
  EXPECT_EQ(store.text(), "A: c\nEND\nA: a\n  B: b\n  END\n  x = 6\nEND\n");
  EXPECT_EQ(store.takeActions(), "{/A:a}");
  store.undo();
  EXPECT_EQ(store.text(), "");
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
  const char* const text =
      "A: z\nEND\nA: a\nx = 1\nB: b\nu = 1\nC: c\nEND\nv = 2\nEND\ny = 2\nB: d\nEND\nEND";
  Store store;
  store.load(text);
  const std::string before = store.text();
  store.changes();
  store.deleteObj("//A:a/");
  const KSLChangeList deletion = store.takeKSLChangeList();
  EXPECT_EQ(TestSystem::render(deletion),
            "delete /A:a\ndelete /A:a/B:d\ndrop /A:a y (2)\ndelete /A:a/B:b\ndrop /A:a/B:b v (2)\n"
            "delete /A:a/B:b/C:c\ndrop /A:a/B:b u (1)\ndrop /A:a x (1)\n");
  EXPECT_EQ(store.text(), "A: z\nEND\n");
  for (const char* nothing : {"/A:a", "", "/", "A:z", "/A:z/B:b"})
    store.deleteObj(nothing);
  EXPECT_EQ(store.text() + store.changes(), "A: z\nEND\n");

  KSLChangeList inverse;
  for (std::size_t i = deletion.size(); i-- > 0;)
    inverse.add(deletion[i].inverse());
  KSLAPIUpdateProcessor processor(&store, true);
  inverse.process(KSLChangeList::Direction::forward, &processor);
  EXPECT_EQ(store.text(), before);
  EXPECT_EQ(store.changes(),
            "create /A:a\nparam /A:a x = 1\ncreate /A:a/B:b\nparam /A:a/B:b u = 1\ncreate /A:a/B:b/C:c\n"
            "param /A:a/B:b v = 2\nparam /A:a y = 2\ncreate /A:a/B:d\n")
      << "what is there already is told once";
  store.deleteObj("/A:a");
  store.recordChanges();
  store.load(text);
  store.recordChanges();
  store.deleteObj("/A:z");
  store.undo();
  EXPECT_EQ(store.text(), before.substr(before.find('\n', 6) + 1) + "A: z\nEND\n")
      << "itself it comes back last";
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
  store.confirmTo(mark);
  store.confirmTo(mark - 1);  // older than what is confirmed: nothing
  store.undo();
  EXPECT_EQ(store.text(), "A: a\n  x = 2\nEND\n");
  EXPECT_EQ(store.changes(), "");
  store.undo();
  EXPECT_EQ(store.text(), "A: a\n  x = 2\nEND\n");
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
  const auto deletes = [&](const char* path) {
    return [&store, path](const std::string&) {
      store.deleteObj(path);
      return true;
    };
  };
  const char* const text = "A: a\nx = 1\nB: b\ny = 1\n> go\ny = 2\nC: c\nEND\nEND\nx = 3\nEND";
  store.onAction = deletes("/A:a");
  store.load(text);
  EXPECT_EQ(store.text(), "A: a\n  B: b\n    y = 2\n    C: c\n    END\n  END\n  x = 3\nEND\n");
  store.undo();
  store.onAction = deletes("/A:a/B:b");
  store.load(text);
  EXPECT_EQ(store.text(), "A: a\n  x = 3\n  B: b\n    y = 2\n    C: c\n    END\n  END\nEND\n");
  store.undo();

  // A nested text knows nothing of the blocks open outside, nor they of it.
  store.onAction = [&](const std::string& action) {
    if (action == "go")
      store.load("END\nD: d\n> deeper\nE: e\nq = 1\n");
    return true;
  };
  store.load(text);
  EXPECT_EQ(store.text(),
            "A: a\n  x = 3\n  B: b\n    y = 2\n    C: c\n    END\n  END\nEND\n"
            "D: d\n  E: e\n    q = 1\n  END\nEND\n");
  store.undo();

  store.onAction = [&](const std::string&) {
    store.undo();
    return true;
  };
  store.load(text);
  EXPECT_EQ(store.text(), "A: a\n  B: b\n    y = 2\n    C: c\n    END\n  END\n  x = 3\nEND\n");
  store.undo();

  store.onAction = [](const std::string&) { return false; };
  store.load("A: a\n> stop\nx = 1\n> never\nEND");
  EXPECT_EQ(store.text(), "A: a\nEND\n");
  store.onAction = [](const std::string&) -> bool { throw std::string("out"); };
  EXPECT_THROW(store.load("A: a\nx = 1\n> throw\nx = 2"), std::string);
  EXPECT_EQ(store.text(), "A: a\n  x = 1\nEND\n");
  store.takeActions();
  store.registerDefaultActionHandler(nullptr);
  store.load("A: b\n> nobody\nEND");
  EXPECT_EQ(store.takeActions(), "");
}

// ----------------------------------------------------------------------------------------------- libraries, validation

class Libraries : public testing::Test {
 protected:
  Libraries()
  {
    std::string pattern = (std::filesystem::temp_directory_path() / "kslXXXXXX").string();
    dir = mkdtemp(pattern.data());
  }
  ~Libraries() override
  {
    unsetenv("ORV_KSL_LIBRARY_PATH");
    std::filesystem::remove_all(dir);
  }
  std::string write(const std::string& name, const std::string& text)
  {
    const std::string file = dir + "/" + name;
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    std::ofstream(file, std::ios::binary) << text;
    return file;
  }
  std::string dir;
  Store store;
};

TEST_F(Libraries, AreReadInOrder)
{
  write("one/b.ksl", "A: b\r\nx = 1 \\\r\n  + 2\r\nEND\r\n");
  write("one/a.ksl", "A: a\nEND");
  write("one/c.txt", "not read");
  write("two/a.ksl", "# nothing here\n");
  const std::string lone = write("two/lone", "A: lone\nEND\n");
  store.readNamedLibraries(lone + " , " + dir + "/one,", "");
  EXPECT_EQ(store.text(), "A: lone\nEND\nA: a\nEND\nA: b\n  x = 1 + 2\nEND\n");
  store.undo();
  setenv("ORV_KSL_LIBRARY_PATH", (dir + "/two:" + dir + "/one").c_str(), 1);
  store.readLibraries();
  EXPECT_EQ(store.text(), "A: a\nEND\nA: b\n  x = 1 + 2\nEND\n");
  store.undo();
  unsetenv("ORV_KSL_LIBRARY_PATH");
  store.readNamedLibraries("", "");
  EXPECT_EQ(store.text() + store.takeActions(), "");
}

TEST_F(Libraries, LeaveTheStoreAloneWhenOneIsBad)
{
  store.load("K: k\nEND");
  store.recordChanges();
  store.load("K: k\ny = 1\nEND");
  const std::string before = store.text();
  const std::string good = write("a.ksl", "K: k\nx = 1\nEND\nA: a\nEND");
  const auto expect = [&]<class Exception>(const std::string& file, const std::string& message, Exception*) {
    const auto read = [&] { store.readNamedLibraries(good, file); };
    EXPECT_EQ(thrown<Exception>(read), ErrorMsg("KSLAPI", "readNamedLibraries", message, 4));
    EXPECT_EQ(store.text(), before);
    EXPECT_EQ(TestSystem::render(*store.getKSLChangeList()), "create /K:k\nparam /K:k y = 1\n");
  };
  const ksl::invalid* const invalid = nullptr;
  const file::error* const unreadable = nullptr;
  std::string file = dir + "/none";
  expect(file, "Cannot read KSL library '" + file + "': No such file or directory.", unreadable);
  file = write("act.ksl", "A: b\nEND\n\n\\\n  >delete   /A:a # x\n");
  expect(file, "Action line in KSL library '" + file + "', line 4: '>delete /A:a # x'.", invalid);
  file = write("open.ksl", "A: b\nB: c\nEND\n");
  expect(file, "Not enough END statements in KSL library '" + file + "'.", invalid);
  file = write("syntax.ksl", "A: b\n?\n");
  expect(file, "Syntax error in KSL line: '?'. (KSL library '" + file + "')", invalid);
  store.undo();
  EXPECT_EQ(store.text(), "K: k\nEND\n");
}

TEST(TextStore, ValidatesTheChangesAgainstTheRules)
{
  Store store;
  store.load(kinds);
  store.clearKSLChangeList();
  const auto check = [&] { store.validateKSLData(); };
  store.load("U: u\nEND");
  EXPECT_NO_THROW(check());
  store.enableValidation(true);
  EXPECT_EQ(thrown<ksl::invalid>(check),
            ErrorMsg("KSLAPI", "validateKSLData", "Object type 'U' is not defined.", 4));
  store.undo();
  store.load(kinds);
  store.clearKSLChangeList();
  store.load("O: o\np = 1\nq = 2\nr = 3\nEND\nS:\nEND");
  EXPECT_NO_THROW(check());
  store.load("S:\np = 1\nEND");
  EXPECT_EQ(thrown<ksl::invalid>(check),
            ErrorMsg("KSLAPI", "validateKSLData", "Parameter 'p' is not defined for object type 'S'.", 4));
  EXPECT_EQ(store.getKSLChangeList()->size(), 6U);
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
  EXPECT_EQ(store.getExpandedKSL(),
            (Texts{"A: a", "x = 1", "B: b", "END", "y = \"p, q\", [r, s], \"t\"", "C:", "END", "END"}));
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
  store.undo();
  EXPECT_EQ(store.text(), "");
}

TEST(TextStore, NestsDeeply)
{
  constexpr int depth = 3000;
  std::string text;
  for (int i = 0; i < depth; ++i)
    text += "A: a\nx = " + std::to_string(i) + "\n";
  Store store;
  store.load(text);
  const std::string full = store.text();
  store.recordChanges();
  store.deleteObj("/A:a");
  EXPECT_EQ(store.getKSLChangeList()->size(), 4U * depth);
  EXPECT_EQ(store.text(), "");
  store.undo();
  EXPECT_EQ(store.text(), full);
}

}  // namespace
}  // namespace orv
