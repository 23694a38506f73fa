#include "platform/internal/ParamRun.h"

#include <algorithm>
#include <memory>
#include <new>

namespace orv::store {

namespace {

constexpr std::size_t firstCapacity = 4;

}  // namespace

void ParamRun::release() noexcept
{
  if (--m_rep->owners > 0)
    return;
  std::destroy_n(items(), m_rep->size);
  ::operator delete(m_rep);
}

// To memory of its own: what it shows goes along, or is copied when others show it too.
void ParamRun::move(std::size_t capacity)
{
  void* const memory = ::operator new(sizeof(Rep) + capacity * sizeof(Param));
  Rep* const rep = new (memory) Rep{1, m_size, static_cast<std::uint32_t>(capacity)};
  Param* const to = reinterpret_cast<Param*>(rep + 1);
  if (m_rep && m_rep->owners == 1)
    std::uninitialized_move_n(items(), m_size, to);
  else if (m_rep)
    std::uninitialized_copy_n(items(), m_size, to);
  if (m_rep)
    release();
  m_rep = rep;
}

void ParamRun::reserve(std::size_t capacity)
{
  if (capacity > (m_rep ? m_rep->capacity : 0))
    move(capacity);
}

// What the memory holds beyond this run and nobody shows any more.
void ParamRun::trim() noexcept
{
  if (!m_rep || m_rep->owners > 1)
    return;
  std::destroy(items() + m_size, items() + m_rep->size);
  m_rep->size = m_size;
}

// For one more parameter at the end.
void ParamRun::makeRoom()
{
  trim();
  if (!m_rep || m_size == m_rep->capacity)
    move(std::max<std::size_t>(2 * m_size, firstCapacity));
  else if (m_size < m_rep->size)
    move(m_rep->capacity);
}

void ParamRun::append(Param param)
{
  makeRoom();
  new (items() + m_size) Param(std::move(param));
  m_rep->size = ++m_size;
}

void ParamRun::insert(std::size_t index, Param param)
{
  unshare();
  append(std::move(param));
  std::rotate(items() + index, items() + m_size - 1, items() + m_size);
}

void ParamRun::erase(std::size_t index)
{
  if (index + 1 < m_size) {
    unshare();
    std::move(items() + index + 1, items() + m_size, items() + index);
  }
  truncate(m_size - 1);
}

void ParamRun::truncate(std::size_t size) noexcept
{
  m_size = static_cast<std::uint32_t>(size);
  trim();
}

void ParamRun::dropNameless() noexcept
{
  if (!m_rep)
    return;
  const auto last =
      std::remove_if(items(), items() + m_size, [](const Param& param) { return param.name.empty(); });
  truncate(static_cast<std::size_t>(last - items()));
}

}  // namespace orv::store
