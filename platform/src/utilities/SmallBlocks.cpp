#include "platform/internal/SmallBlocks.h"

#if !defined(NDEBUG) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ORV_BLOCKS_FROM_ALLOCATOR 1
#include <new>
#else
#include "platform/internal/FreeBlocks.h"
#include "platform/internal/SharedLocks.h"
#endif

namespace orv {

template <std::size_t size>
void* SmallBlocks<size>::take()
{
#ifdef ORV_BLOCKS_FROM_ALLOCATOR
  return ::operator new(size);
#else
  return FreeBlocks<size, SharedLocks::blocks>::take();
#endif
}

template <std::size_t size>
void SmallBlocks<size>::give(void* block) noexcept
{
#ifdef ORV_BLOCKS_FROM_ALLOCATOR
  ::operator delete(block);
#else
  FreeBlocks<size, SharedLocks::blocks>::give(block);
#endif
}

template struct SmallBlocks<32>;  // definitions of parameters and former values, places of objects
template struct SmallBlocks<40>;  // shared texts

}  // namespace orv
