// What the application around the library provides.
#pragma once

#include "platform/ORVExport.h"

#include <map>
#include <string>

namespace orv {

// Settings of the user that outlive a session. This one keeps them in memory.
class ORV_API Preferences {
 public:
  static Preferences* instance();
  static void destroyInstance();
  // The fallback when the name has no value.
  std::string getValue(const std::string& name, const std::string& fallback = {}) const;
  void setValue(const std::string& name, const std::string& value);
  bool hasValue(const std::string& name) const;

 private:
  std::map<std::string, std::string> m_values;
};

// The application's register of files that it watches.
class ORV_API FileChangeManager {
 public:
  virtual ~FileChangeManager();
  // The library read or wrote the file itself; its content is complete and visible.
  virtual void registerFileChange(const std::string& fileName, const std::string& type) = 0;
  // Somebody else changed it.
  virtual void registerExternalFileChange(const std::string& fileName, const std::string& type) = 0;
  // The library is going to read and write files of this type, such as "qst". Told more than once.
  virtual void registerFileType(const std::string& type) = 0;
};

}  // namespace orv
