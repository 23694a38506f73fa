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

}  // namespace orv
