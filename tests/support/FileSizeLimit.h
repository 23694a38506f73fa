// A disk that is full: no file grows beyond so many bytes while this lives.
#pragma once

#include <csignal>
#include <sys/resource.h>

namespace orv {

class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN))
  {
    getrlimit(RLIMIT_FSIZE, &m_former);
    rlimit limit = m_former;
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit()
  {
    setrlimit(RLIMIT_FSIZE, &m_former);
    std::signal(SIGXFSZ, m_handler);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit m_former{};
  void (*m_handler)(int);
};

}  // namespace orv
