#include "GraphCommand.h"

#include "platform/ORVError.h"
#include "database/ObjectDB.h"
#include "GraphText.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

[[noreturn]] void fail(const std::string& message)
{
  throw orv::file::error("ksl", "graph", message);
}

// A file without a name rather than a pipe: nobody waits for a reader, and none can go away.
File fileWith(const std::string& text)
{
  File file(std::tmpfile());
  if (!file || std::fwrite(text.data(), 1, text.size(), file.get()) != text.size()
      || std::fflush(file.get()) != 0)
    fail(orv::_("Cannot write a temporary file: %s.", orv::Error::getSystemError()));
  std::rewind(file.get());
  return file;
}

// Graphviz's program, reading `in` and writing to standard output; no shell is asked.
pid_t startDot(int in)
{
  std::string program = "dot";
  std::string format = "-Tsvg";
  char* const arguments[] = {program.data(), format.data(), nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in, STDIN_FILENO);
  pid_t child = 0;
  const int failure = posix_spawnp(&child, program.c_str(), &actions, nullptr, arguments, environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failure == ENOENT)
    fail(
        "Graphviz's program 'dot' was not found. Install Graphviz (the package 'graphviz'), or draw with "
        "--dot.");
  if (failure != 0)
    fail(orv::_("Cannot start Graphviz's program 'dot': %s.", std::strerror(failure)));
  return child;
}

void drawSvg(const std::string& graph)
{
  const File in = fileWith(graph);
  const pid_t child = startDot(fileno(in.get()));
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR)
      fail(orv::_("Lost Graphviz's program 'dot': %s.", orv::Error::getSystemError()));
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
    fail("Graphviz's program 'dot' failed.");
}

}  // namespace

int GraphCommand::run(const Options& options)
{
  return runWithTexts(options.input, [&options](const Texts& texts) {
    for (const EnteredText& text : texts)
      enterText(text);
    const std::string graph = graphText(*orv::ObjectDB::instance());
    if (options.svg)
      drawSvg(graph);
    else
      std::cout << graph;
  });
}
