// The locks of what all contexts share. A copy of the process (fork) finds them free and what they guard whole, whatever
// other threads were doing. Who holds several takes them in this order.
#pragma once

#include <mutex>

namespace orv::SharedLocks {

std::recursive_mutex& loader() noexcept;  // whoever loads libraries, which may load others
std::mutex& units() noexcept;             // whoever calls the units package
std::mutex& slots() noexcept;             // the list of context variables
std::mutex& blocks() noexcept;            // memory that threads left to others

}  // namespace orv::SharedLocks
