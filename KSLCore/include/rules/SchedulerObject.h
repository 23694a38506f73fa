// Units of recomputation and the graph that they form.
#pragma once

#include "platform/ORVExport.h"
#include "platform/ORVUtilities.h"
#include "rules/LinkMap.h"

#include <cstdint>
#include <memory>
#include <string>

namespace orv {

class KSLObject;
class SchedulerObject;

// What an object must support for its schedulers to be updated. The object derives from this as well as from
// KSLObject; schedulers ask for it when they first run.
class ORV_API SchedulerOwner {
 public:
  // Makes the links of parameters whose targets did not exist when they were set. Called before each
  // calculation, so it should cost nothing when there is none. What it throws passes through `update`.
  virtual void createDelayedParamLinks() = 0;
  // KSLObject's operation of this name; one function overrides both.
  virtual void calculate(const std::string& schedulerType) = 0;

 protected:
  ~SchedulerOwner() = default;
};

// Is told what happens in the graph, for people who want to see it. Must not touch the graph.
class ORV_API SchedulerTrace {
 public:
  virtual ~SchedulerTrace();
  // A parameter whose Local Type is this scheduler's was set, or got other links: the reason why the scheduler
  // is marked next (at the end of a batch of changes: by then others may have marked it). Passed over unless
  // overridden.
  virtual void parameterSet(const SchedulerObject& scheduler, const std::string& parameter) noexcept;
  // A clean scheduler became pending: by itself (null), or as a child of another that was marked.
  virtual void marked(const SchedulerObject& scheduler, const SchedulerObject* by) noexcept = 0;
  // A calculation ended, well or not. Not told when it destroyed its own scheduler.
  virtual void calculated(const SchedulerObject& scheduler, double seconds) noexcept = 0;
  // Whether a calculation that is due is done. One that is not counts as done, and `calculated` tells it all the same:
  // for those who want to know what would be calculated. Yes unless overridden.
  virtual bool mayCalculate(const SchedulerObject& scheduler) noexcept;
};

// One named unit of recomputation of one object. Schedulers are joined parent to child into a graph without
// cycles: a child's result depends on its parents'. A change marks everything downstream as pending; `update`
// recalculates what is pending, each once, when all its parents are up to date, and goes on with its children.
//
// Whatever a calculation does to the graph while it is walked (take links away, destroy schedulers, its own
// too, mark and update others) is safe. Walks keep no stack of their own depth: a chain may be as long as
// memory allows. For one thread. Errors are of class "SchedulerObject" and type 4.
class ORV_API SchedulerObject {
 public:
  SchedulerObject();
  // The owner is not owned and must outlive the scheduler, which asks it for its path, and for its name when that is the
  // very text given as name; null makes a scheduler that cannot be updated. The form with a shared text spares a copy of
  // the type for each object.
  SchedulerObject(const std::string& name, KSLObject* owner, const std::string& type);
  SchedulerObject(const std::string& name, KSLObject* owner, SharedText type);
  // Name, type, owner and the pending flag; the copy has no edges. The owner must outlive it, too.
  SchedulerObject(const SchedulerObject& other);
  SchedulerObject& operator=(const SchedulerObject&) = delete;
  // Takes all edges away. O(edges · log of the neighbours' edges).
  ~SchedulerObject();

  const std::string& getName() const { return m_name ? *m_name : nameOfOwner(); }
  const std::string& getType() const { return m_type.str(); }
  KSLObject* getKSLObject() const { return m_owner; }
  std::string getPath() const;  // the owner's; empty without one
  bool isPending() const { return (m_state & pending) != 0; }
  // Counted from 1 in the order in which schedulers of a context are made; what is walked, and so calculated, in one history
  // of commands comes in the same order in every process. (40 bits: a million a second for twelve days.)
  std::uint64_t getSerial() const noexcept { return m_serial; }
  // In ascending order of the serial numbers, with the number of links to each.
  const LinkMap& getChildren() const { return m_children; }
  const LinkMap& getParents() const { return m_parents; }

