// Results of calculations that took long, to be found again by what they were computed from.
#pragma once

#include "platform/ORVExport.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>

namespace orv {

// What a result was computed from, in 32 bytes: the function, the parameters, the files, the results that it builds on.
// The same is added in the same order: the same key, in every process; anything else: another one (by SHA-256).
class ORV_API ResultKey {
 public:
  ResultKey() = default;
  explicit ResultKey(std::string_view function) { add(function); }
  ResultKey& add(std::string_view text);
  ResultKey& add(const char* text) { return add(std::string_view(text)); }
  ResultKey& add(double number);
  ResultKey& add(const ResultKey& result);
  // A file or directory: its whole name, which file that is, its size, when it was written, and when anything of it last
  // changed. Also one that is not there. While a command is taken back, what counted when a command asked last that ended
  // well: the results are those that were there before.
  ResultKey& addFile(const std::string& name);
  template <class... Parts>
  ResultKey& addAll(const Parts&... parts)
  {
    (add(parts), ...);
    return *this;
  }
  // Unlike any other of this context: of what cannot be found again.
  static ResultKey unique();

  std::string toString() const;  // 64 hexadecimal digits
  friend bool operator==(const ResultKey& a, const ResultKey& b) { return a.m_digest == b.m_digest; }
  friend bool operator!=(const ResultKey& a, const ResultKey& b) { return a.m_digest != b.m_digest; }
  friend bool operator<(const ResultKey& a, const ResultKey& b) { return a.m_digest < b.m_digest; }

 private:
  ResultKey& addPart(char kind, std::string_view bytes);
  std::array<std::uint32_t, 8> m_digest{};
};

// Is told what was wanted and found, or made, under the name that was given with the question. Must not ask in turn.
class ORV_API ResultTrace {
 public:
  virtual ~ResultTrace();
  virtual void recalled(std::string_view what, bool found) noexcept = 0;
};

// The results of one context, for calculate functions. A calculation is called whenever it is due; what it would compute
// again, because a command is taken back, an edit undone, or two objects ask for the same, it finds here:
//
//   const std::shared_ptr<const Mesh> mesh = orv::ResultMemory::instance().recall<Mesh>(
//       orv::ResultKey("readMesh").addFile(file), "readMesh", [&](orv::ResultMemory::Making& making) {
//         auto made = std::make_shared<Mesh>(read(file));
//         making.takes(made->bytes());
//         return made;
//       });
//
// Results never change once they are made, and are shared: they are whole as long as anybody has one. A result that is in
// use, by objects or anybody else, is always found, and costs nothing extra. What nobody uses any more stays as long as
// all that together takes no more than the limit; beyond it, what was used last longest ago goes, at once. So memory falls
// when objects go. Whether a result was found or made is seen by nobody but a trace: the key must say all that the result
// hangs on. For one thread; all results are gone before the context lets go of its calculate libraries.
//
// What was in use when a command began is found until the command ends, whatever the limit: when it is taken back, nothing
// that was there is computed or read again.
class ORV_API ResultMemory {
  struct Entry;
  struct Release;
  struct Table;

 public:
  static ResultMemory& instance();
  // Forgets all. What is still in use stays whole, and is not found again.
  static void destroyInstance();

  // One result while it is made.
  class ORV_API Making {
   public:
    // How much memory the result takes by itself, beside what it holds. Nothing unless said.
    void takes(std::size_t bytes) noexcept { m_bytes = bytes; }
    // For a result that keeps another one from this memory for as long as it lives: what it is to keep in place of it. Else
    // the other would count as in use though nobody uses this one.
    template <class T>
    std::shared_ptr<const T> hold(const std::shared_ptr<const T>& other)
    {
      return std::static_pointer_cast<const T>(holdAny(other));
    }

   private:
    friend class ResultMemory;
    explicit Making(std::shared_ptr<Entry> entry);
    ~Making();
    Making(const Making&) = delete;
    Making& operator=(const Making&) = delete;
    std::shared_ptr<const void> holdAny(const std::shared_ptr<const void>& other);
    std::shared_ptr<Entry> m_entry;
    std::size_t m_bytes = 0;
  };

  // The result with that key, and of that type: found, or made by `make(Making&)`, which gives a std::shared_ptr<T>. What
  // that throws passes, and a null is given on; neither is remembered. Making may recall others. `what` is for the trace.
  template <class T, class Make>
  std::shared_ptr<const T> recall(const ResultKey& key, std::string_view what, Make&& make)
  {
    const ResultKey typed = ResultKey(key).add(typeid(T).name());
    if (auto known = find(typed, what))
      return std::static_pointer_cast<const T>(std::move(known));
    return makeTyped<T>(typed, what, std::forward<Make>(make));
  }
  // The same, but made in any case, for who has to make it together with others that do not know it. One that is known is
  // what comes of it all the same.
  template <class T, class Make>
  std::shared_ptr<const T> makeAnew(const ResultKey& key, std::string_view what, Make&& make)
  {
    return makeTyped<T>(ResultKey(key).add(typeid(T).name()), what, std::forward<Make>(make));
  }
  template <class T>
  bool has(const ResultKey& key) const
  {
    return isKnown(ResultKey(key).add(typeid(T).name()));
  }

  // For what nobody uses; in bytes. 512 MiB at start. What is too much goes at once.
  void setLimit(std::size_t bytes) noexcept;
  std::size_t getLimit() const noexcept;

  struct Counts {
    std::size_t found = 0;  // since the start
    std::size_t made = 0;
    std::size_t results = 0;      // that would be found now
    std::size_t unusedBytes = 0;  // of those that nobody uses
  };
  Counts getCounts() const noexcept;

  // Not owned; null, as at start, tells nobody. Returns the previous one.
  ResultTrace* setTrace(ResultTrace* trace) noexcept;

  // -- For the command processor

  // An outermost command begins; is taken back; is over. The first and the last come in pairs.
  static void beginCommand() noexcept;
  static void takeBack() noexcept;
  static void endCommand() noexcept;

 private:
  ResultMemory();
  ~ResultMemory();
  template <class T, class Make>
  std::shared_ptr<const T> makeTyped(const ResultKey& typed, std::string_view what, Make&& make)
  {
    Making making = begin(typed);
    std::shared_ptr<const T> made = std::forward<Make>(make)(making);
    return std::static_pointer_cast<const T>(keep(making, std::move(made), what));
  }
  std::shared_ptr<const void> find(const ResultKey& key, std::string_view what);
  bool isKnown(const ResultKey& key) const;
  static Making begin(const ResultKey& key);
  std::shared_ptr<const void> keep(Making& making, std::shared_ptr<const void> made, std::string_view what);
  static std::shared_ptr<const void> leaseOf(const std::shared_ptr<Entry>& entry);

  std::shared_ptr<Table> m_table;
};

}  // namespace orv
