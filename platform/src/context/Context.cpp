#include "platform/ORVContext.h"
#include "platform/ORVError.h"
#include "platform/internal/ContextLocal.h"
#include "platform/internal/SharedLocks.h"

#include <array>
#include <cstdlib>
#include <memory_resource>
#include <mutex>
#include <utility>

namespace orv {

constinit thread_local ContextTable* currentContextTable = nullptr;

namespace {

constexpr const char* contextSource = "platform/src/Context";

// All variables that a context has ever asked for; under its lock.
struct Slots {
  std::uint32_t last = 0;
  std::array<const ContextSlot*, maxContextSlots> all{};
};
constinit Slots slots;

// Differs from thread to thread.
const void* threadMark() noexcept
{
  return &currentContextTable;
}

}  // namespace

// Room for all values is there from the start: that a thread asks for the first time must not fail.
struct ContextValues : ContextTable {
  explicit ContextValues(Context* context) noexcept : owner(context) {}

  Context* owner;
  std::atomic<const void*> thread = nullptr;  // on which it is in use
  int scopes = 0;                             // that live
  alignas(std::max_align_t) std::array<std::byte, 2048> room;
  std::pmr::monotonic_buffer_resource memory{room.data(), room.size()};
};

void ContextSlot::takeIndex() noexcept
{
  const std::lock_guard lock(SharedLocks::slots());
  if (m_index.load(std::memory_order_relaxed) != 0)
    return;
  if (!assertThat(slots.last + 1 < maxContextSlots, "there are slots for all variables of contexts",
                  contextSource))
    std::abort();
  slots.all[++slots.last] = this;
  m_index.store(slots.last, std::memory_order_relaxed);
}

void* ContextSlot::makeIn(ContextTable& table) noexcept
{
  takeIndex();
  void*& value = table.values[m_index.load(std::memory_order_relaxed)];
  value = m_make(static_cast<ContextValues&>(table).memory.allocate(m_size));
  return value;
}

Context::Context() : m_values(std::make_unique<ContextValues>(this)) {}

// A destructor that asks for a part that has ended makes it anew: what is made while stages end is ended, too.
Context::~Context()
{
  if (!assertThat(!isInUse(), "a context that ends is not in use", contextSource))
    std::abort();
  const Scope scope(*this);
  for (int round = 0; round < 2; ++round) {
    for (int stage = 0; stage < static_cast<int>(ContextEnd::none); ++stage)
      endStage(stage);
  }
}

void Context::endStage(int stage) noexcept
{
  for (std::size_t i = 1; i < maxContextSlots; ++i) {
    if (!m_values->values[i] || slots.all[i]->stage() != static_cast<ContextEnd>(stage))
      continue;
    try {
      slots.all[i]->end();
    } catch (...) {  // who ends has no one to tell
    }
  }
}

Context* Context::current() noexcept
{
  return currentContextTable ? static_cast<ContextValues*>(currentContextTable)->owner : nullptr;
}

bool Context::isInUse() const noexcept
{
  return m_values->thread.load(std::memory_order_acquire) != nullptr;
}

// What a thread did in the context is seen by the next that enters it.
void Context::enter()
{
  const void* user = nullptr;
  if (!m_values->thread.compare_exchange_strong(user, threadMark(), std::memory_order_acquire)
      && user != threadMark())
    throw internal::error("Context", "enter", _("The context is in use on another thread."));
  ++m_values->scopes;
}

void Context::leave() noexcept
{
  if (--m_values->scopes == 0)
    m_values->thread.store(nullptr, std::memory_order_release);
}

Context::Scope::Scope(Context& context) : Scope(&context) {}

Context::Scope::Scope(Context* context) : m_context(context), m_outer(current())
{
  if (context)
    context->enter();
  currentContextTable = context ? context->m_values.get() : nullptr;
}

Context::Scope::~Scope()
{
  if (!assertThat(current() == m_context, "scopes of contexts end where they began, the last first",
                  contextSource))
    std::abort();
  currentContextTable = m_outer ? m_outer->m_values.get() : nullptr;
  if (m_context)
    m_context->leave();
}

}  // namespace orv
