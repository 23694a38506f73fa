#include "Process.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::string required(const char* variable)
{
  const char* value = std::getenv(variable);
  if (!value)
    throw std::runtime_error(std::string(variable) + " is not set");
  return value;
}

// As the shell takes any bytes for one word.
std::string quoted(const std::string& word)
{
  return "'" + std::regex_replace(word, std::regex("'"), "'\\''") + "'";
}

}  // namespace

void PrintTo(const Outcome& outcome, std::ostream* out)
{
  *out << "status " << outcome.status << "\n-- out\n" << outcome.out << "-- err\n" << outcome.err;
}

std::string kslCommand(const Arguments& arguments, const std::string& environment)
{
  std::string command = "cd " + quoted(workFolder()) + " && exec env " + environment;
  command += " " + quoted(required("KSL_BIN"));
  for (const std::string& argument : arguments)
    command += " " + quoted(argument);
  return command;
}

Outcome ksl(const Arguments& arguments, const std::string& input, const std::string& environment)
{
  const std::string in = makeFile("standard/in", input);
  const std::string out = makeFile("standard/out");
  const std::string err = makeFile("standard/err");
  const std::string streams = " <" + quoted(in) + " >" + quoted(out) + " 2>" + quoted(err);
  const int status = std::system((kslCommand(arguments, environment) + streams).c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile(out), readFile(err)};
}

std::string sourceDir()
{
  return required("KSL_SOURCE_DIR");
}

std::string workFolder()
{
  return std::filesystem::path(makeFile("work/here")).parent_path().string() + "/";
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
