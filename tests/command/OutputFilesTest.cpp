// Files that a command writes are those of the last good state.
#include "platform/ORVOutputFiles.h"
#include "platform/ORVSystem.h"
#include "tests/support/TempFolder.h"
#include "tests/support/TestSystem.h"

#include <algorithm>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace orv {
namespace {

class OutputFilesTest : public testing::Test {
 protected:
  OutputFilesTest()
  {
    system.registerAction("write", [this](const std::vector<std::string>& words) {
      OutputFiles::instance()->write(folder / words[1], words[2]);
      seen =
          folder.read(words[1]) + "|" + ORVFile::readAll(OutputFiles::instance()->pending(folder / words[1]));
    });
    system.registerAction("fail", [](const std::vector<std::string>&) { throw std::runtime_error("asked"); });
  }
  // All that is in the folder: "a=1 b=2".
  std::string files() const
  {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
      names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    std::string text;
    for (const std::string& name : names)
      text += (text.empty() ? "" : " ") + name + "=" + folder.read(name);
    return text;
  }

  TempFolder folder;
  TestSystem system;
  std::string seen;  // of the file just written: what is there, and what waits
};

TEST_F(OutputFilesTest, AppearWhenTheirCommandHasEndedWell)
{
  std::string at16;
  bool fails = false;
  system.onNotification = [&](int type) {
    if (type != KSLCoreAPI::outermostProcessed)
      return;
    at16 = files();
    if (fails)
      throw std::runtime_error("an observer");
  };
  system.run("> write a, 1");
  EXPECT_EQ(seen, "(none)|1");
  EXPECT_EQ(at16, "a=1");
  EXPECT_EQ(OutputFiles::instance()->written(), std::vector{folder / "a"});
  system.run("> write a, 2\n> write b, 2\n> write a, 3\n> fail");
  EXPECT_EQ(seen, "1|3");
  EXPECT_EQ(files(), "a=1");
  fails = true;
  system.run("> write a, 4\n> write b, 4");
  EXPECT_EQ(files(), "a=1") << "what stood there at 16 was put back";
  EXPECT_TRUE(OutputFiles::instance()->written().empty());
  fails = false;
  system.run("> write a, 5\n> write b, 5\n> write a, 6");
  EXPECT_EQ(files(), "a=6 b=5");
  std::filesystem::create_directory(folder / "taken");
  system.errors();
  system.run("> write a, 7\n> write taken, 7");
  EXPECT_EQ(system.errorList().size(), 1U);
  std::filesystem::remove(folder / "taken");
  EXPECT_EQ(files(), "a=6 b=5") << "one that cannot be moved takes the others back";
  OutputFiles::instance()->write(folder / "a", "outside");
  EXPECT_EQ(files(), "a=outside b=5");
}

TEST_F(OutputFilesTest, ACommandMayGoOnAfterARecoveryInItsMiddle)
{
  system.registerAction("report", [this](const auto&) {
    try {
      system.run("> write a, 1\n> fail");
    } catch (...) {
      system.interface()->undoOnError();
    }
  });
  system.onNotification = [this](int type) {
    if (type == KSLCoreAPI::recoveryEnd)
      OutputFiles::instance()->write(folder / "a", "of an object that was put back");
    else if (type == KSLCoreAPI::outermostProcessed)
      system.run("> write c, 3");
  };
  system.run("> report\n> write b, 2");
  EXPECT_EQ(files(), "b=2 c=3");
  EXPECT_EQ(system.errorList().size(), 1U);
}

// What a killed process left goes with the next save of the same file; what living ones write stays.
TEST_F(OutputFilesTest, LeftoversOfDeadProcessesGo)
{
  const pid_t dead = fork();
  if (dead == 0)
    _exit(0);
  waitpid(dead, nullptr, 0);
  folder.write(".orv-a-" + std::to_string(dead) + "-0.tmp", "half");
  folder.write(".orv-b-" + std::to_string(dead) + "-0.tmp", "half");
  folder.write(".orv-a-" + std::to_string(getppid()) + "-0.tmp", "under way");
  folder.write(".orv-a-mine.tmp", "kept");
  ORVFile::replace(folder / "a", "new");
  EXPECT_EQ(folder.read(".orv-a-" + std::to_string(dead) + "-0.tmp"), "(none)");
  EXPECT_EQ(folder.read(".orv-b-" + std::to_string(dead) + "-0.tmp"), "half");
  EXPECT_EQ(folder.read(".orv-a-" + std::to_string(getppid()) + "-0.tmp"), "under way");
  EXPECT_EQ(folder.read(".orv-a-mine.tmp") + folder.read("a"), "keptnew");
}

}  // namespace
}  // namespace orv
