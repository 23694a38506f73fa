#include "ScratchFolder.h"

#include "platform/ORVException.h"
#include "running.h"

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace results {

ScratchFolder::ScratchFolder()
{
  std::string name = (std::filesystem::temp_directory_path() / "ksl-results-XXXXXX").string();
  if (!mkdtemp(name.data()))
    fail("takePicture", orv::Error::getSystemError());
  m_path = name;
}

ScratchFolder::~ScratchFolder()
{
  std::error_code failure;
  std::filesystem::remove_all(m_path, failure);
}

std::string readFile(const std::string& file)
{
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void writeFile(const std::string& file, const std::string& content)
{
  std::ofstream stream(file, std::ios::binary);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  if (!stream.flush())
    fail("takePicture", orv::Error::getSystemError());
}

}  // namespace results
