// A file that is replaced as a whole.

#include "platform/ORVError.h"
#include "platform/ORVSystem.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
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

struct Target {
  std::string name;     // links resolved
  bool regular = true;  // or not there, and not a link to nowhere either
  bool exists = false;
  mode_t permissions = 0;  // of one that exists
};

Target targetOf(const std::string& fileName)
{
  constexpr mode_t all = 07777;
  Target target{fileName};
  struct stat status {};
  if (::lstat(fileName.c_str(), &status) != 0)
    return target;
  target.exists = true;
  target.regular = ::stat(fileName.c_str(), &status) == 0 && S_ISREG(status.st_mode);
  target.permissions = status.st_mode & all;
  target.name = getCanonicalName(fileName);
  return target;
}

int finish(Descriptor& file, std::string_view text)
{
  if (const int failure = file.write(text))
    return failure;
  if (const int failure = file.synchronise())
    return failure;
  return file.close();
}

int writeDirectly(const std::string& name, std::string_view text)
{
  Descriptor file(name, O_CREAT | O_TRUNC, 0666);
  return file.openFailure() ? file.openFailure() : finish(file, text);
}

std::string temporaryName(const std::string& name, int attempt)
{
  return getPath(name) + "/.orv-" + std::to_string(::getpid()) + "-" + std::to_string(attempt) + ".tmp";
}

// What says that nobody may make or rename files here, while the file itself may well be written.
bool directoryRefuses(int failure)
{
  return failure == EACCES || failure == EPERM || failure == EROFS || failure == EBUSY;
}

int renameOver(const std::string& temporary, Descriptor& file, const Target& target, std::string_view text)
{
  int failure = target.exists ? file.setPermissions(target.permissions) : 0;
  if (failure == 0)
    failure = finish(file, text);
  if (failure == 0 && std::rename(temporary.c_str(), target.name.c_str()) != 0)
    failure = errno;
  if (failure != 0)
    ::unlink(temporary.c_str());
  return failure;
}

int writeBeside(const Target& target, std::string_view text)
{
  constexpr int attempts = 1000;  // names left behind by processes that were killed
  for (int attempt = 0;; ++attempt) {
    const std::string temporary = temporaryName(target.name, attempt);
    Descriptor file(temporary, O_CREAT | O_EXCL, 0666);
    if (file.openFailure() == 0)
      return renameOver(temporary, file, target, text);
    if (file.openFailure() != EEXIST || attempt == attempts)
      return file.openFailure();
  }
}

}  // namespace

void replace(const std::string& fileName, std::string_view text)
{
  const Target target = targetOf(fileName);
  // Renaming asks the directory only: a file that is write-protected must be asked itself.
  if (target.exists && target.regular && ::access(target.name.c_str(), W_OK) != 0)
    throwFailure(fileName, errno);
  int failure = target.regular ? writeBeside(target, text) : EACCES;
  if (directoryRefuses(failure))
    failure = writeDirectly(target.name, text);
  if (failure != 0)
    throwFailure(fileName, failure);
}

}  // namespace orv::ORVFile
