// State files. Whatever one holds, it is loaded as a whole or not at all; what was loaded is saved, loaded and saved
// again as the same file.
#include "FileSystem.h"

#include <cstddef>
#include <cstdint>
#include <fstream>

namespace {

std::string saved(fuzz::FileSystem& system, const std::string& name)
{
  system.run("> savestate filename=" + fuzz::file(name));
  const std::string text = orv::ORVFile::readAll(fuzz::file(name));
  fuzz::require(orv::ORVFile::isAscii(text), "a saved state is not ASCII");
  const std::string idle = "FILE PROCESSING:\n  Path Stack = .\n  Processing Mode = None\nEND\n";
  std::string blocks = text.substr(text.find('\n'));
  if (const std::size_t at = blocks.find(idle); at != std::string::npos)  // the loader's own
    blocks.erase(at, idle.size());
  return blocks;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  if (size > 4000)
    return 0;
  std::ofstream(fuzz::file("a.qst"), std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  std::string text;
  {
    fuzz::FileSystem system;
    system.run("A: old\nx = 1\nEND");
    const std::string before = system.state();
    system.run("> readstate mode=overwrite, filename=" + fuzz::file("a.qst"));
    const std::size_t errors = system.takeErrors();
    fuzz::require(errors <= 1, "a failure is reported once");
    fuzz::require(errors == 0 || system.state() == before, "a failed load left a trace");
    text = saved(system, "b.qst");
    fuzz::require(system.takeErrors() == 0, "it was not saved");
  }
  fuzz::FileSystem system;
  system.run("> readstate mode=overwrite, filename=" + fuzz::file("b.qst"));
  fuzz::require(system.takeErrors() == 0, "what was saved cannot be loaded");
  fuzz::require(saved(system, "c.qst") == text, "what was loaded is not what was saved");
  return 0;
}