  // Adds one link; the same two may be linked several times. Marks nothing. While this scheduler is updating
  // its children nothing is added, on purpose and without a word: what calculations link does not change the
  // graph being walked. Callers that must know compare getChildren().count(child) before and after. Throws,
  // with function "addChild" and before anything changes:
  //   internal::badParam  "Input parameter %s is empty." with "p_child"
  //   ksl::cyclicRef      "Tried to make object %s (%s) reference itself."
  //   ksl::cyclicRef      "Attempt to create a cyclic dependency between object %s (%s) and object %s (%s)."
  //                       (this name and type, the child's), when cycles are checked for
  // A cycle that was let in unchecked is harmless: what is on it waits for itself and never calculates.
  // O(1) for a child without children or a parent without parents, else at most the smaller of what lies
  // above this scheduler and what lies below the child.
  void addChild(SchedulerObject* child, bool checkCycles);
  // Takes one link away; nothing when there is none.
  void deleteChild(SchedulerObject* child) noexcept;

  // Marks this scheduler and everything downstream. Linear in what it reaches; O(1) when nothing was cleared
  // or linked since the last marking that came by here.
  void setPending() noexcept;

  // Recalculates as described above, if this scheduler is pending and none of its parents is. Nothing upstream
  // is updated: a scheduler with a pending parent waits until that parent's update reaches it. Calculations
  // that update in turn may nest, a thousand deep; beyond that internal::error, "Operation '%s' failed.
  // Updates are nested too deeply." (the name). Also throws internal::nullPointer, function "update":
  //   "Null pointer to %s." with "m_name", without an owner
  //   "Object %s has scheduler but is not GenericKSLObject." with "m_name", for an owner that is no
  //   SchedulerOwner
  // and what the owner throws; see setCatchExceptions. A scheduler whose calculation failed counts as
  // calculated; its children stay pending unless the failure was caught. Linear in what it reaches.
  void update();

  // Whether errors of calculations are caught: reported to the ErrorProgressReporter, and the update goes on.
  // Interrupt and Unwind pass even then. Returns the previous setting. Off at start.
  static bool setCatchExceptions(bool catchExceptions) noexcept;

  // Not owned; null, as at start, tells nobody. Returns the previous one.
  static SchedulerTrace* setTrace(SchedulerTrace* trace) noexcept;
  static SchedulerTrace* getTrace() noexcept;

 private:
  // INVARIANTS, between any two statements that others can see:
  //  1. An edge stands in the parent's children and in the child's parents, with equal counts.
  //  2. m_state holds, above its lowest bit, the number of parents that are pending.
  //  3. A scheduler whose m_marked is the present marking is pending, and so is all that lies below it, each
  //     with that m_marked. (Clearing one of them, or linking one that is not among them, begins a new marking.)
  struct Graph;  // what all schedulers of a context have in common
  class Walk;
  class Search;
  static constexpr std::uint32_t pending = 1;
  static constexpr std::uint32_t onePendingParent = 2;

  static bool addLink(LinkMap& map, SchedulerObject* other) { return map.add(other); }
  static bool deleteLink(LinkMap& map, SchedulerObject* other) { return map.remove(other); }
  static bool destroyLink(LinkMap& map, SchedulerObject* other) { return map.erase(other); }
  // Whether an edge from this scheduler to another one would close a cycle.
  bool checkCyclic(SchedulerObject* target);
  void link(SchedulerObject* child);
  // What a parent adds to the state of its children.
  std::uint32_t shareOfChild() const noexcept { return (m_state & pending) * onePendingParent; }
  void clearPending(Graph& graph) noexcept;
  bool isReady() const noexcept;
  bool isUpdatingChildren() const noexcept;
  const std::string& nameOfOwner() const noexcept;
  SchedulerOwner& support() { return m_support ? *m_support : findSupport(); }
  SchedulerOwner& findSupport();

  // What walks read of each scheduler that they pass: one cache line.
  std::uint64_t m_marked = 0;         // the marking that came by last
  SchedulerObject* m_next = nullptr;  // in the list of those that a marking or a search has yet to visit
  LinkMap m_children;
  // Bit 0: pending; the rest counts. (One word that is always written as a whole: a byte that is written and then
  // read with its neighbours makes processors wait.)
  std::uint32_t m_state = 0;
  // The innermost place in the stack of updates, counted from 1, if what stands there is this scheduler.
  std::uint32_t m_frame = 0;
  SchedulerOwner* m_support = nullptr;  // the owner, once asked for
  SharedText m_type;

  KSLObject* m_owner = nullptr;  // not owned
  const std::uint64_t m_serial;
  LinkMap m_parents;
  std::uint64_t m_searched = 0;               // the search that came by last
  std::unique_ptr<const std::string> m_name;  // null: it has that of its owner
};

}  // namespace orv
