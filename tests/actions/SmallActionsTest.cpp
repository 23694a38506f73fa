// All actions but those of files, and but what copy and rename do.
#include "platform/ORVApplicationSupport.h"
#include "platform/ORVError.h"
#include "database/ObjectDB.h"
#include "actions/DeleteExecutor.h"
#include "actions/DeletionFilterIF.h"
#include "actions/UpdateExecutor.h"
#include "tests/support/TestSystem.h"
#include "tests/support/thrown.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace orv {
namespace {

using Words = std::vector<std::string>;

class SmallActions : public testing::Test {
 protected:
  TestSystem system;
};

TEST_F(SmallActions, ExecutorsHandleTheirOwnWordsOnly)
{
  const std::pair<const char*, const char*> all[] = {
      {"update", "UpdateExecutor"},       {"undo", "UndoExecutor"},
      {"redo", "RedoExecutor"},           {"s", "GetStateExecutor"},
      {"delete", "DeleteExecutor"},       {"getrulesinfo", "GetRulesInfoExecutor"},
      {"copy", "CopyExecutor"},           {"rename", "RenameExecutor"},
      {"notify", "NotifyExecutor"},       {"db", "DebugExecutor"},
      {"fu", "ForceUpdateExecutor"},      {"session", "WriteSessionExecutor"},
      {"rs", "ReadSessionExecutor"},      {"savestate", "WriteStateExecutor"},
      {"readstate", "ReadStateExecutor"},
  };
  for (const auto& [word, name] : all) {
    ActionExecutor* const executor = system.actions().getExecutor(word);
    const std::string function = name == std::string("ReadSessionExecutor") ? "validateAction" : "invoke";
    EXPECT_EQ(thrown<internal::badParam>([&] { executor->invoke({}); }),
              ErrorMsg(name, function, "Input parameter p_action is empty.", 4));
    EXPECT_EQ(thrown<internal::badParam>([&] {
                executor->invoke({"Update", "x"});
              }),
              ErrorMsg(name, function, std::string("Action 'Update' cannot be handled by ") + name + ".", 4));
  }
  UpdateExecutor lost(nullptr);
  EXPECT_EQ(thrown<internal::error>([&] { lost.invoke({"update"}); }),
            ErrorMsg("UpdateExecutor", "invoke", "Pointer to Executive not set.", 4));
}

TEST_F(SmallActions, BadArgumentsAreRefusedBeforeAnyChange)
{
  system.run("A: a\nB: b\nEND\nEND\nA: c\nEND\nVIEW:\nEND\nB: b\nEND");
  const std::string before = system.fullState();
  const std::string rules = "GetRulesInfoExecutor::invoke: ";
  const std::string notify = "NotifyExecutor::invoke: ";
  const std::string count = notify + "Did not specify correct number of parameters";
  const std::string copy = "KSLCopyImpl::parseParams: Action 'copy' ";
  const std::string paths = "KSLCopyImpl::normalisePaths: ";
  const std::string perform = "KSLCopyImpl::performCopy: ";
  const std::string read = "ReadSessionExecutor::";
  const std::pair<const char*, std::string> rows[] = {
      {"getstate",
       "GetStateExecutor::invoke: Action 'getstate' requires 1 argument(s). Received 0 argument(s)."},
      {"delete",
       "DeleteExecutor::invoke: Action 'delete' requires at least 1 argument(s). Received 0 argument(s)."},
      {"fu",
       "ForceUpdateExecutor::invoke: Action 'forceupdate' requires at least 1 argument(s). Received 0 "
       "argument(s)."},
      {"debug verbose", "DebugExecutor::invoke: Option 'verbose' in action 'debug' is not recognized."},
      {"db", read + "invoke: Action 'debug' requires 1 argument(s). Received 0 argument(s)."},
      {"getrulesinfo /A:a", rules + "Syntax error: getrulesinfo [type=object*|parameter] name=objectname"},
      {"getrulesinfo name=/A:a, Kind=a", rules + "Invalid parameter in getrulesinfo: 'kind'."},
      {"getrulesinfo type=object, name=", rules + "Syntax error: getrulesinfo name must be specified."},
      {"getrulesinfo name=/A:a, type=rule",
       rules + "Syntax error: getrulesinfo type can be object or parameter."},
      {"getrulesinfo name=b", rules + "getrulesinfo: object b does not exist."},
      {"notify op=filechange, op=filechange, type=b", count},
      {"notify filechange", notify + "Syntax error: notify parameters should have the format: param=value"},
      {"notify Op=filechange", notify + "Invalid parameter in notify: 'Op'."},
      {"notify op=a, type= ", notify + "Empty 'type' parameter."},
      {"rs filename=", read + "readFileContents: No Filename Specified"},
      {"rs good.ksl",
       read + "processParams: Syntax error: readsession parameters should have the format: param=value"},
      {"rs mode=none", read + "processParams: Invalid parameter in readsession: 'mode'."},
      {"copy", copy + "needs a 'from' parameter and a 'to' parameter."},
      {"copy from=/A:a, To=b=c", copy + "is provided with a bad parameter 'To=b=c'."},
      {"copy from=A:a, to=b", paths + "Copy action has a 'from' parameter that is not a path: 'A:a'."},
      {"copy from=/A:a, to=b/B:c", paths + "Copy action has a 'to' parameter that is not a path: 'b/B:c'."},
      {"copy from=/VIEW, to=b",
       paths + "Attempt to copy from singleton to named object (copy from '/VIEW' to 'b')."},
      {"copy from=/A:a, to=/A:c/VIEW", paths
                                           + "Attempt to copy from singleton to named object or vice versa "
                                             "(copy from '/A:a' to '/A:c/VIEW')."},
      {"copy from=/A:a, to=/B:a",
       paths + "Attempt to copy an object to an object of different type (copy from '/A:a' to '/B:a')."},
      {"rename from=/A:a/, to=/A:a/B:b/A:d",
       paths + "Attempt to rename object '/A:a' into itself (rename to '/A:a/B:b/A:d')."},
      {"copy from=/A:d, to=e", perform + "Attempt to copy nonexistent object '/A:d' failed."},
      {"rename from=/A:a, to=c", perform + "Attempt to copy to existing object '/A:c' failed."},
      {"rename from=/A:a, to=d, to=e",
       "RenameExecutor::invoke: Did not specify correct number of parameters"},
  };
  for (const auto& [line, error] : rows) {
    system.run(std::string("> ") + line);
    EXPECT_EQ(system.errors(), "error[4] " + error) << line;
    EXPECT_EQ(system.fullState(), before) << line;
    EXPECT_EQ(system.undoSteps().front(), '1') << line;
  }
}

TEST_F(SmallActions, Printed)
{
  system.run(
      "A: a\nx = 1\nB: b\ny = 2\nEND\nMARK: m\nEND\nEND\nCUT: c d\nCuts = /CUT:e\nCache = 1\n"
      "LABEL: l\nEND\nEND\nCUT: e\nEND");
  const std::string stars = std::string(32, '*') + "\n";
  const std::string object =
      stars
      + "Current state of /CUT:c d\nChildren:\n  l\nExternal Parameters:\n  Colour = green, default=green\n"
        "  Cuts = /CUT:e, default=\n  Layers = front, default=front\n  Normal = 0, 0, 1, default=0, 0, 1\n"
        "  Offset = 0 [mm], default=0 [mm]\n  Option = Plane, default=Plane\n  Radius = 1 [m], default=1 [m]\n"
        "  Visible = True, default=True\nInternal Parameters:\n  Cache = 1, default=\n";
  const std::pair<const char*, std::string> rows[] = {
      {"getstate A:a # x", ObjectDB::instance()->getState({"/A:a"}) + "\n"},
      {"s /A:a//B:b/", ObjectDB::instance()->getState({"/A:a/B:b"}) + "\n"},
      {"s /A:none", "\n"},
      {"getrulesinfo name=/CUT:c d", object},
      {"getrulesinfo TYPE = Object, Name = \"CUT:c d/\"", object},
      {"getrulesinfo type=Parameter, name=Colour",
       stars
           + "Usage of 'Colour', default=green, local type=, remote type=\n/A:a/MARK:m, value=red\n"
             "/CUT:c d, value=green\n/CUT:e, value=green\n"},
      {"getrulesinfo name=Cuts, type=parameter",
       stars
           + "Usage of 'Cuts', default=, local type=Data, remote type=Data\n/CUT:c d, value=/CUT:e\n"
             "/CUT:e, value=\n"},
      {"getrulesinfo type=parameter, name=Normal of none", "Parameter 'Normal of none' not found.\n"},
  };
  for (const auto& [line, text] : rows) {
    testing::internal::CaptureStdout();
    system.run(std::string("> ") + line);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), text) << line;
  }
  EXPECT_EQ(system.errors(), "warning[8] ObjectDB::getState: Object '/A:none' does not exist.");
}

