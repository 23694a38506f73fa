#include "platform/internal/SharedLocks.h"

#include <new>
#include <pthread.h>

namespace orv::SharedLocks {

namespace {

constinit std::recursive_mutex loaderLock;
constinit std::mutex unitsLock;
constinit std::mutex slotsLock;
constinit std::mutex blocksLock;

void lockAll()
{
  loaderLock.lock();
  unitsLock.lock();
  slotsLock.lock();
  blocksLock.lock();
}

void unlockAll()
{
  blocksLock.unlock();
  slotsLock.unlock();
  unitsLock.unlock();
  loaderLock.unlock();
}

// The one thread of the copy is not the thread that locked, as far as a lock with an owner knows.
void unlockInCopy()
{
  blocksLock.unlock();
  slotsLock.unlock();
  unitsLock.unlock();
  new (&loaderLock) std::recursive_mutex;
}

__attribute__((constructor)) void followForks()
{
  pthread_atfork(lockAll, unlockAll, unlockInCopy);
}

}  // namespace

std::recursive_mutex& loader() noexcept
{
  return loaderLock;
}

std::mutex& units() noexcept
{
  return unitsLock;
}

std::mutex& slots() noexcept
{
  return slotsLock;
}

std::mutex& blocks() noexcept
{
  return blocksLock;
}

}  // namespace orv::SharedLocks
