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

std::string stampOf(const std::filesystem::path& file)
{
  std::error_code failure;
  const auto written = std::filesystem::last_write_time(file, failure).time_since_epoch().count();
  const auto size =
      std::filesystem::is_regular_file(file, failure) ? std::filesystem::file_size(file, failure) : 0;
  return std::to_string(written) + "," + std::to_string(size) + ";";
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
