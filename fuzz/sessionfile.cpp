// Session files. The commands in the input are recorded and replayed one by one, and the state is the same; and the
// input itself, read as a session that somebody cut off, is cut to one that is whole.
#include "actions/SessionFile.h"

#include "FileSystem.h"

#include <cstddef>
#include <cstdint>
#include <fstream>

namespace {

void write(const std::string& name, const std::string& text)
{
  std::ofstream(fuzz::file(name), std::ios::binary) << text;
}

void cutAndRead(const std::string& text)
{
  write("cut.kses", text);
  const std::uintmax_t whole = orv::SessionFile::wholeSize(fuzz::file("cut.kses"));
  fuzz::require(whole <= text.size(), "more is whole than there is");
  write("cut.kses", text.substr(0, whole));
  fuzz::require(orv::SessionFile::wholeSize(fuzz::file("cut.kses")) == whole, "what is whole is not");
}

std::string recorded(const std::string& commands, orv::kslUpdateMode mode)
{
  fuzz::FileSystem system;
  orv::KSLCoreAPI* api = orv::KSLCoreAPI::instance();
  system.run("> session start, mode=overwrite, filename=" + fuzz::file("s.kses"));
  api->setExternalKslUpdateMode(mode);
  for (const std::string& command : orv::StringUtilities::stringToVector(commands, '\0'))
    if (!command.empty())
      api->externalProcessKSL(orv::StringUtilities::stringToVector(command, '\n'));
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
  const std::string expected = recorded(text, data[0] & 1 ? orv::kslUpdateAtEnd : orv::kslUpdateDefault);
  const orv::SessionFile session = orv::SessionFile::read(fuzz::file("s.kses"));
  session.requireWhole();
  fuzz::FileSystem system;
  for (const orv::SessionFile::Command& command : session.commands())
    orv::KSLCoreAPI::instance()->processKSL(orv::StringUtilities::vectorToString(command.lines, '\n'),
                                            command.mode);
  fuzz::require(system.state() == expected, "the replay came to something else");
  return 0;
}
