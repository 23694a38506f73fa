// Variables of which each context has its own.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

namespace orv {

// When a context ends what it has: in this order. What is named later may be used while what is named before it ends.
enum class ContextEnd : std::uint8_t {
  commands,
  observers,
  objects,
  types,
  unitSystem,
  settings,
  files,
  libraries,
  reports,
  memory,
  none,  // of those that own nothing
};

inline constexpr std::size_t maxContextSlots = 64;

// The values of a context, by the index of their variables. Null: not asked for yet.
struct ContextTable {
  void* values[maxContextSlots] = {};
};

// Of the calling thread's context; null: it is that of the process. Read so often that it must cost no call.
#if defined(__GLIBC__)
__attribute__((tls_model("initial-exec")))
#endif
extern constinit thread_local ContextTable* currentContextTable;

// What is common to the variables, whatever their type.
class ContextSlot {
 public:
  using End = void (*)();
  ContextSlot(const ContextSlot&) = delete;
  ContextSlot& operator=(const ContextSlot&) = delete;

  ContextEnd stage() const noexcept { return m_stage; }
  void end() const { m_end(); }

 protected:
  using Make = void* (*)(void* room);
  constexpr ContextSlot(std::size_t size, Make make, ContextEnd stage, End ending) noexcept
      : m_make(make),
        m_end(ending),
        m_size(static_cast<std::uint16_t>(size)),
        m_stage(stage)
  {}
  ~ContextSlot() = default;

  void* in(ContextTable& table) noexcept
  {
    void* const value = table.values[m_index.load(std::memory_order_relaxed)];
    return value ? value : makeIn(table);
  }

 private:
  void* makeIn(ContextTable& table) noexcept;
  void takeIndex() noexcept;

  std::atomic<std::uint32_t> m_index = 0;  // 0 until the first context asks: there is never a value
  Make m_make;
  End m_end;
  std::uint16_t m_size;
  ContextEnd m_stage;
};

template <class T, bool = std::is_trivially_destructible_v<T>>
struct NeverDestroyed {
  T value = T();
};
template <class T>
struct NeverDestroyed<T, false> {
  constexpr NeverDestroyed() noexcept {}
  ~NeverDestroyed() {}
  union {
    T value = T();
  };
};

// A variable of which the process and each context have their own; it has static storage. Replaces a static variable:
//
//   constinit ContextLocal<ObjectDB*> theInstance(ContextEnd::objects, &ObjectDB::destroyInstance);
//
// Each begins as T(). The one of the process is ready before any static object is made, and lives as long as the
// process. None is destroyed: a context that ends calls the function given, in the order of the stages, while it is
// current, and that gives up what the variable owns. (It may have been called before.)
template <class T>
class ContextLocal final : public ContextSlot {
 public:
  static_assert(sizeof(T) <= 128);
  constexpr ContextLocal() noexcept : ContextLocal(ContextEnd::none, nullptr) {}
  constexpr ContextLocal(ContextEnd stage, End ending) noexcept
      : ContextSlot(
          sizeof(T), [](void* room) { return static_cast<void*>(::new (room) T()); }, stage, ending)
  {}

  // The calling thread's context's. Holds until that context ends.
  T& operator*() noexcept
  {
    ContextTable* const table = currentContextTable;
    return table ? *static_cast<T*>(in(*table)) : m_ofProcess.value;
  }
  T* operator->() noexcept { return &**this; }

 private:
  NeverDestroyed<T> m_ofProcess;
};

}  // namespace orv
