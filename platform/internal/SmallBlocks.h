// Memory for the small things of which a model has millions and which live as long as it does.
//
// Blocks of one size are cut from pages and never move. Each thread takes from its own pages, one after the other; what
// it has left when it ends serves the others. A block may be given back on any thread. Pages stay with the process: a
// model that goes makes room for the next one, which finds its blocks together again.
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
