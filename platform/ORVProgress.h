// The progress library: how far long work has come, and the place where a host can stop it.
#pragma once

#include "platform/ORVExport.h"

#include <atomic>
#include <cstddef>
#include <exception>
#include <thread>
#include <utility>

namespace orv {

class Progress;

// Is told between two steps of work, very often: it should ask for no clock each time. What it throws ends the
// work and fails the command, which is taken back: a host that lets its users stop throws orv::Interrupt. It must
// submit no text. Nothing is told while a failed command is taken back, so that nobody can stop that half-way.
class ORV_API ProgressWatcher {
 public:
  virtual ~ProgressWatcher();
  // The innermost work under way, null when its extent is not known.
  virtual void stepped(const Progress* innermost) = 0;

  // Not owned; null, as at start, tells nobody. Returns the previous one.
  static ProgressWatcher* set(ProgressWatcher* watcher) noexcept;
  static ProgressWatcher* get() noexcept;
};

// One piece of work, for as long as the object lives; pieces are nested as their scopes are. Calculations that
// take long make one, too. Costs next to nothing while nobody watches.
class ORV_API Progress {
  struct State;

 public:
  // What the total counts, in the plural; a literal.
  Progress(const char* units, std::size_t total) noexcept
      : m_state(state()),
        m_units(units),
        m_total(total),
        m_outer(std::exchange(m_state.innermost, this))
  {}
  ~Progress() { m_state.innermost = m_outer; }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Tells that so many are done; throws what the watcher throws.
  void advance(std::size_t done)
  {
    m_done = done;
    m_state.step();
  }
  // Between two steps that nobody counts.
  static void step() { state().step(); }
  // The same for loops: knows whom to tell. For one context.
  class Steps {
   public:
    Steps() noexcept : m_state(state()) {}
    void operator()() const { m_state.step(); }

   private:
    State& m_state;
  };

  const char* units() const { return m_units; }
  std::size_t total() const { return m_total; }
  std::size_t done() const { return m_done; }
  const Progress* outer() const { return m_outer; }  // null for the outermost

 private:
  friend class ProgressWatcher;
  // Of a context.
  struct State {
    ProgressWatcher* watcher = nullptr;
    Progress* innermost = nullptr;
    void step() const
    {
      if (watcher)
        watcher->stepped(innermost);
    }
  };
  static State& state() noexcept;

  State& m_state;
  const char* m_units;
  std::size_t m_total;
  std::size_t m_done = 0;
  Progress* m_outer;
};

// The same for work of foreign code, through which nothing may be thrown, told from its callback:
//
//   CallbackProgress progress("percent", 100);
//   run(filter, [&](double share) { return progress.advance(100 * share); });  // false: the filter should stop
//   progress.check();
//
// What the watcher throws is kept, and thrown when the foreign code has returned.
class ORV_API CallbackProgress {
 public:
  CallbackProgress(const char* units, std::size_t total)
      : m_progress(units, total),
        m_thread(std::this_thread::get_id())
  {}

  // Whether the work goes on. Tells nobody once it is to stop; on other threads than the one that made this it only
  // says what is known.
  bool advance(std::size_t done) noexcept;
  bool isStopped() const noexcept { return m_isStopped; }
  // Throws what ended the work; once.
  void check();

 private:
  Progress m_progress;
  std::thread::id m_thread;
  std::exception_ptr m_stop;
  std::atomic<bool> m_isStopped = false;
};

}  // namespace orv
