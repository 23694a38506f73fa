// Makes the n-th operation on a file fail while a state is saved or loaded, n = 1, 2, … until none fails. A save that
// fails leaves the old file, whole, and nothing beside it; a load that fails changes nothing.
//
// The operations are those of the C library, replaced here for the whole executable.
#include "database/ObjectDB.h"
#include "tests/actions/stateRules.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orv {
namespace {

struct FileTrap {
  unsigned long left = 0;  // operations until one fails; 0 is disarmed
  int reason = EIO;
  bool halfway = false;  // a write that fails has written half
  bool kills = false;    // the process, before the operation, or in the middle of a write
  bool sprung = false;

  bool strikes()
  {
    if (left == 0 || --left > 0)
      return false;
    if (kills && !halfway)
      std::raise(SIGKILL);
    errno = reason;
    return sprung = true;
  }
};
FileTrap fileTrap;

template <class Function>
Function* next(const char* name)
{
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace
}  // namespace orv

#define REPLACED extern "C" __attribute__((visibility("default")))

REPLACED int open(const char* name, int flags, ...)
{
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = flags & O_CREAT ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  static auto* const real = orv::next<int(const char*, int, ...)>("open");
  return orv::fileTrap.strikes() ? -1 : real(name, flags, mode);
}

REPLACED ssize_t read(int file, void* data, std::size_t size)
{
  static auto* const real = orv::next<ssize_t(int, void*, std::size_t)>("read");
  return orv::fileTrap.strikes() ? -1 : real(file, data, size);
}

REPLACED ssize_t write(int file, const void* data, std::size_t size)
{
  static auto* const real = orv::next<ssize_t(int, const void*, std::size_t)>("write");
  if (!orv::fileTrap.strikes())
    return real(file, data, size);
  if (!orv::fileTrap.halfway || size < 2)
    return -1;
  orv::fileTrap.left = 1;  // the disk is full now
  orv::fileTrap.halfway = false;
  return real(file, data, size / 2);
}

REPLACED int fchmod(int file, mode_t mode) noexcept
{
  static auto* const real = orv::next<int(int, mode_t)>("fchmod");
  return orv::fileTrap.strikes() ? -1 : real(file, mode);
}

REPLACED int fsync(int file)
{
  static auto* const real = orv::next<int(int)>("fsync");
  return orv::fileTrap.strikes() ? -1 : real(file);
}

REPLACED int close(int file)
{
  static auto* const real = orv::next<int(int)>("close");
  const bool fails = orv::fileTrap.strikes();
  const int reason = errno;
  const int result = real(file);  // the descriptor is gone either way
  errno = fails ? reason : errno;
  return fails ? -1 : result;
}

REPLACED int rename(const char* from, const char* to) noexcept
{
  static auto* const real = orv::next<int(const char*, const char*)>("rename");
  return orv::fileTrap.strikes() ? -1 : real(from, to);
}

namespace orv {
namespace {

class StateFileFaults : public StateFiles {
 protected:
  // True when the fault was met.
  bool runWith(const FileTrap& trap, const std::string& text)
  {
    fileTrap = trap;
    system.run(text);
    return std::exchange(fileTrap, {}).sprung;
  }
  std::ptrdiff_t filesBeside() const
  {
    const std::filesystem::directory_iterator begin(folder.path());
    return std::distance(begin, std::filesystem::directory_iterator());
  }
};

TEST_F(StateFileFaults, ASaveIsTheOldFileOrTheNew)
{
  system.run("A: a\n x = " + std::string(5000, 'x') + "\nEND");
  const std::string save = "> savestate filename=" + folder / "a.qst";
  const std::string refused =
      "error[4] ORVFile::replace: Cannot write file '" + folder / "a.qst" + "': Input/output error.";
  system.fileChanges();
  unsigned long met = 0;
  for (const bool halfway : {false, true}) {
    folder.write("a.qst", "old");
    system.stateChanges().setDBStateDirty(true);
    for (unsigned long n = 1; runWith({n, EIO, halfway}, save); ++n, ++met) {
      EXPECT_EQ(system.errors(), refused) << n;
      EXPECT_EQ(folder.read("a.qst"), "old") << n;
      EXPECT_EQ(filesBeside(), 1) << n;
      EXPECT_EQ(system.fileChanges(), "") << n;
      EXPECT_TRUE(system.stateChanges().isDBStateDirty()) << n;
    }
    EXPECT_EQ(system.errors(), "");
    EXPECT_TRUE(body("a.qst").starts_with("A:a\n  x = "));
    EXPECT_NE(system.fileChanges(), "");
  }
  EXPECT_GE(met, 12u) << "open, permissions, write, synchronise, close, rename";
}

TEST_F(StateFileFaults, ASaveThatIsKilledLeavesTheOldFileOrTheNew)
{
  system.run("A: a\n x = " + std::string(5000, 'x') + "\nEND");
  const std::string save = "> savestate filename=" + folder / "a.qst";
  system.run(save);
  const std::string whole = body("a.qst");
  for (const bool halfway : {false, true}) {
    folder.write("a.qst", "old");
    int killed = 0;
    for (unsigned long n = 1;; ++n) {
      const pid_t child = fork();
      if (child == 0)
        _exit(runWith({n, EIO, halfway, true}, save) ? 1 : 0);
      int status = 0;
      ASSERT_EQ(waitpid(child, &status, 0), child);
      if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        break;
      EXPECT_EQ(folder.read("a.qst"), "old") << n;
      killed += WIFSIGNALED(status);
    }
    EXPECT_GE(killed, halfway ? 1 : 6);
    EXPECT_EQ(body("a.qst"), whole);
  }
}

TEST_F(StateFileFaults, ADirectoryThatRefusesIsPassedBy)
{
  system.run("A: a\nEND");
  for (const unsigned long n : {1ul, 6ul}) {  // making the other file; renaming it
    folder.write("a.qst", "old");
    EXPECT_TRUE(runWith({n, EACCES}, "> savestate filename=" + folder / "a.qst"));
    EXPECT_EQ(system.errors(), "") << n;
    EXPECT_EQ(body("a.qst"), "A:a\nEND\n") << n;
    EXPECT_EQ(filesBeside(), 1) << n;
  }
}

TEST_F(StateFileFaults, ALoadThatCannotReadChangesNothing)
{
  std::string text;
  for (int i = 0; i < 3000; ++i)
    text += "A: a" + std::to_string(i) + "\nEND\n";
  folder.write("a.qst", text);
  system.run("A: old\nEND\n");
  const std::string load = "> readstate mode=overwrite, filename=" + folder / "a.qst";
  unsigned long n = 1;
  for (; runWith({n}, load); ++n) {
    const std::string error = system.errors();
    EXPECT_TRUE(error.starts_with("error[4] ORVStream::")) << error;
    EXPECT_EQ(system.state(), "A:old\nEND\n") << n;
  }
  EXPECT_GT(n, 2u);
  EXPECT_EQ(system.errors(), "");
  EXPECT_EQ(ObjectDB::instance()->size(), 3001u);
}

}  // namespace
}  // namespace orv
