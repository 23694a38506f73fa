// A folder for what others write to files only, and files as a whole.
#pragma once

#include <filesystem>
#include <string>

namespace results {

class ScratchFolder {
 public:
  ScratchFolder();  // data::invalid when it cannot be made
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  std::string file(const std::string& name) const { return (m_path / name).string(); }

 private:
  std::filesystem::path m_path;
};

std::string readFile(const std::string& file);
void writeFile(const std::string& file, const std::string& content);

}  // namespace results
