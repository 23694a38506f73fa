// Makes the n-th operation on a file fail while a state is saved or loaded, or a session recorded or replayed, n = 1, 2,
// … until none fails. A save that fails leaves the old file, whole, and nothing beside it; a load that fails changes
// nothing, and no more does a replay; a recording that fails ends, and keeps what it has.
//
// The operations are those of the C library, replaced here for the whole executable.
#include "database/ObjectDB.h"
#include "actions/WriteSessionExecutor.h"
#include "tests/actions/stateRules.h"
#include "tests/faults/Trap.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/uio.h>
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
    if (orv::trap.strikes(FaultKind::file)) {
      errno = EIO;
      return true;
    }
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

REPLACED ssize_t writev(int file, const iovec* parts, int count)
{
  while (count > 1 && parts->iov_len == 0) {
    ++parts;
    --count;
  }
  return write(file, parts->iov_base, parts->iov_len);  // the first part: the rest is asked for again
}

REPLACED std::FILE* fopen64(const char* name, const char* mode)
{
  static auto* const real = orv::next<std::FILE*(const char*, const char*)>("fopen64");
  return orv::fileTrap.strikes() ? nullptr : real(name, mode);
}

REPLACED std::FILE* fopen(const char* name, const char* mode)
{
  static auto* const real = orv::next<std::FILE*(const char*, const char*)>("fopen");
  return orv::fileTrap.strikes() ? nullptr : real(name, mode);
}

REPLACED int fclose(std::FILE* file)
{
  static auto* const real = orv::next<int(std::FILE*)>("fclose");
  const bool fails = orv::fileTrap.strikes();
  const int reason = errno;
  const int result = real(file);
  errno = fails ? reason : errno;
  return fails ? EOF : result;
}

REPLACED int fchmod(int file, mode_t mode) noexcept
{
  static auto* const real = orv::next<int(int, mode_t)>("fchmod");
  return orv::fileTrap.strikes() ? -1 : real(file, mode);
}

REPLACED int fsync(int file)
{
  return orv::fileTrap.strikes() ? -1 : fcntl(file, F_GETFD) == -1 ? -1 : 0;  // nobody takes the power away
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
  if (orv::fileTrap.strikes())
    return -1;
  ::unlink(to);  // or a disk may wait for the contents
  return real(from, to);
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

TEST_F(StateFileFaults, ARecordingThatCannotBeWrittenEnds)
{
  const auto enter = [](const std::string& text) { KSLCoreAPI::instance()->externalProcessKSL({text}); };
  // Its blocks, without the head and what there is of the foot: they hold times.
  const auto blocks = [this] {
    const std::string text = folder.read("s.ksl");
    const std::size_t begin = std::min(text.find("\n\n\n"), text.size());
    return text.substr(begin, text.find("# ", begin) - begin);
  };
  const std::string large = "A: a\n  x = " + std::string(5000, 'x') + "\nEND";
  const std::string start = "> session start, mode=overwrite, filename=" + folder / "s.ksl";
  const std::string commands[] = {start, large, "A: b\nEND", "> session stopsilently"};
  std::string whole;
  unsigned long met = 0;
  for (const bool halfway : {false, true}) {
    unsigned long n = 0;  // fails nowhere
    do {
      system.run("> delete /A:a, /A:b");
      std::filesystem::remove(folder / "s.ksl");
      fileTrap = {n, EIO, halfway};
      for (const std::string& command : commands)
        enter(command);
      fileTrap.left = 0;
      whole = n == 0 ? blocks() : whole;
      met += fileTrap.sprung;
      EXPECT_EQ(system.errorList().size(), fileTrap.sprung ? 1u : 0u) << n;
      EXPECT_EQ(ObjectDB::instance()->size(), 2u) << "no work is lost, " << n;
      EXPECT_FALSE(KSLCoreAPI::instance()->getSessionWriter()->isRecording()) << n;
      EXPECT_TRUE(whole.starts_with(blocks())) << n;
    } while (n++ == 0 || fileTrap.sprung);
  }
  EXPECT_GE(met, 10u) << "open; write the head, two commands, the end of the last and the foot; close";
}

TEST_F(StateFileFaults, ALoadThatCannotReadChangesNothing)
{
  std::string text;
  for (int i = 0; i < 3000; ++i)
    text += "A: a" + std::to_string(i) + "\nEND\n";
  folder.write("a.qst", text);
  system.run("A: old\nEND\n");
  for (const char* action : {"> readstate mode=overwrite", "> readsession"}) {
    const std::string load = action + std::string(", filename=") + folder / "a.qst";
    unsigned long n = 1;
    for (; runWith({n}, load); ++n) {
      const std::string error = system.errors();
      EXPECT_TRUE(error.starts_with("error[4] ORVStream::")) << error;
      EXPECT_EQ(system.state(), "A:old\nEND\n") << n;
    }
    EXPECT_GT(n, 3u) << "open, read, close";
    EXPECT_EQ(system.errors(), "");
    system.undo();
  }
}

}  // namespace
}  // namespace orv
