#include "platform/ORVProgress.h"
#include "platform/internal/ContextLocal.h"

namespace orv {

ProgressWatcher::~ProgressWatcher() = default;

ProgressWatcher* ProgressWatcher::set(ProgressWatcher* watcher) noexcept
{
  return std::exchange(Progress::state().watcher, watcher);
}

ProgressWatcher* ProgressWatcher::get() noexcept
{
  return Progress::state().watcher;
}

Progress::State& Progress::state() noexcept
{
  static constinit ContextLocal<State> state;
  return *state;
}

bool CallbackProgress::advance(std::size_t done) noexcept
{
  if (m_isStopped || std::this_thread::get_id() != m_thread)
    return !m_isStopped;
  try {
    m_progress.advance(done);
  } catch (...) {
    m_stop = std::current_exception();
    m_isStopped = true;
  }
  return !m_isStopped;
}

void CallbackProgress::check()
{
  if (m_stop)
    std::rethrow_exception(std::exchange(m_stop, nullptr));
}

}  // namespace orv
