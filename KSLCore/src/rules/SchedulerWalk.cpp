#include "SchedulerWalk.h"

#include "platform/ORVError.h"

#include <chrono>
#include <cxxabi.h>
#include <string>
#include <utility>
#include <vector>

namespace orv {

namespace {

// Enough for calculations that update one another on purpose, too few for the stack to run out.
constexpr int deepestNesting = 1000;

// Room for usual depths is not given back after each update.
constexpr std::size_t keptFrames = 32768;

constexpr const char* schedulerWalkClass = "SchedulerObject";

[[noreturn]] void throwTooDeep(const std::string& name)
{
  throw internal::error(schedulerWalkClass, "update",
                        _("Operation '%s' failed. Updates are nested too deeply.", name));
}

void report(const std::string& message, Diagnostic more)
{
  ErrorProgressReporter::instance()->reportError(
      diagnosed(internal::error(schedulerWalkClass, "update", message), std::move(more)));
}

// What is known of an exception that says nothing of objects itself.
Diagnostic concernOf(const std::exception& failure)
{
  const auto known = ErrorProgressReporter::instance()->takeConcern(&failure);
  return known ? *known : Diagnostic();
}

[[noreturn]] void rethrow(const std::exception& failure, Diagnostic more)
{
  ErrorProgressReporter::instance()->noteConcern(failure, std::move(more));
  throw;
}

}  // namespace

// A calculation that is under way. The name is needed after the scheduler may have gone.
struct SchedulerObject::Graph::Calculation {
  const SchedulerObject* scheduler;
  Calculation* outer;
  SharedText lostName;

  const std::string& name() const { return scheduler ? scheduler->getName() : lostName.str(); }
  std::string path() const { return scheduler ? scheduler->getPath() : std::string(); }

  // REQUIRES: called from a handler, of what the calculation threw. Reports it, or lets it out with what is known of
  // it. Functions apart: what reports need takes no stack in updates that nest.
  [[gnu::noinline]] void fail(Error& error, bool isCaught) const
  {
    error.concern(path());
    if (!isCaught)
      throw;
    ErrorProgressReporter::instance()->reportError(error);
  }
  [[gnu::noinline]] void fail(const std::exception& failure, bool isCaught) const
  {
    Diagnostic more = concernOf(failure);
    more.object = path();
    if (!isCaught)
      rethrow(failure, std::move(more));
    report(_("Operation '%s' failed (system exception: %s).", name(), failure.what()), std::move(more));
  }
  [[gnu::noinline]] void fail(bool isCaught) const
  {
    if (!isCaught)
      throw;
    report(_("Operation '%s' failed with unrecognized exception.", name()), {.object = path()});
  }
};

constinit ContextLocal<SchedulerObject::Graph> SchedulerObject::Graph::s_current(ContextEnd::memory, [] {
  std::vector<Frame>().swap(current().frames);
});

// The parts of a walk are one function to the processor: calls among them would cost as much as what they do, and the
// context's graph stays in a register.

// ------------------------------------------------------------------------------------------------- frames

// A scheduler keeps its place when its frame has gone, which spares a second visit to each.
inline std::uint32_t SchedulerObject::Walk::innermost(const Graph& graph,
                                                      const SchedulerObject& scheduler) noexcept
{
  const std::uint32_t place = scheduler.m_frame;
  const auto& frames = graph.frames;
  const bool stands = place != 0 && place <= frames.size() && frames[place - 1].scheduler == &scheduler;
  return stands ? place : 0;
}

inline SchedulerObject* SchedulerObject::Walk::top() const noexcept
{
  return m_graph.frames.back().scheduler;
}

[[gnu::always_inline]] inline void SchedulerObject::Walk::enter(SchedulerObject* scheduler)
{
  m_graph.frames.emplace_back(scheduler, innermost(m_graph, *scheduler));
  scheduler->m_frame = static_cast<std::uint32_t>(m_graph.frames.size());
}

inline void SchedulerObject::Walk::leave() noexcept
{
  const Graph::Frame& frame = m_graph.frames.back();
  if (frame.outer != 0 && frame.scheduler)
    frame.scheduler->m_frame = frame.outer;
  m_graph.frames.pop_back();
}

bool SchedulerObject::Walk::isPropagating(const SchedulerObject& scheduler) noexcept
{
  if (scheduler.m_frame == 0)  // of most
    return false;
  const Graph& graph = Graph::current();
  std::uint32_t place = innermost(graph, scheduler);
  while (place != 0 && !graph.frames[place - 1].propagating)
    place = graph.frames[place - 1].outer;
  return place != 0;
}

void SchedulerObject::Walk::forget(SchedulerObject& scheduler) noexcept
{
  if (scheduler.m_frame == 0)  // of most
    return;
  Graph& graph = Graph::current();
  std::uint32_t place = innermost(graph, scheduler);
  if (place == 0)
    return;
  while (place != 0) {
    Graph::Frame& frame = graph.frames[place - 1];
    frame.scheduler = nullptr;
    place = frame.outer;
  }
  for (Graph::Calculation* it = graph.calculation; it; it = it->outer) {
    if (it->scheduler != &scheduler)
      continue;
    it->scheduler = nullptr;
    try {
      it->lostName = SharedText(scheduler.getName());  // nested calculations of one scheduler need it each
    } catch (...) {}                                   // without memory the failure is told without the name
  }
}

// ---------------------------------------------------------------------------------------------- calculation

// The pending flag is cleared once more after a calculation, however it ended: one that marks itself is clean.
class SchedulerObject::Walk::AfterCalculation {
 public:
  using Clock = std::chrono::steady_clock;

