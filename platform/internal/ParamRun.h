// The parameters of one object of a text store, in memory that the object's node shares with what tells of them.
//
// A ParamRun shows the first so many of the parameters that a piece of memory holds, with the values of one moment.
// Copies share the memory: a change list, the history and the node of a new object all name the same run.
//
//   memory   a = 1   b = 5   c = 3           the node's run, newest
//                      └ 4 (2) ┄ 2 (1)       former values, newest first, with the number of the write that replaced them
//                                            a run that a list has had from before write 1 shows b = 2
//
// Invariants:
//  1. What a run shows changes by its own operations alone.
//  2. The newest runs of a piece of memory show what stands in it. One of them may write a value in place: the former
//     one is kept for the others, who thereby stop being newest. Whoever is not newest writes in memory of its own.
//  3. A run that is not newest shows of each value the former one that the first write after its own replaced, if any.
//  4. Former values are kept as long as somebody shows them, and no more of them than the writer has parameters: then
//     a copy takes no more, and the writer moves to one.
//  5. Appending never disturbs the others, who show less: it goes in place while the memory ends where this run does.
//  6. Each piece knows how many parameters it holds; no run shows more. Names and places never change in shared memory.
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
  ParamRun(const ParamRun& other) noexcept : m_rep(other.m_rep), m_size(other.m_size), m_write(other.m_write)
  {
    if (!m_rep)
      return;
    ++m_rep->owners;
    m_rep->older += !isNewest();
  }
  ParamRun(ParamRun&& other) noexcept
      : m_rep(std::exchange(other.m_rep, nullptr)),
        m_size(std::exchange(other.m_size, 0)),
        m_write(other.m_write)
  {}
  ParamRun& operator=(ParamRun other) noexcept
  {
    std::swap(m_rep, other.m_rep);
    std::swap(m_size, other.m_size);
    std::swap(m_write, other.m_write);
    return *this;
  }
  ~ParamRun()
  {
    if (m_rep && m_rep->owners > 1 && !m_rep->former)
      --m_rep->owners;
    else if (m_rep)
      release();
  }

  std::size_t size() const noexcept { return m_size; }
  bool empty() const noexcept { return m_size == 0; }
  // References hold while the memory is shared with a run that is kept; that of a value until somebody writes it.
  const SharedText& name(std::size_t index) const noexcept { return items()[index].name; }
  std::uint32_t place(std::size_t index) const noexcept { return items()[index].place; }
  const SharedText& value(std::size_t index) const noexcept
  {
    return isNewest() ? items()[index].value : formerValue(index);
  }

  bool isShared() const noexcept { return m_rep && m_rep->owners > 1; }
  // Whether it shows the same, as far as both go, because it is the same memory and moment.
  bool sharesWith(const ParamRun& other) const noexcept
  {
    return m_rep && m_rep == other.m_rep && m_write == other.m_write;
  }

  // To show as many as the other. REQUIRES: it shares with it.
  void growTo(const ParamRun& other) noexcept { m_size = other.m_size; }

  // These change nothing when they throw std::bad_alloc. None changes what another run shows.
  void reserve(std::size_t capacity);
  void append(Param param);
  void insert(std::size_t index, Param param);
  void erase(std::size_t index);
  void setValue(std::size_t index, SharedText value);
  // To be the only one.
  void unshare();
  // To be changed as a whole; nobody shares it then.
  Param& own(std::size_t index)
  {
    unshare();
    return items()[index];
  }

  // Forgets the last ones.
  void truncate(std::size_t size) noexcept;
  // Those without a name. REQUIRES: nobody shares this run.
  void dropNameless() noexcept;

 private:
  // One that was replaced.
  struct Former {
    Former* before;
    SharedText value;
    std::uint32_t write;  // the number of the write that replaced it
    std::uint16_t index;
    std::uint16_t count;  // with those before
  };
  struct alignas(Param) Rep {
    std::uint32_t owners;
    std::uint32_t size;
    std::uint32_t capacity;
    std::uint32_t older;  // owners that are not newest; then there are former values
    Former* former;       // the newest; null when nobody shows any
  };
  bool isNewest() const noexcept { return !m_rep->former || m_rep->former->write == m_write; }
  Param* items() const noexcept { return reinterpret_cast<Param*>(m_rep + 1); }
  const SharedText& formerValue(std::size_t index) const noexcept;
  bool keepsFormer(std::size_t index) const noexcept;
  void keepFormer(std::size_t index);
  void release() noexcept;
  void move(std::size_t capacity);
  void makeRoom();
  void trim() noexcept;
  void settle() noexcept;
  static void forgetFormer(Rep& rep) noexcept;

  Rep* m_rep = nullptr;
  std::uint32_t m_size = 0;
  std::uint32_t m_write = 0;  // the last write that it shows, of this memory
};

}  // namespace orv::store
