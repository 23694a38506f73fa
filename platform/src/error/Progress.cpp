#include "platform/ORVProgress.h"

namespace orv {

ProgressWatcher* ProgressWatcher::s_watcher = nullptr;
Progress* Progress::s_innermost = nullptr;

ProgressWatcher::~ProgressWatcher() = default;

}  // namespace orv
