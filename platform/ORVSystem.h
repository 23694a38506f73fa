// The system library: files. Failures are file::error with the file's name and the system's reason.
#pragma once

#include "platform/ORVException.h"

#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

// A file stream with the product family's name for what it does. Its failures are thrown, so that nothing
// written is lost in silence; only the destructor, which closes too, keeps them to itself.
class ORV_API ORVStream {
 public:
  enum class Mode { read, write, append };

  ORVStream();
  virtual ~ORVStream();
  ORVStream(const ORVStream&) = delete;
  ORVStream& operator=(const ORVStream&) = delete;

  // Closes what is open and opens the file; mode write empties it, append keeps what it holds. When it fails,
  // the stream is closed and its file name is as before. Throws file::error, class "ORVStream", function
  // "open", "Cannot open file '%s': %s.".
  virtual void open(const std::string& fileName, Mode mode);
  bool isOpen() const;
  // The file opened last, as it was named.
  const std::string& getFileName() const { return m_fileName; }

  // Hands the text to the system at once, so better whole texts than letters. Throws file::error, function "write",
  // "Cannot write file '%s': %s."; the file holds a part of the text then, or nothing of it.
  void write(std::string_view text);
  // Throws as write does, also when an earlier write has failed.
  void flush();
  // The next line without its end (a CR before it is dropped, and a byte-order mark at the beginning of the file); false
  // at the end of the file.
  // Throws file::error, function "readLine", "Cannot read file '%s': %s.".
  bool readLine(std::string& line);
  // All the lines that are left. Throws as readLine does.
  std::vector<std::string> readLines();
  // All that is left, as ORVFile::readAll gives it. Throws as readLine does, function "readAll", also for a file that is
  // too large.
  std::string readAll();
  // Flushes and closes; throws as write does, and is closed then too. Nothing when not open.
  void close();

 private:
  [[noreturn]] void failWrite();

  std::fstream m_stream;
  std::string m_fileName;
  bool m_writeFailed = false;  // since the file was opened
  bool m_atBegin = true;       // no line was read yet
};

namespace ORVFile {

ORV_API bool exists(const std::string& fileName);
ORV_API bool isDirectory(const std::string& fileName);
// The most bytes that a file may have to be read as one text: what never ends must not take all memory.
inline constexpr std::size_t largestText = std::size_t{1} << 30;
// The whole file; CR LF reads as LF, and a byte-order mark is dropped. Throws file::error, class "ORVFile", function
// "readAll", "Cannot read file '%s': %s.", also for one that is too large.
ORV_API std::string readAll(const std::string& fileName);
// The whole file as lines, without their ends; CR LF reads as LF. Throws as readAll does.
ORV_API std::vector<std::string> readLines(const std::string& fileName);
// True when every byte is a character of ASCII, NUL excepted.
ORV_API bool isAscii(std::string_view text) noexcept;
// The files of a directory whose names end so, in name order, with the directory's name before theirs. Throws
// file::error, function "listFiles", "Cannot read directory '%s': %s.".
ORV_API std::vector<std::string> listFiles(const std::string& directory, std::string_view ending);
// Makes the text the whole content of a file, so that at every moment, also when the process ends in the middle, the
// file holds either all that it held or all of the text: a file beside it is written, given to the disk and renamed to
// the target, which keeps its permissions; links are followed. A directory that lets nobody do that, and what is no
// regular file, is written directly. Throws file::error, class "ORVFile", function "replace", "Cannot write file '%s':
// %s."; the file is as it was then, unless it was written directly.
ORV_API void replace(const std::string& fileName, std::string_view text);
// The same with a text in pieces, one behind the other.
ORV_API void replace(const std::string& fileName, const std::vector<std::string_view>& text);
// The last component, and what stands before it ("." when there is nothing, "/" for a file right below it).
// Both slashes separate.
ORV_API std::string getFilename(std::string_view path);
ORV_API std::string getPath(std::string_view path);
// The one name of the file that this name leads to: absolute, without links, "." and ".."; what does not exist keeps
// its name as it is written.
ORV_API std::string getCanonicalName(const std::string& fileName);

}  // namespace ORVFile

}  // namespace orv
