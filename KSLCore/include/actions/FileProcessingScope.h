// Files under way: a session that is replayed, a state that is loaded.
#pragma once

#include "platform/ORVExport.h"
#include "database/ParamDefinition.h"

#include <string>

namespace orv {

// While it lives the object "/FILE PROCESSING" says what kind of file is being read ("Processing Mode") and where files
// that it names are also looked for ("Path Stack": directories, innermost first), and the file counts as in progress.
//
//   FileProcessingScope::createObject("ReadSessionExecutor", "invoke");
//   FileProcessingScope::checkNotInProgress(fileName, "ReadSessionExecutor", "invoke");
//   const FileProcessingScope scope("Session", fileName);
//
// Scopes nest, and end in the reverse order. Values are set in the database alone, past the text store and the history:
// the end of the scope puts them back, on every way out, also where an observer fails or there is no memory. It looks the
// object up again, for what was read may have deleted it, or the failure of the command that created it; nothing is left
// to restore then.
class ORV_API FileProcessingScope {
 public:
  // Creates the object when it is missing, idle, by a text of its own: a part of the command under way. True when it
  // did. Throws ksl::invalid, "Unable to create object %s" with "FILE PROCESSING", of the class and function given, when it still
  // is not there then.
  static bool createObject(const char* className, const char* function);

  // A file that is in progress must not be begun again: it would never end. Throws file::error, "File '%s' is already
  // being processed.", of the class and function given. Names are compared as the files that they lead to.
  static void checkNotInProgress(const std::string& fileName, const char* className, const char* function);
  static bool isInProgress(const std::string& fileName);

  // The mode is "Session" or "State". Throws ksl::invalid, class "FileProcessingScope", "Cannot find object %s" with
  // "FILE PROCESSING" when the object is missing, and what setting its values throws; nothing is changed then.
  FileProcessingScope(const std::string& mode, const std::string& fileName);
  ~FileProcessingScope();
  FileProcessingScope(const FileProcessingScope&) = delete;
  FileProcessingScope& operator=(const FileProcessingScope&) = delete;

 private:
  void enter(const std::string& mode, const std::string& directory);
  void restore() const noexcept;

  FileProcessingScope* m_outer;   // null for the outermost
  std::string m_file;             // canonical
  SharedText m_object;            // its path
  ParamDefinition::State m_mode;  // as they were before
  ParamDefinition::State m_pathStack;
};

}  // namespace orv
