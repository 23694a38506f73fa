// The scope of a file that is being read, and the streams that look beside it.
#include "platform/ORVSystem.h"
#include "database/ObjectDB.h"
#include "actions/FileProcessingScope.h"
#include "actions/ORVMPStream.h"
#include "tests/support/TempFolder.h"
#include "tests/support/TestSystem.h"
#include "tests/support/thrown.h"

#include <filesystem>
#include <utility>

namespace orv {
namespace {

using Mode = ORVStream::Mode;

class SessionFiles : public testing::Test {
 protected:
  // The values of "/FILE PROCESSING"; "-" without it.
  static std::string processing()
  {
    const KSLObject* object = ObjectDB::instance()->getObjectByPath("/FILE PROCESSING");
    return object ? object->getValue("Processing Mode") + " | " + object->getValue("Path Stack") : "-";
  }
  static std::string firstLine(ORVStream& stream)
  {
    std::string line;
    stream.readLine(line);
    return line;
  }

  TempFolder folder;
  TestSystem system;
};

TEST_F(SessionFiles, ScopesNestAndRestore)
{
  EXPECT_EQ(thrown<ksl::invalid>([] { FileProcessingScope("Session", "a"); }),
            ErrorMsg("FileProcessingScope", "enter", "Cannot find object FILE PROCESSING", 4));
  system.onNotification = [fails = true](int type) mutable {
    if (type == KSLCoreAPI::updateBegin && std::exchange(fails, false))
      throw data::error("Host", "update", "no");
  };
  EXPECT_EQ(thrown<ksl::invalid>([] { FileProcessingScope::createObject("X", "invoke"); }),
            ErrorMsg("X", "invoke", "Unable to create object FILE PROCESSING", 4));
  for (int i = 0; i < 2; ++i)
    FileProcessingScope::createObject("X", "invoke");
  EXPECT_EQ(processing(), "None | .");
  EXPECT_EQ(system.undoSteps(), "1 (3)") << "made once, by a step like any other";
  {
    const FileProcessingScope outer("Session", "/some/where/a.ksl");
    EXPECT_EQ(processing(), "Session | /some/where, .");
    {
      const FileProcessingScope inner("State", "b.qst");
      EXPECT_EQ(processing(), "State | ., /some/where, .");
    }
    EXPECT_EQ(processing(), "Session | /some/where, .");
    EXPECT_ANY_THROW(FileProcessingScope("Nonsense", "/c/d"));
    EXPECT_EQ(processing(), "Session | /some/where, .");
    EXPECT_FALSE(FileProcessingScope::isInProgress("/c/d"));
    system.run("> delete /FILE PROCESSING");
  }
  EXPECT_EQ(processing(), "-");
  system.run("> undo");
  EXPECT_EQ(processing(), "None | .") << "what the scope had set is no part of the history";
}

TEST_F(SessionFiles, AFileThatMovedIsFoundBesideTheOneThatNamesIt)
{
  FileProcessingScope::createObject("X", "invoke");
  folder.write("outer/data.txt", "outer");
  const std::string local = folder.write("inner/data.txt", "inner");
  folder.write("outer/only.txt", "only");
  std::filesystem::create_directories(folder / "inner/only.txt");  // no file
  const std::string gone = folder / "gone/data.txt";
  const std::string noFile = "Cannot open file '" + gone + "': No such file or directory.";
  EXPECT_EQ(thrown<file::error>([&] { ORVMPStream(gone, Mode::read); }).getMessage(), noFile) << "idle";
  EXPECT_EQ(ORVMPStream::findLocalFile(gone, true), gone);

  const FileProcessingScope outer("Session", folder / "outer/s.ksl");
  const FileProcessingScope inner("State", folder / "inner/s.qst");
  ORVMPStream stream(gone, Mode::read);
  EXPECT_EQ(firstLine(stream) + " " + stream.getFileName(), "inner " + local);
  const std::string message = "File " + gone + " not found.\n  -> Used local file " + local + " instead.";
  EXPECT_EQ(ORVMPStream::findLocalFile(gone, false), local);
  EXPECT_EQ(system.errorList(), std::vector{ErrorMsg("ORVMPStream", "open", message, 8)});
  EXPECT_EQ(ORVMPStream::findLocalFile(gone, true), local);
  EXPECT_EQ(system.errorList(), std::vector{ErrorMsg("ORVMPStream", "findLocalFile", message, 8)});

  stream.open("only.txt", Mode::read);  // behind the first directory, after a blank
  EXPECT_EQ(firstLine(stream), "only");
  EXPECT_NE(system.errors(), "");
  stream.open(local, Mode::read);
  EXPECT_ANY_THROW(stream.open(folder / "gone/none", Mode::read));
  EXPECT_EQ(thrown<file::error>([&] { stream.open(gone, Mode::write); }).getMessage(), noFile);
  EXPECT_EQ(system.errors(), "") << "found as named, or nowhere";
}

}  // namespace
}  // namespace orv
