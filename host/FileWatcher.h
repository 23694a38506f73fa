// The files that the library reads and writes, watched for changes by others.
#pragma once

#include "platform/ORVApplicationSupport.h"

#include <ctime>
#include <map>
#include <set>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

// Remembers how each file looked when the library last read or wrote it. Nothing runs in the background: who wants to
// know asks, between two commands.
class FileWatcher : public orv::FileChangeManager {
 public:
  // A file of a type that was not registered is not watched.
  void registerFileChange(const std::string& fileName, const std::string& type) override;
  void registerExternalFileChange(const std::string& fileName, const std::string& type) override;
  void registerFileType(const std::string& type) override;

  // Files that were read or written since the last call, in that order.
  std::vector<std::string> takeUsed() { return std::exchange(m_used, {}); }
  // (file, type) of each file that others changed, replaced or removed since it was last read, written or asked
  // about here, or that such a change was announced of; in name order. One system call a file.
  std::vector<std::pair<std::string, std::string>> takeChanged();

 private:
  // What tells two states of a file apart.
  struct Stamp {
    bool exists = false;
    ino_t file = 0;
    off_t size = 0;
    std::time_t seconds = 0;
    long nanoseconds = 0;
    bool operator==(const Stamp&) const = default;
  };
  struct Watched {
    std::string type;
    Stamp stamp;
    bool announced = false;
  };
  static Stamp stampOf(const std::string& fileName);

  std::set<std::string> m_types;
  std::map<std::string, Watched> m_files;
  std::vector<std::string> m_used;
};
