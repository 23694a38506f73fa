#include "platform/ORVUtilities.h"
#include "platform/internal/ContextLocal.h"

#include <chrono>
#include <ostream>

namespace orv {

std::string cTime::text() const
{
  std::tm local{};
#if defined(_WIN32)
  const bool known = localtime_s(&local, &m_time) == 0;
#else
  const bool known = localtime_r(&m_time, &local) != nullptr;
#endif
  if (!known)
    return "unknown time";
  char room[64];  // digits and signs only, whatever the locale
  return std::string(room, std::strftime(room, sizeof room, "%Y-%m-%d %H:%M:%S", &local));
}

std::ostream& operator<<(std::ostream& out, const cTime& time)
{
  return out << time.text();
}

namespace {

constinit ContextLocal<OperationTimer::Listener> theListener;

std::int64_t nanoseconds()
{
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

}  // namespace

OperationTimer::OperationTimer(const char* name) : m_name(name), m_start(*theListener ? nanoseconds() : 0) {}

OperationTimer::~OperationTimer()
{
  const Listener listener = m_start == 0 ? nullptr : *theListener;
  if (!listener)
    return;
  try {
    listener(m_name, static_cast<double>(nanoseconds() - m_start) * 1e-9);
  } catch (...) {  // measuring must not disturb what is measured
  }
}

OperationTimer::Listener OperationTimer::setListener(Listener listener) noexcept
{
  return std::exchange(*theListener, listener);
}

}  // namespace orv
