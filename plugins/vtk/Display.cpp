#include "Display.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "running.h"

#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
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
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  setpgid(0, 0);  // Ctrl-C is not for it
  const int null = open("/dev/null", O_RDWR);
  for (const int stream : {0, 1, 2})
    dup2(null, stream);
  fcntl(out, F_SETFD, 0);
  execlp("Xvfb", "Xvfb", "-displayfd", number, "-screen", "0", "64x64x24", "-nolisten", "tcp", "-noreset",
         static_cast<char*>(nullptr));
  _exit(127);
}

// Its display; empty when it cannot be started.
std::string startServer()
{
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0)
    return {};
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
    return {};
  }
  server = pid;
  ownProcess = parent;
  return ":" + display;
}

// The thread that starts the server. A death signal comes when the thread ends that asked for it, and threads of several
// models come and go: this one lives as long as the server.
class Keeper {
 public:
  Keeper()
  {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);  // signals are for the others
    try {
      m_thread = std::thread([this] { keep(); });
    } catch (const std::system_error&) {
      m_isReady = true;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    std::unique_lock lock(m_guard);
    m_changed.wait(lock, [this] { return m_isReady; });
  }
  ~Keeper()
  {
    {
      const std::lock_guard lock(m_guard);
      m_ends = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable())
      m_thread.join();
  }
  Keeper(const Keeper&) = delete;
  Keeper& operator=(const Keeper&) = delete;
  const std::string& display() const { return m_display; }

 private:
  void keep()
  {
    std::unique_lock lock(m_guard);
    m_display = startServer();
    m_isReady = true;
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return m_ends; });
  }

  std::mutex m_guard;
  std::condition_variable m_changed;
  bool m_isReady = false;
  bool m_ends = false;
  std::string m_display;
  std::thread m_thread;
};

std::unique_ptr<Keeper>& keeper()
{
  static auto* const kept = new std::unique_ptr<Keeper>;  // a copy of the process has no such thread to end
  return *kept;
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
    static_cast<void>(keeper().release());
    unsetenv("DISPLAY");
  }
  const char* const display = std::getenv("DISPLAY");
  if (display && *display)
    return server == 0 ? requireDisplay(display) : void();
  auto starting = std::make_unique<Keeper>();
  if (starting->display().empty())
    fail("needDisplay",
         "There is no display, and Xvfb, which makes one in memory, could not be started (Debian's package "
         "xvfb).");
  setenv("DISPLAY", starting->display().c_str(), 1);
  keeper() = std::move(starting);
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
  keeper().reset();
  server = 0;
  unsetenv("DISPLAY");
}

}  // namespace results
