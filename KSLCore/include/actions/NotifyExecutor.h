// "> notify op=filechange, filename=FILE, type=TYPE": tells the application that somebody else changed a file.
#pragma once

#include "command/ActionExecutor.h"

namespace orv {

class FileChangeManager;

// The three arguments in any order; quotes around a value are taken off. Another op does nothing. Throws ksl::invalid:
// "Syntax error: %s parameters should have the format: %s" with "notify" and "param=value", "Invalid parameter in %s:
// '%s'.", "Did not specify correct number of parameters"; data::invalid "Empty '%s' parameter."; what
// FileChangeManager::registerExternalFileChange does.
class ORV_API NotifyExecutor : public ActionExecutor {
 public:
  explicit NotifyExecutor(FileChangeManager* files) : m_files(files) {}
  ~NotifyExecutor() override;
  void invoke(const std::vector<std::string>& words) override;

 private:
  FileChangeManager* m_files;  // not owned, null for none
};

}  // namespace orv
