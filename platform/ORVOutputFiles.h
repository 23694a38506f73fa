// Files that belong to a command: what calculations write.
#pragma once

#include "platform/ORVExport.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

// What a command writes is there when it has ended well, and not before: a file is written beside its target and moved
// into place then, and one that was written by a command that is taken back is dropped, so that the files show the last
// good state. Calculations write through it and read what others may have written in the same command by the name that
// `pending` gives:
//
//   OutputFiles::instance()->write(fileName, picture);
//   const std::string table = ORVFile::readAll(OutputFiles::instance()->pending(fileName));
//
// Outside commands files are written at once. A file that a command wrote which is undone later stays.
class ORV_API OutputFiles {
 public:
  static OutputFiles* instance();  // made on first use
  static void destroyInstance();   // drops what is pending
  OutputFiles(const OutputFiles&) = delete;
  OutputFiles& operator=(const OutputFiles&) = delete;

  // Makes the text the whole content of the file, once the command has ended well; the last of several texts of one
  // command counts. What no file can be put beside of, such as a device, is written then. Throws as ORVFile::replace.
  void write(const std::string& fileName, std::string_view text);
  // The file that holds what the command has written to this one; the name itself when it has written nothing.
  std::string pending(const std::string& fileName) const;

  // Puts what is written somewhere else: what this gives for a name is written in its place, and nothing for an empty
  // one. Null, as at start, leaves names as they are. Returns what was set before.
  using Names = std::function<std::string(const std::string& fileName)>;
  Names setNames(Names names) { return std::exchange(m_names, std::move(names)); }
  // For those who only look at what commands compute.
  static std::string nowhere(const std::string&) { return {}; }

  // -- For the command processor. Each but publish keeps its failures to itself.

  // An outermost command begins: files wait. begin and end come in pairs.
  void begin() noexcept;
  // It has ended well: what waits is moved into place; what was there is kept aside. Throws as ORVFile::replace; what
  // was moved until then is put back by discard.
  void publish();
  // It is taken back: what waits is dropped, and what was moved into place makes room for what was there.
  void discard() noexcept;
  // The command is over: what waits still is dropped, and what was kept aside is.
  void end() noexcept;

  // The files that the last command wrote, in the order in which it wrote them first.
  const std::vector<std::string>& written() const noexcept;
  // The same to keep, without memory for it; null for none.
  const std::shared_ptr<const std::vector<std::string>>& shareWritten() const noexcept { return m_written; }

 private:
  struct File;
  OutputFiles();
  ~OutputFiles();
  std::string placeOf(const std::string& fileName) const { return m_names ? m_names(fileName) : fileName; }
  File* find(const std::string& fileName) const;  // of those that wait; null when it is none

  std::vector<std::unique_ptr<File>> m_waiting;  // in the order in which they were written first
  std::vector<std::unique_ptr<File>> m_published;
  std::shared_ptr<const std::vector<std::string>> m_written;
  Names m_names;
  bool m_inCommand = false;
};

}  // namespace orv
