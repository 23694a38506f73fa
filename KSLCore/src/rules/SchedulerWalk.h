// The walks over the graph of schedulers.
#pragma once

#include "platform/ORVProgress.h"
#include "platform/internal/ContextLocal.h"
#include "rules/SchedulerObject.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orv {

struct SchedulerObject::Graph {
  struct Frame {
    Frame(SchedulerObject* entered, std::uint32_t outerPlace) noexcept : scheduler(entered), outer(outerPlace)
    {}

    SchedulerObject* scheduler;  // null when it was destroyed
    LinkMap::Cursor cursor;      // the child visited last
    std::uint32_t outer;         // the scheduler's place in the stack before this one; 0 without
    bool propagating = false;    // it is calculated, its children are next
  };
  struct Calculation;

  std::uint64_t marking = 1;
  std::uint64_t search = 0;
  std::uint64_t lastSerial = 0;
  SchedulerTrace* trace = nullptr;     // not owned
  std::vector<Frame> frames;           // of all walks that are under way
  Calculation* calculation = nullptr;  // the innermost one whose failures are caught
  int depth = 0;                       // of nested walks
  bool catchExceptions = false;

  static Graph& current() noexcept { return *s_current; }
  static ContextLocal<Graph> s_current;
};

// One call of `update`, to the end. The schedulers on the way down stand in a stack of frames, which calls that
// nest share. Each knows where it stands, so that one that is destroyed can blank its frames: after anything
// that others do, a walk looks into the frame again before it touches the scheduler.
class SchedulerObject::Walk {
 public:
  // internal::error when too many walks are nested; the scheduler is named.
  explicit Walk(const SchedulerObject& start);
  ~Walk();
  Walk(const Walk&) = delete;
  Walk& operator=(const Walk&) = delete;

  void run(SchedulerObject* start);

  // Blanks the frames of a scheduler that is being destroyed.
  static void forget(SchedulerObject& scheduler) noexcept;
  // Whether any walk has calculated this scheduler and is among its children.
  static bool isPropagating(const SchedulerObject& scheduler) noexcept;

 private:
  class AfterCalculation;

  static bool countIsRight(const SchedulerObject& scheduler);  // in debug builds
  static std::uint32_t innermost(const Graph& graph, const SchedulerObject& scheduler) noexcept;
  SchedulerObject* top() const noexcept;
  void visit(SchedulerObject* scheduler);
  void enter(SchedulerObject* scheduler);
  void leave() noexcept;
  bool calculateTop();
  void calculate(SchedulerObject& scheduler);

  Graph& m_graph;
  const Progress::Steps m_step;
  const std::size_t m_base;  // where this walk's frames begin
};

// Looks for a way from one scheduler down to another: upward from the end and downward from the start in turns,
// one edge at a time, until the two meet or either side has seen everything. So linking costs what the smaller
// side holds. REQUIRES: the graph stays as it is.
class SchedulerObject::Search {
 public:
  Search(SchedulerObject* from, SchedulerObject* to);
  bool found();

 private:
  enum class Step { met, more, exhausted };
  struct Side {
    std::uint64_t mark = 0;
    std::uint64_t opposite = 0;
    LinkMap SchedulerObject::*edges = nullptr;
    SchedulerObject* waiting = nullptr;  // to be expanded
    LinkMap::const_iterator at{};        // in the one being expanded
    LinkMap::const_iterator end{};
  };
  static void add(Side& side, SchedulerObject* scheduler);
  static Step step(Side& side);

  Side m_down;
  Side m_up;
};

[[gnu::always_inline]] inline void SchedulerObject::clearPending(Graph& graph) noexcept
{
  if (!isPending())
    return;
  m_state &= ~pending;
  if (m_marked == graph.marking)
    ++graph.marking;
  for (const LinkMap::Entry& edge : m_children)
    edge.first->m_state -= onePendingParent;
}

// Whether it is this scheduler's turn. It may have been calculated while its delayed links were made.
inline bool SchedulerObject::isReady() const noexcept
{
  return m_state == pending;
}

}  // namespace orv
