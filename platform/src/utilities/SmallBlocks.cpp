#include "platform/internal/SmallBlocks.h"

#include "platform/internal/SharedLocks.h"

#include <mutex>
#include <new>
#include <utility>

#if !defined(NDEBUG) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ORV_BLOCKS_FROM_ALLOCATOR 1
#endif

namespace orv {

namespace {

#ifndef ORV_BLOCKS_FROM_ALLOCATOR

constexpr std::size_t pieceSize = 16384;

struct Block {
  Block* next;       // free as well
  Block* nextChain;  // of the first block of a chain that a thread left
};

// Of one size: what is free on this thread, and what threads that ended have left.
template <std::size_t size>
class FreeBlocks {
 public:
  static void* take()
  {
    if (!s_first)
      s_first = more();
    return std::exchange(s_first, s_first->next);
  }
  static void give(void* memory) noexcept { s_first = new (memory) Block{s_first, nullptr}; }

 private:
  static_assert(size >= sizeof(Block) && size % alignof(std::max_align_t) % alignof(Block) == 0);

  struct Leaving {
    bool expected = false;
    ~Leaving()
    {
      if (!s_first)
        return;
      const std::lock_guard guard(SharedLocks::blocks());
      s_first->nextChain = std::exchange(s_left, s_first);
      s_first = nullptr;
    }
  };

  static Block* more()
  {
    static thread_local Leaving leaving;
    leaving.expected = true;
    {
      const std::lock_guard guard(SharedLocks::blocks());
      if (s_left)
        return std::exchange(s_left, s_left->nextChain);
    }
    return cut();
  }
  static Block* cut()
  {
    char* const piece = static_cast<char*>(::operator new(pieceSize));
    Block* first = nullptr;
    for (std::size_t at = pieceSize / size; at-- > 0;)
      first = new (piece + at * size) Block{first, nullptr};
    return first;
  }

#if defined(__GLIBC__)
  __attribute__((tls_model("initial-exec")))
#endif
  static constinit thread_local Block* s_first;
  static constinit Block* s_left;  // chains, under the lock
};

template <std::size_t size>
constinit thread_local Block* FreeBlocks<size>::s_first = nullptr;
template <std::size_t size>
constinit Block* FreeBlocks<size>::s_left = nullptr;

#endif

}  // namespace

template <std::size_t size>
void* SmallBlocks<size>::take()
{
#ifdef ORV_BLOCKS_FROM_ALLOCATOR
  return ::operator new(size);
#else
  return FreeBlocks<size>::take();
#endif
}

template <std::size_t size>
void SmallBlocks<size>::give(void* block) noexcept
{
#ifdef ORV_BLOCKS_FROM_ALLOCATOR
  ::operator delete(block);
#else
  FreeBlocks<size>::give(block);
#endif
}

template struct SmallBlocks<32>;  // definitions of parameters, places of objects
template struct SmallBlocks<40>;  // shared texts

}  // namespace orv
