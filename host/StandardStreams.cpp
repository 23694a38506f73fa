#include "StandardStreams.h"

#include "platform/ORVError.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

[[noreturn]] void throwFailure(const std::string& reason)
{
  throw orv::file::error("ksl", "readStandardInput", orv::_("Cannot read standard input: %s.", reason));
}

}  // namespace

void secureStandardStreams()
{
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
    if (::fcntl(stream, F_GETFD) < 0 && errno == EBADF)
      static_cast<void>(::open("/dev/null", O_RDWR));  // gets the lowest free number, which is this one
  std::signal(SIGXFSZ, SIG_IGN);
}

void requireReadableInput()
{
  struct stat status {};
  if (::fstat(STDIN_FILENO, &status) == 0 && S_ISDIR(status.st_mode))
    throwFailure(orv::Error::getSystemError(EISDIR));
}

std::string readStandardInput()
{
  requireReadableInput();
  std::string text;
  char buffer[1 << 16];
  while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, stdin)) {
    text.append(buffer, count);
    if (text.size() > orv::ORVFile::largestText)
      throwFailure(orv::_("It has more than %d MB", orv::ORVFile::largestText >> 20));
  }
  if (std::ferror(stdin))
    throwFailure(orv::Error::getSystemError());
  if (text.starts_with("\xEF\xBB\xBF"))  // a byte-order mark
    text.erase(0, 3);
  return text;
}
