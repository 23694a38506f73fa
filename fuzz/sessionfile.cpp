// Session files. The commands in the input are recorded and replayed one by one, and the state is the same; and the
// input itself, read as a session that somebody cut off, is cut to one that is whole.
#include "actions/SessionFile.h"

#include "fuzz/FileSystem.h"

#include <cstddef>
#include <cstdint>
#include <fstream>

using namespace orv;
using namespace orv::fuzz;

namespace {

void write(const std::string& name, const std::string& text)
{
  std::ofstream(fileNamed(name), std::ios::binary) << text;
}

void cutAndRead(const std::string& text)
{
  write("cut.kses", text);
  const std::uintmax_t whole = SessionFile::wholeSize(fileNamed("cut.kses"));
  require(whole <= text.size(), "more is whole than there is");
  write("cut.kses", text.substr(0, whole));
  require(SessionFile::wholeSize(fileNamed("cut.kses")) == whole, "what is whole is not");
}

std::string recorded(const std::string& commands, kslUpdateMode mode)
{
  FileSystem system;
  KSLCoreAPI* api = KSLCoreAPI::instance();
  system.run("> session start, mode=overwrite, filename=" + fileNamed("s.kses"));
  api->setExternalKslUpdateMode(mode);
  for (const std::string& command : StringUtilities::stringToVector(commands, '\0'))
    if (!command.empty())
      api->externalProcessKSL(StringUtilities::stringToVector(command, '\n'));
  return system.state();
}

}  // namespace

// The first byte says in which update mode.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  if (size < 2 || size > 4000)
    return 0;
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  cutAndRead(text);
  // What is not recorded on purpose, and what reads other files.
  for (const char* word :
       {"noaction", "session", "AutoSaveState", "autolegend", "state", "rs", "SESSION", "STATE"})
    if (text.find(word) != std::string::npos)
      return 0;
  const std::string expected = recorded(text, data[0] & 1 ? kslUpdateAtEnd : kslUpdateDefault);
  const SessionFile session = SessionFile::read(fileNamed("s.kses"));
  session.requireWhole();
  FileSystem system;
  for (const SessionFile::Command& command : session.commands())
    KSLCoreAPI::instance()->processKSL(StringUtilities::vectorToString(command.lines, '\n'), command.mode);
  require(system.state() == expected, "the replay came to something else");
  return 0;
}
