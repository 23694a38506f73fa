#include "Terminal.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <poll.h>
#include <pty.h>
#include <regex>
#include <stdexcept>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr int patience = 60000;  // milliseconds

// What stands on the screen once this was written on it.
std::string shown(std::string_view written)
{
  std::string screen;
  std::string line;
  std::size_t column = 0;
  const auto endLine = [&] {
    line.erase(line.find_last_not_of(' ') + 1);
    screen += line;
    line.clear();
    column = 0;
  };
  for (const char c : written) {
    if (c == '\r')
      column = 0;
    else if (c == '\b')
      column -= column > 0;
    else if (c == '\n') {
      endLine();
      screen += '\n';
    } else if (c != '\a') {
      line.resize(std::max(line.size(), column + 1), ' ');
      line[column++] = c;
    }
  }
  endLine();
  return screen;
}

}  // namespace

Terminal::Terminal(const Arguments& arguments, const std::string& environment)
{
  const std::string line = kslCommand(arguments, "-u KSL_HISTORY TERM=dumb NO_COLOR=1 XDG_STATE_HOME= HOME="
                                                     + workFolder() + " " + environment);
  // What an earlier test was killed with would be offered now.
  std::filesystem::remove(workFolder() + ".local/state/ksl/AutoSaveState.qst");
  struct winsize size = {};
  size.ws_row = 50;
  size.ws_col = 120;
  m_child = forkpty(&m_terminal, nullptr, nullptr, &size);
  if (m_child < 0)
    throw std::runtime_error("no terminal");
  if (m_child == 0) {
    execl("/bin/sh", "sh", "-c", line.c_str(), nullptr);
    _exit(127);
  }
}

Terminal::~Terminal()
{
  close(m_terminal);
  if (m_child < 0)
    return;
  kill(m_child, SIGKILL);
  waitpid(m_child, nullptr, 0);
}

void Terminal::type(const std::string& keys)
{
  if (write(m_terminal, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size()))
    throw std::runtime_error("cannot type");
}

// False when there is nothing more to come.
bool Terminal::readMore()
{
  pollfd ready = {m_terminal, POLLIN, 0};
  if (poll(&ready, 1, patience) <= 0)
    throw std::runtime_error("waited in vain; written so far:\n" + m_written);
  char buffer[4096];
  const ssize_t count = read(m_terminal, buffer, sizeof buffer);
  if (count <= 0)
    return false;  // the program has ended
  m_written.append(buffer, static_cast<std::size_t>(count));
  return true;
}

void Terminal::waitFor(const std::string& text)
{
  for (;;) {
    const std::size_t found = m_written.find(text, m_waited);
    if (found != std::string::npos) {
      m_waited = found + text.size();
      return;
    }
    if (!readMore())
      throw std::runtime_error("'" + text + "' was never written, but:\n" + m_written);
  }
}

void Terminal::waitForPrompt(const std::string& prompt)
{
  waitFor("\n" + prompt);
  waitForKeys();
}

void Terminal::waitForKeys()
{
  // Keys that come before the line is edited would be echoed, and Ctrl-C would be a signal.
  for (struct termios modes = {}; tcgetattr(m_terminal, &modes) == 0 && (modes.c_lflag & ICANON);)
    poll(nullptr, 0, 1);
}

void Terminal::enter(const std::string& line, const std::string& prompt)
{
  type(line + "\n");
  waitForPrompt(prompt);
}

int Terminal::end()
{
  while (readMore()) {}
  int status = 0;
  while (waitpid(m_child, &status, 0) < 0)
    if (errno != EINTR)
      throw std::runtime_error("lost the process");
  m_child = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string Terminal::takeScreen()
{
  const std::string screen = shown(std::string_view(m_written).substr(m_taken));
  m_taken = m_written.size();
  return std::regex_replace(screen, std::regex("[0-9]+(\\.[0-9]{3})? ms\n"), "N ms\n");
}
