#include "SchedulerWalk.h"

#include "platform/ORVError.h"
#include "platform/ORVProgress.h"

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

constexpr const char* className = "SchedulerObject";

struct Frame {
  Frame(SchedulerObject* entered, std::uint32_t outerPlace) noexcept : scheduler(entered), outer(outerPlace)
  {}

  SchedulerObject* scheduler;  // null when it was destroyed
  LinkMap::Cursor cursor;      // the child visited last
  std::uint32_t outer;         // the scheduler's place in the stack before this one; 0 without
  bool propagating = false;    // it is calculated, its children are next
};

// A calculation that is under way. The name is needed after the scheduler may have gone.
struct Calculation {
  const SchedulerObject* scheduler;
  Calculation* outer;
  std::string lostName;
};

constinit std::vector<Frame> s_frames;  // of all walks that are under way
int s_depth = 0;                        // of nested walks
Calculation* s_calculation = nullptr;   // the innermost one whose failures are caught

SchedulerObject* top() noexcept
{
  return s_frames.back().scheduler;
}

void report(const std::string& message, Diagnostic more)
{
  ErrorProgressReporter::instance()->reportError(
      diagnosed(internal::error(className, "update", message), std::move(more)));
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

[[noreturn]] void throwTooDeep(const std::string& name)
{
  throw internal::error(className, "update",
                        _("Operation '%s' failed. Updates are nested too deeply.", name));
}

}  // namespace

// ------------------------------------------------------------------------------------------------- frames

// A scheduler keeps its place when its frame has gone, which spares a second visit to each.
inline std::uint32_t SchedulerObject::Walk::innermost(const SchedulerObject& scheduler) noexcept
{
  const std::uint32_t place = scheduler.m_frame;
  const bool stands = place != 0 && place <= s_frames.size() && s_frames[place - 1].scheduler == &scheduler;
  return stands ? place : 0;
}

inline void SchedulerObject::Walk::enter(SchedulerObject* scheduler)
{
  s_frames.emplace_back(scheduler, innermost(*scheduler));
  scheduler->m_frame = static_cast<std::uint32_t>(s_frames.size());
}

inline void SchedulerObject::Walk::leave() noexcept
{
  const Frame& frame = s_frames.back();
  if (frame.outer != 0 && frame.scheduler)
    frame.scheduler->m_frame = frame.outer;
  s_frames.pop_back();
}

bool SchedulerObject::Walk::isPropagating(const SchedulerObject& scheduler) noexcept
{
  std::uint32_t place = innermost(scheduler);
  while (place != 0 && !s_frames[place - 1].propagating)
    place = s_frames[place - 1].outer;
  return place != 0;
}

void SchedulerObject::Walk::forget(SchedulerObject& scheduler) noexcept
{
  std::uint32_t place = innermost(scheduler);
  if (place == 0)
    return;
  while (place != 0) {
    Frame& frame = s_frames[place - 1];
    frame.scheduler = nullptr;
    place = frame.outer;
  }
  for (Calculation* it = s_calculation; it; it = it->outer) {
    if (it->scheduler != &scheduler)
      continue;
    it->scheduler = nullptr;
    try {
      it->lostName = scheduler.m_name;  // nested calculations of one scheduler need it each
    } catch (...) {}                    // without memory the failure is told without the name
  }
}

// ---------------------------------------------------------------------------------------------- calculation

// The pending flag is cleared once more after a calculation, however it ended: one that marks itself is clean.
class SchedulerObject::Walk::AfterCalculation {
 public:
  using Clock = std::chrono::steady_clock;

  AfterCalculation()
  {
    if (s_trace)
      m_start = Clock::now();
  }
  AfterCalculation(const AfterCalculation&) = delete;
  AfterCalculation& operator=(const AfterCalculation&) = delete;
  ~AfterCalculation()
  {
    SchedulerObject* scheduler = top();
    if (!scheduler)
      return;
    scheduler->clearPending();
    if (s_trace && m_start != Clock::time_point())
      s_trace->calculated(*scheduler, std::chrono::duration<double>(Clock::now() - m_start).count());
  }

 private:
  Clock::time_point m_start;
};