  explicit AfterCalculation(Walk& walk) : m_walk(walk)
  {
    if (walk.m_graph.trace)
      m_start = Clock::now();
  }
  AfterCalculation(const AfterCalculation&) = delete;
  AfterCalculation& operator=(const AfterCalculation&) = delete;
  [[gnu::always_inline]] ~AfterCalculation()
  {
    SchedulerObject* scheduler = m_walk.top();
    if (!scheduler)
      return;
    if (scheduler->isPending()) [[unlikely]]
      scheduler->clearPending(m_walk.m_graph);
    if (m_start != Clock::time_point() && m_walk.m_graph.trace)
      tell(*m_walk.m_graph.trace, *scheduler, m_start);
  }

 private:
  static void tell(SchedulerTrace& trace, const SchedulerObject& scheduler, Clock::time_point start) noexcept;

  Walk& m_walk;
  Clock::time_point m_start;
};

void SchedulerObject::Walk::AfterCalculation::tell(SchedulerTrace& trace, const SchedulerObject& scheduler,
                                                   Clock::time_point start) noexcept
{
  trace.calculated(scheduler, std::chrono::duration<double>(Clock::now() - start).count());
}

#ifndef NDEBUG
// Whether the count of pending parents is right; of hubs, which would make it slow, it believes it.
bool SchedulerObject::Walk::countIsRight(const SchedulerObject& scheduler)
{
  if (scheduler.m_parents.size() > 64)
    return true;
  std::uint32_t counted = 0;
  for (const LinkMap::Entry& edge : scheduler.m_parents)
    counted += edge.first->isPending() && edge.first->m_children.count(&scheduler) == edge.count();
  return counted == scheduler.m_state / onePendingParent;
}
#endif

// Calculates the scheduler on top, when it is its turn; true when its children are next.
[[gnu::always_inline]] inline bool SchedulerObject::Walk::calculateTop()
{
  if (!top())
    return false;
#ifndef NDEBUG
  assertThat(countIsRight(*top()), "pending parents are counted", "KSLCore/src/SchedulerObject");
#endif
  if (!top()->isReady())
    return false;
  top()->clearPending(m_graph);
  {
    const AfterCalculation after(*this);
    if (SchedulerTrace* trace = m_graph.trace; !trace || trace->mayCalculate(*top()))
      calculate(*top());
  }
  if (!top())
    return false;
  m_graph.frames.back().propagating = true;
  return true;
}

inline void SchedulerObject::Walk::calculate(SchedulerObject& scheduler)
{
  SchedulerOwner& owner = *scheduler.m_support;
  // What the calculation is given, and what is told of it, must outlive the scheduler.
  const SharedText type = scheduler.m_type;
  struct Scope {
    Scope(Graph& common, const SchedulerObject& running)
        : graph(common),
          calculation{&running, graph.calculation, {}}
    {
      graph.calculation = &calculation;
    }
    ~Scope() { graph.calculation = calculation.outer; }
    Graph& graph;
    Graph::Calculation calculation;
  } scope(m_graph, scheduler);
  try {
    owner.calculate(type.str());
  } catch (const Interrupt&) {
    throw;
  } catch (const Unwind&) {
    throw;
  } catch (Error& error) {
    scope.calculation.fail(error, m_graph.catchExceptions);
  } catch (const std::exception& failure) {
    scope.calculation.fail(failure, m_graph.catchExceptions);
#ifdef __GLIBCXX__
  } catch (const abi::__forced_unwind&) {  // of a thread that is cancelled; not to be stopped
    throw;
#endif
  } catch (...) {
    scope.calculation.fail(m_graph.catchExceptions);
  }
}

// ------------------------------------------------------------------------------------------------- update

inline SchedulerObject::Walk::Walk(const SchedulerObject& start)
    : m_graph(Graph::current()),
      m_base(m_graph.frames.size())
{
  if (m_graph.depth == deepestNesting)
    throwTooDeep(start.getName());
  ++m_graph.depth;
}

inline SchedulerObject::Walk::~Walk()
{
  while (m_graph.frames.size() > m_base)
    leave();
  if (--m_graph.depth == 0 && m_graph.frames.capacity() > keptFrames)
    std::vector<Graph::Frame>().swap(m_graph.frames);
}

[[gnu::always_inline]] inline void SchedulerObject::Walk::visit(SchedulerObject* scheduler)
{
  if (!scheduler->isPending())
    return;
  m_step();
  SchedulerOwner& owner = scheduler->support();
  enter(scheduler);
  owner.createDelayedParamLinks();
  if (!calculateTop())
    leave();
}

[[gnu::always_inline]] inline void SchedulerObject::Walk::run(SchedulerObject* start)
{
  SchedulerObject* next = start;
  for (;;) {
    if (next)
      visit(next);
    else
      leave();
    if (m_graph.frames.size() == m_base)
      return;
    Graph::Frame& frame = m_graph.frames.back();
    next = frame.scheduler ? frame.scheduler->m_children.next(frame.cursor) : nullptr;
  }
}

void SchedulerObject::update()
{
  if (isPending())
    Walk(*this).run(this);
}

// ------------------------------------------------------------------------------------------------- search

SchedulerObject::Search::Search(SchedulerObject* from, SchedulerObject* to)
{
  std::uint64_t& search = Graph::current().search;
  m_down = {search + 1, search + 2, &SchedulerObject::m_children};
  m_up = {search + 2, search + 1, &SchedulerObject::m_parents};
  search += 2;
  add(m_down, from);
  add(m_up, to);
}

bool SchedulerObject::Search::found()
{
  for (;;) {
    for (Side* side : {&m_down, &m_up}) {
      const Step result = step(*side);
      if (result != Step::more)
        return result == Step::met;
    }
  }
}

inline void SchedulerObject::Search::add(Side& side, SchedulerObject* scheduler)
{
  scheduler->m_searched = side.mark;
  scheduler->m_next = side.waiting;
  side.waiting = scheduler;
}

inline SchedulerObject::Search::Step SchedulerObject::Search::step(Side& side)
{
  if (side.at == side.end) {
    if (!side.waiting)
      return Step::exhausted;
    const LinkMap& edges = side.waiting->*side.edges;
    side.waiting = side.waiting->m_next;
    side.at = edges.begin();
    side.end = edges.end();
    return Step::more;
  }
  SchedulerObject* reached = side.at->first;
  ++side.at;
  if (reached->m_searched == side.opposite)
    return Step::met;
  if (reached->m_searched != side.mark)
    add(side, reached);
  return Step::more;
}

}  // namespace orv
