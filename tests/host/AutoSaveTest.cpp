// What is left when the program does not come to its end.
#include "Terminal.h"
#include "boxes.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

std::string cleanFolder(const std::string& name)
{
  const fs::path folder = fs::path(makeFile(name + "/x", {})).parent_path();
  fs::remove_all(folder);
  fs::create_directories(folder);
  return folder.string() + "/";
}

// A shell that is fed commands, b0, b1, …, and killed after some time; how many of them it has acknowledged.
std::size_t killedShell(const std::string& session, std::chrono::microseconds after)
{
  int in[2];
  int err[2];
  if (pipe(in) != 0 || pipe(err) != 0)
    throw std::runtime_error("no pipes");
  const pid_t child = fork();
  if (child == 0) {
    dup2(in[0], STDIN_FILENO);
    dup2(err[1], STDERR_FILENO);
    close(in[1]);
    close(err[0]);
    execl(std::getenv("KSL_BIN"), "ksl", "--library", boxes().c_str(), "--library", fileTypes().c_str(),
          "--record", session.c_str(), static_cast<char*>(nullptr));
    _exit(1);
  }
  close(in[0]);
  close(err[1]);
  std::string text;
  for (int i = 0; text.size() < 60000; ++i)
    text += "BOX: b" + std::to_string(i) + "\nEND\n";
  text.resize(text.rfind("BOX"));
  EXPECT_EQ(write(in[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  // Once the first command is acknowledged, so that the time is spent in commands.
  // A pipe takes as much at once.
  std::string told;
  char buffer[4096];
  ssize_t count = read(err[0], buffer, sizeof buffer);
  usleep(static_cast<useconds_t>(after.count()));
  kill(child, SIGKILL);
  for (; count > 0; count = read(err[0], buffer, sizeof buffer))
    told.append(buffer, static_cast<std::size_t>(count));
  waitpid(child, nullptr, 0);
  close(in[1]);
  close(err[0]);
  return static_cast<std::size_t>(std::count(told.begin(), told.end(), '\n'));
}

// KSL_KILLS says how often; at each time all that was acknowledged is in the session, and a state is there to be offered.
TEST(AutoSave, AKilledShellLosesNothingThatItAcknowledged)
{
  const char* times = std::getenv("KSL_KILLS");
  const int kills = times ? std::atoi(times) : 12;
  const std::string folder = cleanFolder("killed");
  std::mt19937 random(1);
  std::uniform_int_distribution<int> delay(0, 20000);
  for (int i = 0; i < kills; ++i) {
    const std::string session = folder + "s.kses";
    fs::remove_all(folder);
    fs::create_directories(folder);
    const std::size_t acknowledged = killedShell(session, std::chrono::microseconds(delay(random)));
    ASSERT_GT(acknowledged, 0U);
    const Outcome replayed =
        ksl({"replay", "--library", boxes(), "--library", fileTypes(), "--keep-whole", session, "--state"});
    ASSERT_EQ(replayed.err, "");
    for (std::size_t b = 0; b < acknowledged; ++b)
      ASSERT_NE(replayed.out.find("BOX:b" + std::to_string(b) + "\n"), std::string::npos) << acknowledged;
    const Outcome offered = ksl({"run", "--library", boxes(), "--library", fileTypes(), "--load",
                                 folder + "AutoSaveState.qst", "--state=b0"});
    ASSERT_EQ(offered, (Outcome{0, "BOX:b0\n  Size = 1\nEND\n", ""}));
  }
}

TEST(AutoSave, IsWrittenBesideTheFilesAndOfferedOnce)
{
  const std::string folder = cleanFolder("beside");
  const std::vector<std::string> libraries{"--library", boxes(), "--library", fileTypes()};
  const auto run = [&](std::vector<std::string> arguments) {
    arguments.insert(arguments.begin() + 1, libraries.begin(), libraries.end());
    return ksl(arguments);
  };
  const std::string file = folder + "AutoSaveState.qst";
  // A look at the file in the middle: the second change comes within the minute.
  const Outcome looked = run({"run", "--autosave", "--record", folder + "s.kses", "-e", "BOX: a\nEND", "-e",
                              "BOX: b\nEND", "-e", "> readsession filename=" + file});
  EXPECT_EQ(looked.status, 0) << looked.err;
  EXPECT_FALSE(fs::exists(file)) << "it ended well";
  EXPECT_EQ(readFile(folder + "s.kses").find("AutoSave"), std::string::npos);
  EXPECT_FALSE(fs::exists(folder + "AutoSaveState.old.qst"));

  makeFile("beside/AutoSaveState.qst", "BOX: left\nEND\n");
  const Outcome noted = run({"run", "--autosave", "--save", folder + "a.qst", "-e", "BOX: a\nEND"});
  EXPECT_EQ(noted.err, "The last session here did not end well; what was saved of it is in " + folder
                           + "AutoSaveState.old.qst.\n");
  makeFile("beside/AutoSaveState.qst", "BOX: left\nEND\n");
  Terminal terminal({"--library", boxes(), "--library", fileTypes(), "--load", folder + "a.qst"});
  terminal.waitForPrompt("Load it? [Y/n] ");
  terminal.enter("y");
  terminal.enter(".state left");
  EXPECT_NE(terminal.takeScreen().find("BOX:left"), std::string::npos);
  terminal.type(".quit\r");
  terminal.waitForPrompt("There is unsaved work. Save it in " + folder + "a.qst? [y]es, [n]o, [c]ancel: ");
  terminal.type("y\r");
  EXPECT_EQ(terminal.end(), 0);
  EXPECT_NE(readFile(folder + "a.qst").find("BOX:left"), std::string::npos);
  EXPECT_FALSE(fs::exists(file));

  // Whoever loads or saves a file of that name has it still.
  makeFile("beside/AutoSaveState.qst", "BOX: left\nEND\n");
  run({"run", "--autosave", "--load", file, "-e", "BOX: a\nEND"});
  EXPECT_NE(readFile(file).find("BOX:left"), std::string::npos);
  run({"run", "--autosave", "--save", file, "-e", "BOX: b\nEND"});
  EXPECT_NE(readFile(file).find("BOX:b"), std::string::npos);
}

// The load of what was saved may end the program, too: it is offered until it was loaded, or refused.
TEST(AutoSave, IsOfferedAgainWhenItsLoadEndsTheProgram)
{
  const std::string folder = cleanFolder("again");
  makeFile("again/a.qst", "BOX: a\nEND\n");
  makeFile("again/AutoSaveState.qst", "BOX: left\nEND\n");
  for (const bool refused : {false, true}) {
    Terminal terminal({"--library", boxes(), "--library", fileTypes(), "--load", folder + "a.qst"});
    terminal.waitForPrompt("Load it? [Y/n] ");
    EXPECT_TRUE(fs::exists(folder + "AutoSaveState.qst"));
    if (!refused)
      continue;  // killed
    terminal.enter("n");
    EXPECT_FALSE(fs::exists(folder + "AutoSaveState.qst"));
    EXPECT_TRUE(fs::exists(folder + "AutoSaveState.old.qst"));
  }
}

}  // namespace