#ifndef NDEBUG
// Whether the count of pending parents is right; of hubs, which would make it slow, it believes it.
bool SchedulerObject::Walk::countIsRight(const SchedulerObject& scheduler)
{
  if (scheduler.m_parents.size() > 64)
    return true;
  std::uint32_t counted = 0;
  for (const LinkMap::Entry& edge : scheduler.m_parents)
    counted += edge.first->isPending() && edge.first->m_children.count(&scheduler) == edge.second;
  return counted == scheduler.m_state / onePendingParent;
}
#endif

// Calculates the scheduler on top, when it is its turn; true when its children are next.
inline bool SchedulerObject::Walk::calculateTop()
{
  if (!top())
    return false;
#ifndef NDEBUG
  assertThat(countIsRight(*top()), "pending parents are counted", "KSLCore/src/SchedulerObject");
#endif
  if (!top()->isReady())
    return false;
  top()->clearPending();
  {
    const AfterCalculation after;
    calculate(*top());
  }
  if (!top())
    return false;
  s_frames.back().propagating = true;
  return true;
}

inline void SchedulerObject::Walk::calculate(SchedulerObject& scheduler)
{
  SchedulerOwner& owner = *scheduler.m_support;
  // What the calculation is given, and what is told of it, must outlive the scheduler.
  const SharedText type = scheduler.m_type;
  struct Scope {
    explicit Scope(const SchedulerObject& running) : calculation{&running, s_calculation, {}}
    {
      s_calculation = &calculation;
    }
    ~Scope() { s_calculation = calculation.outer; }
    const std::string& name() const
    {
      return calculation.scheduler ? calculation.scheduler->m_name : calculation.lostName;
    }
    std::string path() const
    {
      return calculation.scheduler ? calculation.scheduler->getPath() : std::string();
    }
    Calculation calculation;
  } scope(scheduler);
  try {
    owner.calculate(type.str());
  } catch (const Interrupt&) {
    throw;
  } catch (const Unwind&) {
    throw;
  } catch (Error& error) {
    error.concern(scope.path());
    if (!s_catchExceptions)
      throw;
    ErrorProgressReporter::instance()->reportError(error);
  } catch (const std::exception& failure) {
    Diagnostic more = concernOf(failure);
    more.object = scope.path();
    if (s_catchExceptions)
      report(_("Operation '%s' failed (system exception: %s).", scope.name(), failure.what()),
             std::move(more));
    else
      rethrow(failure, std::move(more));
#ifdef __GLIBCXX__
  } catch (const abi::__forced_unwind&) {  // of a thread that is cancelled; not to be stopped
    throw;
#endif
  } catch (...) {
    if (!s_catchExceptions)
      throw;
    report(_("Operation '%s' failed with unrecognized exception.", scope.name()), {.object = scope.path()});
  }
}

// ------------------------------------------------------------------------------------------------- update

inline SchedulerObject::Walk::Walk(const SchedulerObject& start) : m_base(s_frames.size())
{
  if (s_depth == deepestNesting)
    throwTooDeep(start.getName());
  ++s_depth;
}

inline SchedulerObject::Walk::~Walk()
{
  while (s_frames.size() > m_base)
    leave();
  if (--s_depth == 0 && s_frames.capacity() > keptFrames)
    std::vector<Frame>().swap(s_frames);
}

inline void SchedulerObject::Walk::visit(SchedulerObject* scheduler)
{
  if (!scheduler->isPending())
    return;
  Progress::step();
  SchedulerOwner& owner = scheduler->support();
  enter(scheduler);
  owner.createDelayedParamLinks();
  if (!calculateTop())
    leave();
}

inline void SchedulerObject::Walk::run(SchedulerObject* start)
{
  SchedulerObject* next = start;
  for (;;) {
    if (next)
      visit(next);
    else
      leave();
    if (s_frames.size() == m_base)
      return;
    Frame& frame = s_frames.back();
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
    : m_down{s_search + 1, s_search + 2, &SchedulerObject::m_children},
      m_up{s_search + 2, s_search + 1, &SchedulerObject::m_parents}
{
  s_search += 2;
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
