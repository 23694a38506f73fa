// State files. Whatever one holds, it is loaded as a whole or not at all; what was loaded is saved, loaded and saved
// again as the same file.
#include "fuzz/FileSystem.h"

#include <cstddef>
#include <cstdint>
#include <fstream>

using namespace orv;
using namespace orv::fuzz;

namespace {

std::string saved(FileSystem& system, const std::string& name)
{
  system.run("> savestate filename=" + fileNamed(name));
  const std::string text = ORVFile::readAll(fileNamed(name));
  require(ORVFile::isAscii(text), "a saved state is not ASCII");
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
  std::ofstream(fileNamed("a.qst"), std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  std::string text;
  {
    FileSystem system;
    system.run("A: old\nx = 1\nEND");
    const std::string before = system.state();
    system.run("> readstate mode=overwrite, filename=" + fileNamed("a.qst"));
    const std::size_t errors = system.takeErrors();
    require(errors <= 1, "a failure is reported once");
    require(errors == 0 || system.state() == before, "a failed load left a trace");
    text = saved(system, "b.qst");
    require(system.takeErrors() == 0, "it was not saved");
  }
  FileSystem system;
  system.run("> readstate mode=overwrite, filename=" + fileNamed("b.qst"));
  require(system.takeErrors() == 0, "what was saved cannot be loaded");
  require(saved(system, "c.qst") == text, "what was loaded is not what was saved");
  return 0;
}
