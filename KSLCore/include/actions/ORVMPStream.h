// A stream that finds files which moved together with the file that names them.
#pragma once

#include "platform/ORVSystem.h"

#include <string>
#include <vector>

namespace orv {

// A file stream. While a session or state file is being read ("/FILE PROCESSING" is there and its mode is not "None"),
// a file that cannot be opened for reading is looked for, by its base name, in the directories of the files in
// progress, innermost first. One that is found there is used instead, and that is reported as internal::error of type
// 8, class "ORVMPStream": "File <name> not found.\n  -> Used local file <candidate> instead.". Files to be written are
// never looked for: another one than the user named must not be touched.
class ORV_API ORVMPStream : public ORVStream {
 public:
  ORVMPStream();
  // Opens at once.
  ORVMPStream(const std::string& fileName, Mode mode);
  ~ORVMPStream() override;

  // getFileName tells which file was opened. When none opens, throws as ORVStream::open does for the name given.
  void open(const std::string& fileName, Mode mode) override;

  // Another directory in which files are looked for, after those of the files in progress, and also when there are none:
  // whoever replays a session command by command names that of the session. Relative names are tried there as they
  // stand, too. Empty, as at start, for none.
  static void setFallbackDirectory(const std::string& directory);

  // The name of the file that reading would find: the name as given when it exists, when no file is in progress or
  // when nothing is found; else the first candidate that exists, reported as above when `report` says so.
  static std::string findLocalFile(const std::string& fileName, bool report);

 private:
  bool tryOpen(const std::string& fileName, Mode mode);
  static std::vector<std::string> localCandidates(const std::string& fileName);
};

}  // namespace orv
