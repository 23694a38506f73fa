// The parameters of one object of a text store, in memory that the object's node shares with what tells of them.
//
// A ParamRun shows the first so many of the parameters that a piece of memory holds. Copies share the memory: a change
// list, the history and the node of a new object all name the same run. Invariants:
//  1. What a run shows changes by its own operations alone. So a parameter is written in place only in memory that
//     nobody else has; a run that shares copies what it shows before it is written.
//  2. Appending never disturbs the others, who show less: it goes in place while the memory ends where this run does.
//  3. Each piece knows how many parameters it holds; no run shows more.
// Nothing here knows what parameters mean. Not for several threads, as SharedText.
#pragma once

#include "platform/ORVUtilities.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace orv::store {

struct Param {
  SharedText name;
  SharedText value;
  std::uint32_t place = 0;  // among parameters and children of its node
};

class ORV_API ParamRun {
 public:
  ParamRun() noexcept = default;
  ParamRun(const ParamRun& other) noexcept : m_rep(other.m_rep), m_size(other.m_size)
  {
    if (m_rep)
      ++m_rep->owners;
  }
  ParamRun(ParamRun&& other) noexcept
      : m_rep(std::exchange(other.m_rep, nullptr)),
        m_size(std::exchange(other.m_size, 0))
  {}
  ParamRun& operator=(ParamRun other) noexcept
  {
    std::swap(m_rep, other.m_rep);
    std::swap(m_size, other.m_size);
    return *this;
  }
  ~ParamRun()
  {
    if (m_rep)
      release();
  }

  std::size_t size() const noexcept { return m_size; }
  bool empty() const noexcept { return m_size == 0; }
  const Param& operator[](std::size_t index) const noexcept { return items()[index]; }
  const Param& back() const noexcept { return items()[m_size - 1]; }
  const Param* begin() const noexcept { return m_rep ? items() : nullptr; }
  const Param* end() const noexcept { return begin() + m_size; }
  bool isShared() const noexcept { return m_rep && m_rep->owners > 1; }
  bool sharesWith(const ParamRun& other) const noexcept { return m_rep && m_rep == other.m_rep; }

  // These change nothing when they throw std::bad_alloc. None moves what another run shows.
  void reserve(std::size_t capacity);
  void append(Param param);
  void insert(std::size_t index, Param param);
  void erase(std::size_t index);
  void unshare()
  {
    if (isShared())
      move(m_rep->capacity);
  }
  Param& write(std::size_t index)
  {
    if (m_rep->owners > 1)
      move(m_rep->capacity);
    return items()[index];
  }

  // Forgets the last ones.
  void truncate(std::size_t size) noexcept;
  // Those without a name. REQUIRES: nobody shares this run.
  void dropNameless() noexcept;

 private:
  struct alignas(Param) Rep {
    std::uint32_t owners;
    std::uint32_t size;
    std::uint32_t capacity;
  };
  Param* items() const noexcept { return reinterpret_cast<Param*>(m_rep + 1); }
  void release() noexcept;
  void move(std::size_t capacity);
  void makeRoom();
  void trim() noexcept;

  Rep* m_rep = nullptr;
  std::uint32_t m_size = 0;
};

}  // namespace orv::store
