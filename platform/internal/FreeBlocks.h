// The pages that small blocks are cut from, where they do not come from the allocator (SmallBlocks).
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>
#include <utility>

namespace orv {

// Of one size, for one thread. A block that is given back waits in its page, and a page is used up before the next one:
// so what is taken in a row lies together, in whatever order a former model went. The lock guards what threads share.
template <std::size_t size, std::mutex& (*lock)() noexcept>
class FreeBlocks {
 public:
  static void* take()
  {
    if (!s_mine.first)
      refill();
    return std::exchange(s_mine.first, s_mine.first->next);
  }

  static void give(void* memory) noexcept
  {
    Page* const page = Page::of(memory);
    if (page == s_mine.page)
      push(s_mine.first, memory);
    else if (s_mine.id && page->owner.load(std::memory_order_relaxed) == s_mine.id) {
      push(page->free, memory);
      if (!page->listed)
        list(page);
    } else {
      if (!s_mine.id)
        enter();
      push(s_mine.strays, memory);
    }
  }

 private:
  static constexpr std::size_t pageSize = 4096;
  static constexpr std::size_t chunkSize = 256 * pageSize;  // cut at once; untouched until it is used

  struct Block {
    Block* next;       // free as well
    Block* nextChain;  // of the first block of a chain that a thread left
  };

  // Heads a page of blocks of one size. Its blocks are free at the place that is being taken from, or here, or in use.
  struct Page {
    Block* free = nullptr;
    Page* next = nullptr;  // with free blocks, of the same thread; listed says whether it is one of these
    Page* nextChain = nullptr;  // of the first page of a chain that a thread left
    std::atomic<std::uint64_t> owner = 0;
    bool listed = false;

    static Page* of(void* block)
    {
      return reinterpret_cast<Page*>(reinterpret_cast<std::uintptr_t>(block)
                                     & ~(std::uintptr_t{pageSize} - 1));
    }
  };

  static_assert(size >= sizeof(Block) && size % alignof(Block) == 0);

  struct Mine {
    Block* first;  // the next to be taken
    Page* page;    // the page they are of; null: strays
    Page* roomy;   // pages with free blocks, in the order in which they got one
    Page* lastRoomy;
    Block* strays;     // of pages of other threads
    std::uint64_t id;  // no two threads have the same; 0: none yet
    bool ended;        // what is taken or given now, by the last destructors of the thread, stays with it
  };

  // What all threads share, under the lock.
  struct Shared {
    char* unused;  // pages never used yet
    char* unusedEnd;
    Page* pages;    // chains that threads left
    Block* strays;  // the same
    std::uint64_t lastId;
  };

  struct Leaving {
    bool expected = false;
    ~Leaving()
    {
      if (s_mine.page && s_mine.first) {
        s_mine.page->free = s_mine.first;
        list(s_mine.page);
      } else if (s_mine.first)
        leave(s_mine.first);
      if (s_mine.strays)
        leave(s_mine.strays);
      const std::lock_guard guard(lock());
      if (s_mine.roomy)
        s_mine.roomy->nextChain = std::exchange(s_shared.pages, s_mine.roomy);
      s_mine = {};
      s_mine.ended = true;
    }
    static void leave(Block* chain)
    {
      const std::lock_guard guard(lock());
      chain->nextChain = std::exchange(s_shared.strays, chain);
    }
  };

  static void push(Block*& first, void* memory) { first = new (memory) Block{first, nullptr}; }

  static void list(Page* page)
  {
    page->listed = true;
    page->next = nullptr;
    (s_mine.roomy ? s_mine.lastRoomy->next : s_mine.roomy) = page;
    s_mine.lastRoomy = page;
  }

  static void refill()
  {
    s_mine.page = nullptr;
    if (!s_mine.roomy && s_mine.strays) {
      s_mine.first = std::exchange(s_mine.strays, nullptr);
      return;
    }
    if (!s_mine.roomy && !obtain())
      return;
    Page* const page = std::exchange(s_mine.roomy, s_mine.roomy->next);
    page->listed = false;
    s_mine.page = page;
    s_mine.first = std::exchange(page->free, nullptr);
  }

  static void enter()
  {
    if (!s_mine.ended) {
      static thread_local Leaving leaving;
      leaving.expected = true;
    }
    const std::lock_guard guard(lock());
    s_mine.id = ++s_shared.lastId;
  }

  // Whether there are pages with room now; else there is a chain of strays to take from.
  static bool obtain()
  {
    if (!s_mine.id)
      enter();
    const std::lock_guard guard(lock());
    if (s_shared.pages) {
      adopt(std::exchange(s_shared.pages, s_shared.pages->nextChain));
      return true;
    }
    if (s_shared.strays) {
      s_mine.first = std::exchange(s_shared.strays, s_shared.strays->nextChain);
      return false;
    }
    list(cut());
    return true;
  }

  static void adopt(Page* chain)
  {
    s_mine.roomy = chain;
    for (Page* page = chain; page; page = page->next) {
      page->owner.store(s_mine.id, std::memory_order_relaxed);
      s_mine.lastRoomy = page;
    }
  }

  static Page* cut()
  {
    if (s_shared.unused == s_shared.unusedEnd) {
      s_shared.unused =
          static_cast<char*>(::operator new(chunkSize, static_cast<std::align_val_t>(pageSize)));
      s_shared.unusedEnd = s_shared.unused + chunkSize;
    }
    char* const memory = std::exchange(s_shared.unused, s_shared.unused + pageSize);
    Page* const page = new (memory) Page;
    page->owner.store(s_mine.id, std::memory_order_relaxed);
    for (std::size_t at = pageSize; at >= sizeof(Page) + size; at -= size)
      push(page->free, memory + at - size);
    return page;
  }

#if defined(__GLIBC__)
  __attribute__((tls_model("initial-exec")))
#endif
  static constinit thread_local Mine s_mine;
  static constinit Shared s_shared;
};

template <std::size_t size, std::mutex& (*lock)() noexcept>
constinit thread_local typename FreeBlocks<size, lock>::Mine FreeBlocks<size, lock>::s_mine = {};
template <std::size_t size, std::mutex& (*lock)() noexcept>
constinit typename FreeBlocks<size, lock>::Shared FreeBlocks<size, lock>::s_shared = {};

}  // namespace orv
