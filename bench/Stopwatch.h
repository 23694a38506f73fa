// How benchmarks take times, and trust what they have timed.
#pragma once

#include <ctime>
#include <stdexcept>
#include <string>

namespace bench {

// Processor time of this process: what others do on the machine does not count.
class Stopwatch {
 public:
  double seconds() const { return now() - m_start; }

 private:
  static double now()
  {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
  }
  double m_start = now();
};

// A wrong result makes a figure worthless.
inline void require(bool good, const char* what)
{
  if (!good)
    throw std::runtime_error(std::string("wrong result: ") + what);
}

}  // namespace bench
