#include "LineReader.h"

#include "platform/ORVError.h"
#include "platform/ORVSystem.h"
#include "EditLineReader.h"
#include "StandardStreams.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <unistd.h>

namespace {

class PlainLineReader : public LineReader {
 public:
  Result read(const std::string& prompt, std::string& line) override
  {
    if (m_interactive)
      std::cerr << prompt << std::flush;  // what is shown may go elsewhere
    if (!readLine(line))
      return Result::end;
    if (!line.empty() && line.back() == '\r')
      line.pop_back();
    return Result::line;
  }
  void remember(const std::string&) override {}
  bool bringBack(const std::string&) override { return false; }
  bool isInteractive() const override { return m_interactive; }

 private:
  // False at the end. A line that does not end must not take all memory.
  static bool readLine(std::string& line)
  {
    line.clear();
    for (int c = std::cin.get(); c != EOF; c = std::cin.get()) {
      if (c == '\n')
        return true;
      line += static_cast<char>(c);
      if (line.size() > orv::ORVFile::largestText)
        throw orv::file::error("ksl", "readStandardInput",
                               orv::_("Cannot read standard input: A line has more than %d MB.",
                                      orv::ORVFile::largestText >> 20));
    }
    return !line.empty();
  }

  bool m_interactive = isatty(STDIN_FILENO);
};

// The value of an environment variable; empty when there is none.
std::string valueOf(const char* variable)
{
  const char* value = std::getenv(variable);
  return value ? value : "";
}

}  // namespace

std::unique_ptr<LineReader> makeLineReader(Complete complete, const std::string& historyFile)
{
#ifdef KSL_HAVE_LIBEDIT
  if (isatty(STDIN_FILENO) && isatty(STDOUT_FILENO))
    return std::make_unique<EditLineReader>(std::move(complete), historyFile);
#else
  static_cast<void>(complete);
  static_cast<void>(historyFile);
#endif
  requireReadableInput();
  return std::make_unique<PlainLineReader>();
}

std::string stateFolder()
{
  std::string states = valueOf("XDG_STATE_HOME");
  if (states.empty() || states.front() != '/') {  // a relative one is to be ignored
    const std::string home = valueOf("HOME");
    if (home.empty())
      return {};
    states = home + "/.local/state";
  }
  return states + "/ksl";
}

std::string historyFileName()
{
  if (std::getenv("KSL_HISTORY"))
    return valueOf("KSL_HISTORY");
  const std::string folder = stateFolder();
  return folder.empty() ? folder : folder + "/history";
}

void makeFolder(const std::string& folder)
{
  namespace fs = std::filesystem;
  std::error_code ignored;
  if (!folder.empty() && fs::create_directories(folder, ignored))
    fs::permissions(folder, fs::perms::owner_all, ignored);
}