TEST_F(SmallActions, UndoIsRefusedWhileASessionIsReplayed)
{
  system.run("A: a\nEND");
  system.run("FILE PROCESSING:\nProcessing Mode = Session\nEND");
  system.run("> undo");
  EXPECT_EQ(system.errors(),
            "error[4] UndoExecutor::invoke: Undo is not supported in a session file.\n  It is recommended "
            "that you restart the application\n  as the current state is unknown.");
  EXPECT_EQ(system.undoSteps().front(), '2');
}

TEST_F(SmallActions, NotifyTellsOfFilesThatOthersChanged)
{
  system.fileChanges();
  system.run("> notify op=filechange, filename=a b.res, type = res");
  system.run("> notify type=x=y, filename=\"c # d\", op=filechange\n> notify op=other, filename=a, type=b");
  EXPECT_EQ(system.fileChanges(), "changed outside a b.res res; changed outside c # d x=y");
  EXPECT_EQ(system.errors(), "");
}

// ------------------------------------------------------------------------------------------------------------- delete

class Deletion : public SmallActions {
 protected:
  // Deletes in a fresh tree and tells the paths that are left.
  std::string left(const std::string& arguments)
  {
    system.run(
        "&replace A: a\nx = 1\nB: b\nC: c\nEND\nEND\nB: d\nEND\nEND\n&replace A: e f\nEND\n"
        "&replace VIEW:\nEND\n&replace CUT: a\nOption = Plane\nEND");
    EXPECT_EQ(system.errors(), "");
    system.run("> delete " + arguments);
    system.expectConsistent();
    return StringUtilities::vectorToString(ObjectDB::instance()->getAllObjectPaths(), ' ') + " ";
  }
};

