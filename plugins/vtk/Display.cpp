#include "Display.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "running.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace results {

namespace {

std::mutex serverGuard;
pid_t server = 0;        // 0: none of ours
pid_t ownProcess = 0;    // that started it: not a copy of it
bool isWatched = false;  // the process's end ends it, too

// Between fork and exec nothing may be asked for that another thread could be holding.
[[noreturn]] void becomeServer(pid_t parent, int out, const char* number)
{
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != parent)
    _exit(1);
  setpgid(0, 0);  // Ctrl-C is not for it
  const int null = open("/dev/null", O_RDWR);
  for (const int stream : {0, 1, 2})
    dup2(null, stream);
  fcntl(out, F_SETFD, 0);
  execlp("Xvfb", "Xvfb", "-displayfd", number, "-screen", "0", "64x64x24", "-nolisten", "tcp", "-noreset",
         static_cast<char*>(nullptr));
  _exit(127);
}

std::string startServer()
{
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0)
    fail("needDisplay", orv::Error::getSystemError());
  const std::string number = std::to_string(ends[1]);
  const pid_t parent = getpid();
  const pid_t pid = fork();
  if (pid == 0)
    becomeServer(parent, ends[1], number.c_str());
  close(ends[1]);
  std::string display;
  char next = 0;
  ssize_t got = 0;
  while (pid > 0 && ((got = read(ends[0], &next, 1)) == 1 || (got < 0 && errno == EINTR)) && next != '\n')
    display += got == 1 ? std::string(1, next) : std::string();
  close(ends[0]);
  if (display.empty()) {
    if (pid > 0)
      waitpid(pid, nullptr, 0);
    fail("needDisplay",
         "There is no display, and Xvfb, which makes one in memory, could not be started (Debian's package "
         "xvfb).");
  }
  server = pid;
  ownProcess = parent;
  return ":" + display;
}

// VTK ends the process when a display that is named cannot be opened.
void requireDisplay(const char* display)
{
  void* const library = dlopen("libX11.so.6", RTLD_NOW | RTLD_LOCAL);
  if (!library)
    return;
  using Open = void* (*)(const char*);
  using Close = int (*)(void*);
  const auto open = reinterpret_cast<Open>(dlsym(library, "XOpenDisplay"));
  const auto close = reinterpret_cast<Close>(dlsym(library, "XCloseDisplay"));
  void* const connection = open && close ? open(display) : nullptr;
  if (connection)
    close(connection);
  dlclose(library);
  if (open && close && !connection)
    fail("needDisplay",
         orv::_("The display '%s' cannot be opened; without DISPLAY, pictures are painted in memory.",
                display));
}

}  // namespace

void needDisplay()
{
  const std::lock_guard lock(serverGuard);
  if (server != 0 && ownProcess != getpid()) {  // a copy's original has it
    server = 0;
    unsetenv("DISPLAY");
  }
  const char* const display = std::getenv("DISPLAY");
  if (display && *display)
    return server == 0 ? requireDisplay(display) : void();
  setenv("DISPLAY", startServer().c_str(), 1);
  if (!std::exchange(isWatched, true))
    std::atexit(&endDisplay);
}

void endDisplay() noexcept
{
  const std::lock_guard lock(serverGuard);
  if (server == 0 || ownProcess != getpid())
    return;
  kill(server, SIGTERM);
  waitpid(server, nullptr, 0);
  server = 0;
  unsetenv("DISPLAY");
}

}  // namespace results
