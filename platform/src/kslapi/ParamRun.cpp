#include "platform/internal/ParamRun.h"

#include "platform/internal/SmallBlocks.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>

namespace orv::store {

namespace {

constexpr std::size_t firstCapacity = 4;
using FormerBlocks = SmallBlocks<32>;

}  // namespace

// ------------------------------------------------------------------------------------------------------ former values

const SharedText& ParamRun::formerValue(std::size_t index) const noexcept
{
  const SharedText* shown = &items()[index].value;
  for (const Former* former = m_rep->former; former && former->write > m_write; former = former->before) {
    if (former->index == index)
      shown = &former->value;
  }
  return *shown;
}

void ParamRun::forgetFormer(Rep& rep) noexcept
{
  while (rep.former) {
    Former* const gone = std::exchange(rep.former, rep.former->before);
    std::destroy_at(gone);
    FormerBlocks::give(gone);
  }
}

// Puts into the memory what this run shows. REQUIRES: nobody shares it.
void ParamRun::settle() noexcept
{
  if (!m_rep || !m_rep->former)
    return;
  for (Former* former = m_rep->former; former && former->write > m_write; former = former->before)
    items()[former->index].value = std::move(former->value);
  forgetFormer(*m_rep);
  m_rep->older = 0;
}

void ParamRun::setValue(std::size_t index, SharedText value)
{
  if (m_rep->owners == 1)
    settle();
  else if (!keepsFormer(index))
    keepFormer(index);
  items()[index].value = std::move(value);
}

// Whether all others show this parameter as it was before the last write.
bool ParamRun::keepsFormer(std::size_t index) const noexcept
{
  return m_rep->former && m_rep->former->index == index && m_rep->older + 1 == m_rep->owners && isNewest();
}

// For the others, before it is written; or takes memory of its own.
void ParamRun::keepFormer(std::size_t index)
{
  const std::size_t kept = m_rep->former ? m_rep->former->count : 0;
  if (!isNewest() || kept >= std::min<std::size_t>(m_size, UINT16_MAX) || index > UINT16_MAX
      || m_write == UINT32_MAX)
    return unshare();
  static_assert(sizeof(Former) <= 32);
  void* const memory = FormerBlocks::take();
  m_rep->former =
      new (memory) Former{m_rep->former, items()[index].value, m_write + 1, static_cast<std::uint16_t>(index),
                          static_cast<std::uint16_t>(kept + 1)};
  m_rep->older = m_rep->owners - 1;
  ++m_write;
}

// ------------------------------------------------------------------------------------------------------------- memory

void ParamRun::release() noexcept
{
  const bool wasNewest = isNewest();
  if (--m_rep->owners > 0) {
    if (!wasNewest && --m_rep->older == 0)
      forgetFormer(*m_rep);
    return;
  }
  forgetFormer(*m_rep);
  std::destroy_n(items(), m_rep->size);
  ::operator delete(m_rep);
}

// To memory of its own: what it shows goes along, or is copied when others show it too.
void ParamRun::move(std::size_t capacity)
{
  void* const memory = ::operator new(sizeof(Rep) + capacity * sizeof(Param));
  Rep* const rep = new (memory) Rep{1, m_size, static_cast<std::uint32_t>(capacity), 0, nullptr};
  Param* const to = reinterpret_cast<Param*>(rep + 1);
  if (m_rep && m_rep->owners == 1) {
    settle();
    std::uninitialized_move_n(items(), m_size, to);
  } else {
    for (std::size_t i = 0; i < m_size; ++i)
      new (to + i) Param{name(i), value(i), items()[i].place};
  }
  if (m_rep)
    release();
  m_rep = rep;
  m_write = 0;
}

void ParamRun::reserve(std::size_t capacity)
{
  if (capacity > (m_rep ? m_rep->capacity : 0))
    move(capacity);
}

void ParamRun::unshare()
{
  if (isShared())
    move(m_rep->capacity);
  else
    settle();
}

// What the memory holds beyond this run and nobody shows any more.
void ParamRun::trim() noexcept
{
  if (!m_rep || m_rep->owners > 1)
    return;
  settle();
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
  settle();
  const auto last =
      std::remove_if(items(), items() + m_size, [](const Param& param) { return param.name.empty(); });
  truncate(static_cast<std::size_t>(last - items()));
}

}  // namespace orv::store
