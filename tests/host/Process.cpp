#include "Process.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <ostream>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Closer {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using TempFile = std::unique_ptr<std::FILE, Closer>;

std::string required(const char* variable)
{
  const char* value = std::getenv(variable);
  if (!value)
    throw std::runtime_error(std::string(variable) + " is not set");
  return value;
}

// Files rather than pipes: nobody has to read while the other writes.
TempFile tempFile(const std::string& text = {})
{
  TempFile file(std::tmpfile());
  if (!file || std::fwrite(text.data(), 1, text.size(), file.get()) != text.size())
    throw std::runtime_error("no temporary file");
  std::rewind(file.get());
  return file;
}

std::string content(const TempFile& file)
{
  std::rewind(file.get());
  std::string text;
  char buffer[1 << 16];
  while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, file.get()))
    text.append(buffer, count);
  return text;
}

pid_t spawn(const std::vector<std::string>& arguments, int in, int out, int err)
{
  const std::string program = required("KSL_BIN");
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments)
    argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in, 0);
  posix_spawn_file_actions_adddup2(&actions, out, 1);
  posix_spawn_file_actions_adddup2(&actions, err, 2);
  // What the host writes goes with the files of the test.
  const std::string folder = std::filesystem::path(makeFile("work/here", {})).parent_path();
  posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
  pid_t child = 0;
  const int failure = posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failure)
    throw std::runtime_error("cannot start " + program);
  return child;
}

int statusOf(pid_t child)
{
  int status = 0;
  while (waitpid(child, &status, 0) < 0)
    if (errno != EINTR)
      throw std::runtime_error("lost the process");
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

void PrintTo(const Outcome& outcome, std::ostream* out)
{
  *out << "status " << outcome.status << "\n-- out\n" << outcome.out << "-- err\n" << outcome.err;
}

Outcome ksl(const std::vector<std::string>& arguments, const std::string& input)
{
  const TempFile in = tempFile(input);
  const TempFile out = tempFile();
  const TempFile err = tempFile();
  const int status = statusOf(spawn(arguments, fileno(in.get()), fileno(out.get()), fileno(err.get())));
  return {status, content(out), content(err)};
}

Outcome kslOnTerminal(const std::vector<std::string>& arguments)
{
  const int master = posix_openpt(O_RDWR | O_NOCTTY);
  if (master < 0 || grantpt(master) || unlockpt(master))
    throw std::runtime_error("no terminal");
  const int terminal = open(ptsname(master), O_RDWR | O_NOCTTY);
  const TempFile in = tempFile();
  const TempFile out = tempFile();
  const pid_t child = spawn(arguments, fileno(in.get()), fileno(out.get()), terminal);
  close(terminal);
  std::string err;
  char buffer[4096];
  for (ssize_t count; (count = read(master, buffer, sizeof buffer)) > 0;)
    err.append(buffer, static_cast<std::size_t>(count));
  close(master);
  const int status = statusOf(child);
  return {status, content(out), err};
}

std::string sourceDir()
{
  return required("KSL_SOURCE_DIR");
}

std::string readFile(const std::string& path)
{
  std::ifstream file(path, std::ios::binary);
  if (!file)
    throw std::runtime_error("cannot read " + path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::string makeFile(const std::string& name, const std::string& text)
{
  namespace fs = std::filesystem;
  const fs::path folder = fs::temp_directory_path() / ("ksl-host-test-" + std::to_string(getpid()));
  struct Removal {
    fs::path folder;
    ~Removal()
    {
      std::error_code ignored;
      fs::remove_all(folder, ignored);
    }
  };
  static const Removal removal{folder};
  fs::create_directories((folder / name).parent_path());
  std::ofstream(folder / name, std::ios::binary) << text;
  return folder / name;
}
