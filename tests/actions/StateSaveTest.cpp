// The action savestate: what is written, and what becomes of the file.
#include "platform/ORVSystem.h"
#include "actions/WriteStateExecutor.h"
#include "stateRules.h"
#include "tests/support/Model.h"

#include <algorithm>
#include <rapidcheck/gtest.h>
#include <sys/resource.h>

namespace orv {
namespace {

using StateSave = StateFiles;

TEST_F(StateSave, Modes)
{
  const std::string file = folder / "a.qst";
  const std::string refused = "error[4] WriteStateExecutor::invoke: Overwrite not allowed: " + file;
  const std::string name = ", filename=" + file;
  const struct {
    const char* row;
    std::string before;  // of the file; "(none)"
    std::string mode;    // in STATE
    std::string arguments;
    std::string errors;
    std::string after;  // the first line, when it was written "new"
  } table[] = {
      {"none, there", "old", "", "mode = none" + name, refused, "old"},
      {"nothing said", "old", "", "filename = " + file, "", "new"},
      {"none in STATE", "old", "None", "filename=" + file, refused, "old"},
      {"file and mode in STATE", "old", "Overwrite", "", "", "new"},
      {"odd mode in STATE", "old", "append", "filename=" + file,
       "error[4] WriteStateExecutor::invoke: Invalid parameter value: mode.", "old"},
      {"odd mode", "old", "", "mode=None" + name,
       "error[4] WriteStateExecutor::invoke: Invalid parameter value: 'None'.", "old"},
      {"odd argument", "old", "", "file=" + file,
       "error[4] WriteStateExecutor::invoke: Invalid parameter in savestate: 'file'.", "old"},
      {"no such status", "old", "", "mode=none, filename=" + file + "/x",
       "error[4] WriteStateExecutor::invoke: File status error: '" + file + "/x' - Not a directory.", "old"},
      {"no such directory", "(none)", "", "filename=" + file + "/x",
       "error[4] ORVFile::replace: Cannot write file '" + file + "/x': No such file or directory.", "(none)"},
  };
  for (const auto& row : table) {
    std::filesystem::remove(file);
    if (row.before != "(none)")
      folder.write("a.qst", row.before);
    system.run("&replace STATE:\nState Filename = " + file + "\nSave State Mode = " + row.mode + "\nEND");
    system.run("> savestate " + row.arguments);
    EXPECT_EQ(system.errors(), row.errors) << row.row;
    const std::string after = folder.read("a.qst");
    EXPECT_EQ(after.starts_with("# State file created: 2") ? "new" : after, row.after) << row.row;
  }
}

const char* const someObjects = R"(A: a
  x = 1
  y = "one # two"
  B: inner
    x = a text of many words that does not fit on one line, so that it is broken after a blank
    SYMBOL: hidden
      B: lost
      END
    END
    A: below
    END
  END
END
A: a b
END
B: a
END
SYMBOL: s
  B: child
  END
END
STATE:
END
DATA READER:
END
BOUNDARY: wall
  Visibility = Off
  Domain List = one
END
)";

TEST_F(StateSave, Text)
{
  system.run(someObjects);
  save("a.qst");
  EXPECT_EQ(system.errors(), "");
  EXPECT_EQ(body("a.qst"), R"(A:a
  x = 1
  y = "one # two"
  B:inner
    x = a text of many words that does not fit on one line, so that it is \
    broken after a blank
    A:below
    END
  END
END
A:a b
END
B:a
END
BOUNDARY:wall
  Visibility = Off
END
)") << "no program types nor their contents, no unused reader, no Domain List, no internal parameter, no "
       "default "
       "that is not allowed";
}

TEST_F(StateSave, Lists)
{
  system.run(someObjects);
  const std::string below = "A:a\n  B:inner\n    A:below\n    END\n  END\nEND\n";
  const auto missing = [](const std::string& item) {
    return "error[4] WriteStateExecutor::writeStateData: Cannot find object " + item
           + ". No state written for that object.";
  };
  const struct {
    std::string list;
    std::string body;
    std::string errors = {};
  } table[] = {
      {"object=/A:a/B:inner/A:below", below},
      {"object=A:a/B:inner/A:below, object=/A:a/B:inner/A:below", below},
      {"object=a b", "A:a b\nEND\n"},
      {"object=a", "", missing("a")},
      {"object=/A:z, object=/B:a", "B:a\nEND\n", missing("/A:z")},
      {"object=/STATE, object=/SYMBOL:s/B:child, object=DATA READER, object=/", ""},
  };
  for (const auto& row : table) {
    save("a.qst", ", " + row.list);
    EXPECT_EQ(system.errors(), row.errors) << row.list;
    EXPECT_EQ(body("a.qst"), row.body) << row.list;
  }
  save("a.qst", ", object=/B:a, object=/A:a");
  const std::string once = body("a.qst");
  for (const char* list : {", object=/A:a/B:inner, object=/B:a, object=/A:a",
                           ", object=/B:a, object=/A:a, object=/A:a/B:inner"}) {
    save("a.qst", list);
    EXPECT_EQ(once, body("a.qst")) << "a child listed with its parent is written once, inside it" << list;
  }
  system.run("STATE:\nSave State Objects = /A:a b, \"/B:a\"\nEND");
  save("a.qst");
  EXPECT_EQ(body("a.qst"), "A:a b\nEND\nB:a\nEND\n") << "names from STATE keep their blanks";
}

TEST_F(StateSave, ReplacesWhatTheNameLeadsTo)
{
  namespace fs = std::filesystem;
  system.run("A: a\nEND");
  folder.write("real.qst", "old");
  fs::permissions(folder / "real.qst", fs::perms::owner_read | fs::perms::owner_write);
  fs::create_symlink("real.qst", folder / "link.qst");
  fs::create_symlink("nowhere.qst", folder / "broken.qst");
  for (const char* name : {"link.qst", "broken.qst"})
    save(name);
  EXPECT_EQ(system.errors(), "");
  EXPECT_TRUE(fs::is_symlink(folder / "link.qst"));
  EXPECT_EQ(body("real.qst"), "A:a\nEND\n");
  EXPECT_EQ(body("nowhere.qst"), "A:a\nEND\n");
  EXPECT_EQ(fs::status(folder / "real.qst").permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 4)
      << "no leftovers";
}

TEST_F(StateSave, TellsOfValuesThatCannotBeReadBack)
{
  system.run("A: a\nx = \"a # b\"\nEND\nB: c\nEND\nB: d\nEND\nB: e\nEND\nB: f\nEND");
  const auto set = [](const char* path, const char* value) {
    ObjectDB::instance()->getObjectByPath(path)->setValue("x", value);
  };
  set("/B:c", "a # b");
  set("/B:d", "a  b");
  set("/B:e", "a\nb");
  set("/B:f", "a ");
  save("a.qst");
  std::string expected;
  for (const char* path : {"/B:c", "/B:d", "/B:e", "/B:f"})
    expected += std::string(expected.empty() ? "" : "\n")
                + "warning[8] WriteStateExecutor::validatedParameters: Value of parameter 'x' of object '"
                + path + "' cannot be read back.";
  EXPECT_EQ(system.errors(), expected);

  class Remover : public ErrorSink {
   public:
    Remover() : m_before(ErrorProgressReporter::instance()->setSink(this)) {}
    ~Remover() override { ErrorProgressReporter::instance()->setSink(m_before); }
    void report(const ErrorMsg&) override
    {
      if (ObjectDB::instance()->getObjectByPath("/B:c"))
        KSLCoreAPI::instance()->processKSL("> delete /B:c, /B:d, /B:e, /B:f", kslUpdateDefault);
    }

   private:
    ErrorSink* m_before;
  };
  const auto saved = [this](const char* name) {
    const std::string text = folder.read(name);
    return text.substr(text.find('\n'));
  };
  for (const char* const objects : {"", ", object=/B:c, object=/B:none, object=/A:a"}) {
    save("a.qst", objects);
    {
      const Remover remover;
      save("b.qst", objects);
    }
    EXPECT_EQ(saved("b.qst"), saved("a.qst")) << "what it was when the text was made";
    EXPECT_EQ(ObjectDB::instance()->getObjectByPath("/B:c"), nullptr);
    system.undo();
  }
}

class Careful : public WriteStateExecutor {
 public:
  Careful() { excludeObject("A", "secret"); }
};

TEST_F(StateSave, APartIsNotAll)
{
  system.run("A: secret\nEND\nA: open\nA: secret\nEND\nEND\nB: secret\nEND");
  system.stateChanges().setDBStateDirty(true);
  save("a.qst", ", object=/B:secret");
  EXPECT_TRUE(system.stateChanges().isDBStateDirty());
  save("a.qst");
  EXPECT_FALSE(system.stateChanges().isDBStateDirty());
  EXPECT_NE(system.fileChanges().find("changed " + folder / "a.qst"), std::string::npos);
  Careful().invoke({"savestate", "filename=" + folder / "a.qst"});
  EXPECT_EQ(body("a.qst"), "A:open\nEND\nB:secret\nEND\n");
}

// Paths that each level kept, or that were put together for all levels at once, would take gigabytes.
TEST_F(StateSave, DeepBlocksTakeMemoryByTheLevel)
{
  constexpr int levels = 16000;
  std::string deep;
  for (const char* line : {"A: a\n", "END\n"})
    for (int i = 0; i < levels; ++i)
      deep += line;
  const auto peak = [] {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
  };
  const long before = peak();
  system.run(deep);
  save("a.qst");
  const std::string saved = body("a.qst");
  EXPECT_EQ(std::ranges::count(saved, '\n'), 2 * levels);
  EXPECT_LT(saved.size(), 2 * levels * 70U) << "in the size of its text";
  const auto isAllThere = [&] {
    save("b.qst", ", object=/A:a");
    return body("b.qst") == saved;
  };
  system.undo();
  EXPECT_EQ(work(), "");
  system.redo();
  EXPECT_TRUE(isAllThere());
  system.run("> delete /A:a");
  system.undo();
  EXPECT_TRUE(isAllThere());
  system.run("> delete /A:a");
  load("a.qst");
  EXPECT_TRUE(isAllThere());
  EXPECT_EQ(system.errors(), "");
  EXPECT_LT(peak() - before, 500) << "MiB";
}

// Texts as values can be: words and quoted pieces between single blanks, backslashes and commas anywhere.
rc::Gen<std::string> values()
{
  const auto word = rc::gen::nonEmpty(
      rc::gen::container<std::string>(rc::gen::elementOf(std::string("abz01,\\=:>()[]{}/\"%"))));
  const auto quoted = rc::gen::just(std::string("\"# a \\ b, \""));
  return rc::gen::map(
      rc::gen::nonEmpty(rc::gen::container<std::vector<std::string>>(rc::gen::oneOf(word, quoted))),
      [](auto words) { return StringUtilities::vectorToString(words, ' '); });
}

RC_GTEST_PROP(StateRoundTrip, LoadingWhatWasSavedGivesTheSameFile, ())
{
  const TempFolder folder;
  std::string first;  // objects in the order of their names: a state has its own
  {
    TestSystem system(stateRules);
    std::vector<std::string> paths{""};
    const int count = *rc::gen::inRange(1, 12);
    for (int i = 0; i < count; ++i) {
      const std::string parent = *rc::gen::elementOf(paths);
      const std::string type = *rc::gen::element<std::string>("A", "B");
      const std::string name =
          *rc::gen::element<std::string>("n", "two words", "\"a#b\"", "c\\") + std::to_string(i);
      auto [begin, end] = KSLPath(parent + "/" + type + ":" + name).makeKSLPathAndEnd();
      system.run(begin + "x = " + *values() + " #\ny = " + *values() + " #\n" + end);
      paths.push_back(KSLPath(parent + "/" + type + ":" + name).getFullPath());
    }
    RC_ASSERT(system.errors() == "");
    system.run("> savestate filename=" + folder / "a.qst");
    first = readDatabase().sorted().toText();
    RC_ASSERT(system.errors() == "");
  }
  TestSystem system(stateRules);
  system.run("> readstate mode=append, filename=" + folder / "a.qst");
  RC_ASSERT(system.errors() == "");
  system.run("> delete /FILE PROCESSING\n> savestate filename=" + folder / "b.qst");
  RC_ASSERT(readDatabase().sorted().toText() == first);
  const auto bodyOf = [&](const char* name) {
    return folder.read(name).substr(folder.read(name).find("\n\n"));
  };
  RC_ASSERT(bodyOf("a.qst") == bodyOf("b.qst"));
}

}  // namespace
}  // namespace orv
