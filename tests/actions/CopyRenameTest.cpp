// The actions copy and rename.
#include "database/KSLCoreTreeAndLeafModel.h"
#include "database/ObjectDB.h"
#include "actions/CopiedKSLModifer.h"
#include "actions/CopyExecutor.h"
#include "actions/DeleteExecutor.h"
#include "actions/DeletionFilterIF.h"
#include "actions/KSLCopyImpl.h"
#include "actions/RenameExecutor.h"
#include "actions/UpdateExecutor.h"
#include "tests/support/TestSystem.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <string>
#include <vector>

namespace orv {
namespace {

using Words = std::vector<std::string>;

class CopyRename : public testing::Test {
 protected:
  std::string value(const std::string& path, const std::string& name = "x") const
  {
    return ObjectDB::instance()->getObjectByPath(path)->getValue(name);
  }
  // Enters the action, goes back and forth, and tells the state after it. It is one step.
  std::string after(const std::string& action)
  {
    const std::string before = system.fullState();
    const std::size_t steps = system.interface()->getUndoStack().size();
    system.run(action);
    const std::string state = system.state();
    const std::string full = system.fullState();
    EXPECT_EQ(system.errors(), "");
    EXPECT_EQ(system.executive().setRelocation(nullptr), nullptr) << "nothing moves any more";
    if (full == before)
      return state;
    EXPECT_EQ(system.interface()->getUndoStack().size(), steps + 1);
    system.undo();
    EXPECT_EQ(system.fullState(), before);
    system.redo();
    EXPECT_EQ(system.fullState(), full);
    system.expectConsistent();
    return state;
  }
  TestSystem system;
};

TEST_F(CopyRename, CopiesWhatWasSetAndAllInside)
{
  const std::string cut =
      "  Colour = red\n  Offset = 2 [mm]\n  Option = Plane\n  LABEL:l\n    Text = hello\n  END\n  MARK:m\n  "
      "END\nEND\n";
  system.run(
      "CUT: a\nColour = red\nOffset = 2 [mm]\nOption = Plane\nRadius = 3 [m]\nCache = 1\n"
      "LABEL: l\nText = hello\nEND\nMARK: m\nEND\nEND\nVIEW:\nText = t\nEND");
  EXPECT_EQ(after("> copy from=/CUT:a, to=b"),
            "CUT:a\n" + cut + "CUT:b\n" + cut + "VIEW:\n  Text = t\n  Zoom = 1\nEND\n");
  EXPECT_EQ(value("/CUT:b", "Radius"), "3 [m]") << "hidden in this context";
  EXPECT_EQ(value("/CUT:b", "Cache"), "") << "internal";
  system.run("> delete /CUT:a, /CUT:b");
  EXPECT_EQ(after("> copy to = /A:new/B:b/VIEW , from = /VIEW/"),
            "A:new\n  B:b\n    VIEW:\n      Text = t\n      Zoom = 1\n    END\n  END\nEND\n"
            "VIEW:\n  Text = t\n  Zoom = 1\nEND\n")
      << "what is above the copy comes into being";
}

TEST_F(CopyRename, TakesOddNamesAndPlaces)
{
  system.run("A: a\nx = 1\ny = 2\ny =\nB: b\nEND\nEND");
  const std::string a = "A:a\n  x = 1\n  B:b\n  END\nEND\n";
  EXPECT_EQ(after("> copy from=/A:a, to=a"), a) << "to itself";
  EXPECT_EQ(after("> rename from=/A:a, to=\"/A:a/\""), a) << "to itself";
  const std::string inside =
      "A:a\n  x = 1\n  B:b\n    A:a\n      x = 1\n      B:b\n      END\n    END\n  END\nEND\n";
  EXPECT_EQ(after("> copy from=/A:a, to=/A:a/B:b/A:a"), inside) << "into itself";
  system.undo();
  const std::pair<const char*, const char*> renamings[] = {
      {"\"no # one\"", "A:\"no # one\""}, {"A", "A:A"}, {"b:c", "A:b:c"}, {"end\\ ", "A:end\\ "}};
  std::string from = "/A:a";
  for (const auto& [to, header] : renamings) {
    EXPECT_EQ(after("> rename from=\"" + from + "\", to=" + to), header + std::string("\n") + a.substr(4))
        << to;
    from = ObjectDB::instance()->getAllObjectPaths().front();
  }
  EXPECT_EQ(after("A: end\nEND\n> rename from=/A:end\\, to=/A:last"), "A:end\nEND\nA:last\n" + a.substr(4))
      << "the name that ends in a backslash, not the other";
}

TEST_F(CopyRename, AnyValueOfATextIsCopied)
{
  EXPECT_TRUE(rc::check([this] {
    const auto text = *rc::gen::container<std::string>(rc::gen::elementOf(std::string(" ab\\\"#,=:>[({/&")));
    system.run("A: a\nx = 0\nx = " + text + " \nEND\n> copy from=/A:a, to=b");
    RC_ASSERT(system.errors() == "");
    RC_ASSERT(value("/A:b") == value("/A:a"));
    RC_ASSERT(system.inconsistencies() == "");
    system.run("> delete /A:a, /A:b");
  }));
}

TEST_F(CopyRename, LinesAreTheApplicationsToModify)
{
  struct Modifier : CopiedKSLModifer {
    Words modifyLines(Words lines, const std::string& newName, const std::string& oldName,
                      const std::string& type) override
    {
      lines.insert(lines.end() - 1, "  y = " + newName + oldName + type);
      return lines;
    }
  } modifier;
  KSLCopyImpl impl(&modifier);
  CopyExecutor copy(&impl);
  system.registerAction("shared", [&copy](Words words) {
    words.front() = "copy";
    copy.invoke(words);
  });
  system.run("A: a\nEND");
  ObjectDB::instance()->getObjectByPath("/A:a")->setValue("x", "a # b");
  system.run("> shared from=/A:a, to=c");
  EXPECT_EQ(
      system.errors(),
      "warning[8] KSLCopyImpl::performCopy: Value of parameter 'x' of object '/A:a' cannot be read back.");
  EXPECT_EQ(system.state(), "A:a\n  x = a # b\nEND\nA:c\n  x = a\n  y = caA\nEND\n");
  struct Remover : ErrorSink {
    void report(const ErrorMsg&) override
    {
      KSLCoreAPI::instance()->processKSL("> delete /A:a", kslUpdateDefault);
    }
  } remover;
  ErrorSink* const before = ErrorProgressReporter::instance()->setSink(&remover);
  system.run("> shared from=/A:a, to=d");
  ErrorProgressReporter::instance()->setSink(before);
  EXPECT_EQ(system.state(), "A:c\n  x = a\n  y = caA\nEND\nA:d\n  x = a\n  y = daA\nEND\n")
      << "told once it is copied";
}

TEST_F(CopyRename, ARenameThatMayNotDeleteIsTakenBack)
{
  class KeepAll : public DeletionFilterIF {
   public:
    void filter(Words& paths) override { paths.clear(); }
  } keepAll;
  ActionFactory guarded;
  guarded.registerExecutor("update", new UpdateExecutor(&system.executive()));
  guarded.registerExecutor("delete", new DeleteExecutor(&keepAll));
  guarded.registerExecutor("rename", new RenameExecutor);
  system.run("A: a\nx = 1\nEND");
  system.executive().setActionFactory(&guarded);
  system.run("> rename from=/A:a, to=b");
  EXPECT_EQ(system.errorList(),
            std::vector{ErrorMsg("RenameExecutor", "invoke",
                                 "Object '/A:a' cannot be renamed because it must not be deleted.", 4)});
  EXPECT_EQ(system.state(), "A:a\n  x = 1\nEND\n");
  system.expectConsistent();
  system.executive().setActionFactory(&system.actions());
}

}  // namespace
}  // namespace orv
