// What stands here is why these tests are an executable of their own: it replaces the allocation functions.
#include "tests/faults/Trap.h"

#include <cstdlib>
#include <new>
#include <stdexcept>

namespace orv {

Trap trap;

void failAt(FaultKind occasion)
{
  if (trap.strikes(occasion))
    throw std::runtime_error("the trap");
}

}  // namespace orv

// All forms but the aligned ones, which pair up among themselves: sanitizers bring each of these too, and must not see
// one of theirs released by one of ours.

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
  return orv::trap.strikes(orv::FaultKind::allocation) ? nullptr : std::malloc(size ? size : 1);
}

void* operator new(std::size_t size)
{
  if (void* memory = operator new(size, std::nothrow))
    return memory;
  throw std::bad_alloc();
}

void* operator new[](std::size_t size)
{
  return operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
  return operator new(size, std::nothrow);
}

// GCC takes the free of a replaced allocation for a mismatch when it sees both at once.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

void operator delete(void* memory) noexcept
{
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
  std::free(memory);
}

void operator delete[](void* memory) noexcept
{
  std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
  std::free(memory);
}
