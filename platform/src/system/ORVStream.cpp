#include "wholeFile.h"

#include <cerrno>
#include <filesystem>

namespace orv {

namespace {

// The reason is errno, which each operation clears first: a stream may refuse before it asks the system.
[[noreturn]] void throwFailure(const char* function, const char* format, const std::string& fileName,
                               const std::string& reason = Error::getSystemError())
{
  throw file::error("ORVStream", function, _(format, fileName, reason));
}

std::ios::openmode openMode(ORVStream::Mode mode)
{
  switch (mode) {
    case ORVStream::Mode::read:
      return std::ios::in | std::ios::binary;
    case ORVStream::Mode::write:
      return std::ios::out | std::ios::trunc | std::ios::binary;
    case ORVStream::Mode::append:
      return std::ios::out | std::ios::app | std::ios::binary;
  }
  return std::ios::in | std::ios::binary;
}

}  // namespace

ORVStream::ORVStream() = default;

ORVStream::~ORVStream() = default;

void ORVStream::failWrite()
{
  m_writeFailed = true;
  throwFailure("write", "Cannot write file '%s': %s.", m_fileName);
}

void ORVStream::open(const std::string& fileName, Mode mode)
{
  close();
  m_stream = std::fstream();
  // What is written goes to the system at once: nothing stays behind a failure, to be written a second time on closing.
  if (mode != Mode::read)
    m_stream.rdbuf()->pubsetbuf(nullptr, 0);
  errno = 0;
  m_stream.open(fileName, openMode(mode));
  if (!m_stream.is_open())
    throwFailure("open", "Cannot open file '%s': %s.", fileName);
  m_fileName = fileName;
  m_writeFailed = false;
  m_atBegin = true;
}

bool ORVStream::isOpen() const
{
  return m_stream.is_open();
}

void ORVStream::write(std::string_view text)
{
  errno = isOpen() ? 0 : EBADF;
  m_stream.write(text.data(), static_cast<std::streamsize>(text.size()));
  if (!m_stream)
    failWrite();
}

void ORVStream::flush()
{
  errno = isOpen() ? 0 : EBADF;
  m_stream.flush();
  if (!m_stream || !isOpen())
    failWrite();
}

bool ORVStream::readLine(std::string& line)
{
  errno = isOpen() ? 0 : EBADF;
  std::getline(m_stream, line);
  if (m_stream.bad() || !isOpen())
    throwFailure("readLine", "Cannot read file '%s': %s.", m_fileName);
  if (!m_stream)
    return false;
  const bool first = std::exchange(m_atBegin, false);
  if (first || line.ends_with('\r')) {
    line += '\n';
    tidyText(line);
    line.pop_back();
  }
  return true;
}

std::vector<std::string> ORVStream::readLines()
{
  std::vector<std::string> lines;
  for (std::string line; readLine(line);)
    lines.push_back(std::move(line));
  return lines;
}

std::string ORVStream::readAll()
{
  errno = isOpen() ? 0 : EBADF;
  std::error_code unknown;  // of what is no regular file
  const std::uintmax_t size = std::filesystem::file_size(m_fileName, unknown);
  std::string text;
  if ((!unknown && size > ORVFile::largestText) || !readWhole(text, [this](char* room, std::size_t length) {
        m_stream.read(room, static_cast<std::streamsize>(length));
        return static_cast<std::size_t>(m_stream.gcount());
      }))
    throwFailure("readAll", "Cannot read file '%s': %s.", m_fileName, tooLargeText());
  if (m_stream.bad() || !isOpen())
    throwFailure("readAll", "Cannot read file '%s': %s.", m_fileName);
  tidyText(text);
  return text;
}

void ORVStream::close()
{
  if (!isOpen())
    return;
  // What an earlier write could not hand over counts here too: the file is not what its writer believes.
  errno = 0;
  const bool closed = m_stream.rdbuf()->close() != nullptr;
  m_stream.clear();
  if (m_writeFailed || !closed)
    failWrite();
}

}  // namespace orv
