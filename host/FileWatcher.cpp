#include "FileWatcher.h"

#include <sys/stat.h>

FileWatcher::Stamp FileWatcher::stampOf(const std::string& fileName)
{
  struct stat status {};
  if (::stat(fileName.c_str(), &status) != 0)
    return {};
  return {true, status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

void FileWatcher::registerFileType(const std::string& type)
{
  m_types.insert(type);
}

void FileWatcher::registerFileChange(const std::string& fileName, const std::string& type)
{
  if (!m_types.contains(type))
    return;
  m_files[fileName] = {type, stampOf(fileName), false};
  m_used.push_back(fileName);
}

void FileWatcher::registerExternalFileChange(const std::string& fileName, const std::string& type)
{
  if (m_types.contains(type))
    m_files[fileName] = {type, stampOf(fileName), true};
}

std::vector<std::pair<std::string, std::string>> FileWatcher::takeChanged()
{
  std::vector<std::pair<std::string, std::string>> changed;
  for (auto& [name, watched] : m_files) {
    const Stamp stamp = stampOf(name);
    if (watched.announced || stamp != watched.stamp)
      changed.emplace_back(name, watched.type);
    watched = {watched.type, stamp, false};
  }
  return changed;
}
