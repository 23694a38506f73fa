// Memory for the small things of which a model has millions and which live as long as it does.
//
// Blocks of one size are cut from pieces and never move. A block that is given back is the next to be taken on that
// thread; what a thread has left when it ends serves the others. Pieces stay with the process: a model that goes makes
// room for the next one.
//
// Builds that check themselves (with assertions, or under a sanitizer) take each block from the allocator, so that what
// is wrong with one is seen, and every one of them can be made to fail.
#pragma once

#include <cstddef>

namespace orv {

template <std::size_t size>
struct SmallBlocks {
  static void* take();  // std::bad_alloc
  static void give(void* block) noexcept;
};

}  // namespace orv
