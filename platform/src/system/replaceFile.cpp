// A file that is replaced as a whole.

#include "platform/ORVError.h"
#include "platform/ORVSystem.h"
#include "replacement.h"
#include "wholeFile.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv::ORVFile {

namespace {

[[noreturn]] void throwFailure(const std::string& fileName, int reason)
{
  throw file::error("ORVFile", "replace",
                    _("Cannot write file '%s': %s.", fileName, Error::getSystemError(reason)));
}

// An open file. The operations give 0 or the system's reason.
class Descriptor {
 public:
  Descriptor(const std::string& fileName, int flags, mode_t permissions)
      : m_file(::open(fileName.c_str(), flags | O_WRONLY | O_CLOEXEC, permissions)),
        m_openFailure(m_file < 0 ? errno : 0)
  {}
  ~Descriptor()
  {
    if (m_file >= 0)
      ::close(m_file);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int openFailure() const { return m_openFailure; }
  int write(std::string_view text) const
  {
    while (!text.empty()) {
      const ssize_t written = ::write(m_file, text.data(), text.size());
      if (written < 0 && errno != EINTR)
        return errno;
      text.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
    return 0;
  }
  int setPermissions(mode_t permissions) const { return ::fchmod(m_file, permissions) == 0 ? 0 : errno; }
  // For as long as the file is open; where the disk knows no locks there is none.
  void lock() const { ::flock(m_file, LOCK_EX | LOCK_NB); }
  // Hands the content to the disk. Pipes and some file systems know no such thing.
  int synchronise() const
  {
    return ::fsync(m_file) == 0 || errno == EINVAL || errno == ENOTSUP || errno == EROFS ? 0 : errno;
  }
  int close()
  {
    const int file = m_file;
    m_file = -1;
    return ::close(file) == 0 ? 0 : errno;
  }

 private:
  int m_file;
  int m_openFailure;
};

int finish(Descriptor& file, Pieces text)
{
  for (const std::string_view piece : text)
    if (const int failure = file.write(piece))
      return failure;
  if (const int failure = file.synchronise())
    return failure;
  return file.close();
}

// The beginning of the names of a target's temporary files. Names have a limit, 255 characters nearly everywhere.
std::string temporaryPrefix(const std::string& name)
{
  constexpr std::size_t longest = 200;
  const std::string file = getFilename(name);
  if (file.size() <= longest)
    return ".orv-" + file + '-';
  return ".orv-" + file.substr(0, longest) + std::to_string(std::hash<std::string>()(file)) + '-';
}

std::string temporaryName(const std::string& name, int attempt)
{
  return getPath(name) + '/' + temporaryPrefix(name) + std::to_string(::getpid()) + '-'
         + std::to_string(attempt) + ".tmp";
}

// The process that a temporary file of this prefix belongs to; 0 for another file.
pid_t ownerOf(std::string_view file, std::string_view prefix)
{
  if (!file.starts_with(prefix) || !file.ends_with(".tmp"))
    return 0;
  file.remove_prefix(prefix.size());
  pid_t owner = 0;
  const auto [end, failure] = std::from_chars(file.data(), file.data() + file.size(), owner);
  return failure == std::errc() && end != file.data() + file.size() && *end == '-' ? owner : 0;
}

// What processes left behind that were killed while they wrote this target. On a disk that several machines share
// another one's process may have such a number; it holds a lock on its file while it writes.
void removeLeftovers(const std::string& name)
{
  const std::string prefix = temporaryPrefix(name);
  std::vector<std::string> names;
  namesIn(getPath(name), names);
  for (const std::string& other : names) {
    const pid_t owner = ownerOf(other, prefix);
    if (owner <= 0 || owner == ::getpid() || ::kill(owner, 0) == 0 || errno != ESRCH)
      continue;
    const std::string leftover = getPath(name) + '/' + other;
    const int file = ::open(leftover.c_str(), O_RDONLY | O_CLOEXEC);
    if (file >= 0 && ::flock(file, LOCK_EX | LOCK_NB) == 0)
      ::unlink(leftover.c_str());
    if (file >= 0)
      ::close(file);
  }
}

// A name that nobody has, made by `make`, which gives 0, EEXIST or another reason.
template <class Make>
int makeBeside(const std::string& name, std::string& temporary, Make make)
{
  constexpr int attempts = 1000;  // names left behind by processes that were killed
  for (int attempt = 0;; ++attempt) {
    temporary = temporaryName(name, attempt);
    const int failure = make(temporary);
    if (failure != EEXIST || attempt == attempts)
      return failure;
  }
}

int fillFile(Descriptor& file, const ReplaceTarget& target, Pieces text)
{
  file.lock();
  const int failure = target.exists ? file.setPermissions(target.permissions) : 0;
  return failure != 0 ? failure : finish(file, text);
}

}  // namespace

}  // namespace orv::ORVFile

namespace orv {

ReplaceTarget ReplaceTarget::of(const std::string& fileName)
{
  constexpr mode_t all = 07777;
  ReplaceTarget target{fileName};
  struct stat status {};
  if (::lstat(fileName.c_str(), &status) != 0)
    return target;
  target.exists = true;
  target.regular = ::stat(fileName.c_str(), &status) == 0 && S_ISREG(status.st_mode);
  target.permissions = status.st_mode & all;
  target.name = ORVFile::getCanonicalName(fileName);
  return target;
}

int writeBeside(const ReplaceTarget& target, Pieces text, std::string& temporary)
{
  ORVFile::removeLeftovers(target.name);
  return ORVFile::makeBeside(target.name, temporary, [&](const std::string& name) {
    ORVFile::Descriptor file(name, O_CREAT | O_EXCL, 0666);
    if (file.openFailure() != 0)
      return file.openFailure();
    const int failure = ORVFile::fillFile(file, target, text);
    if (failure != 0)
      ::unlink(name.c_str());
    return failure;
  });
}

int writeDirectly(const std::string& name, Pieces text)
{
  ORVFile::Descriptor file(name, O_CREAT | O_TRUNC, 0666);
  return file.openFailure() ? file.openFailure() : ORVFile::finish(file, text);
}

// A second name for it; a copy where the disk knows no second names.
int keepBeside(const ReplaceTarget& target, std::string& temporary)
{
  return ORVFile::makeBeside(target.name, temporary, [&](const std::string& name) {
    if (::link(target.name.c_str(), name.c_str()) == 0)
      return 0;
    if (errno == EEXIST || errno == ENOENT)
      return errno;
    std::error_code failure;
    std::filesystem::copy_file(target.name, name, failure);
    return failure.value();
  });
}

int moveOver(const std::string& temporary, const ReplaceTarget& target)
{
  return std::rename(temporary.c_str(), target.name.c_str()) == 0 ? 0 : errno;
}

bool directoryRefuses(int failure)
{
  return failure == EACCES || failure == EPERM || failure == EROFS || failure == EBUSY;
}

}  // namespace orv

namespace orv::ORVFile {

namespace {

void replaceBy(const std::string& fileName, Pieces text)
{
  const ReplaceTarget target = ReplaceTarget::of(fileName);
  // Renaming asks the directory only: a file that is write-protected must be asked itself.
  if (target.exists && target.regular && ::access(target.name.c_str(), W_OK) != 0)
    throwFailure(fileName, errno);
  std::string temporary;
  int failure = target.regular ? writeBeside(target, text, temporary) : EACCES;
  if (failure == 0) {
    failure = moveOver(temporary, target);
    if (failure != 0)
      ::unlink(temporary.c_str());
  }
  if (directoryRefuses(failure))
    failure = writeDirectly(target.name, text);
  if (failure != 0)
    throwFailure(fileName, failure);
}

}  // namespace

void replace(const std::string& fileName, std::string_view text)
{
  replaceBy(fileName, Pieces(&text, 1));
}

void replace(const std::string& fileName, const std::vector<std::string_view>& text)
{
  replaceBy(fileName, text);
}

}  // namespace orv::ORVFile