TEST_F(Deletion, TakesPathsAndNames)
{
  const std::string all = "/A:a /A:a/B:b /A:a/B:b/C:c /A:a/B:d /A:e f /CUT:a /VIEW ";
  const std::pair<const char*, const char*> cases[] = {
      {"/A:a/B:b/, /A:a//B:d", "/A:a /A:e f /CUT:a /VIEW "},
      {"/A:a/B:b/C:c, /A:a, /A:a, /A:a/B:b", "/A:e f /CUT:a /VIEW "},
      {"e f, VIEW", "/A:a /A:a/B:b /A:a/B:b/C:c /A:a/B:d /CUT:a "},
      {"nobody, /A:none, , b, A:a", all.c_str()},
      {"/", all.c_str()},
      {"/, /VIEW # gone", "/A:a /A:a/B:b /A:a/B:b/C:c /A:a/B:d /A:e f /CUT:a "},
  };
  for (const auto& [arguments, paths] : cases) {
    EXPECT_EQ(left(arguments), paths) << arguments;
    EXPECT_EQ(system.errors(), "") << arguments;
  }
  EXPECT_EQ(left("/VIEW, a"), all) << "an ambiguous name fails the whole command";
  EXPECT_EQ(system.errors(), "error[4] ObjectDB::getObjectByName: Object name a is ambiguous.");
  system.viewActions();
  ObjectDB::instance()->addObject(KSLCoreAPI::instance()->createObject("A", "made"));
  system.run("> delete VIEW, made");
  EXPECT_EQ(system.errors(), "warning[8] DeleteExecutor::invoke: KSL data '/A:made' does not exist.");
  EXPECT_EQ(system.viewActions(), "setViewportView, cmd=update");
}

TEST_F(Deletion, AsksTheFilterBeforeChildrenFallTogether)
{
  class Filter : public DeletionFilterIF {
   public:
    std::string seen;
    void filter(std::vector<std::string>& paths) override
    {
      seen = StringUtilities::vectorToString(paths, ' ');
      std::erase_if(paths, [](const std::string& path) { return path == "/A:a/B:b" || path == "/VIEW"; });
    }
  } filter;
  DeleteExecutor executor(&filter);
  system.registerAction("guarded", [&](Words words) {
    words.front() = "delete";
    executor.invoke(words);
  });
  left("nobody");
  system.run("> guarded /A:a/B:b, VIEW");
  EXPECT_EQ(filter.seen, "/A:a/B:b /VIEW");
  system.run("> guarded /A:a/B:b, /A:a");
  EXPECT_EQ(system.state().find("A:a"), std::string::npos) << "a protected child goes with its parent";
  EXPECT_EQ(system.errors(), "");
}

}  // namespace
}  // namespace orv
