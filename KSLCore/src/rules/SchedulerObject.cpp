#include "rules/SchedulerObject.h"

#include "platform/ORVError.h"
#include "rules/computing.h"
#include "SchedulerWalk.h"

#include <algorithm>
#include <utility>

namespace orv {

namespace {

constexpr const char* schedulerObjectClass = "SchedulerObject";

}  // namespace

SchedulerTrace::~SchedulerTrace() = default;

bool SchedulerTrace::mayCalculate(const SchedulerObject&) noexcept
{
  return true;
}

void SchedulerTrace::parameterSet(const SchedulerObject&, const std::string&) noexcept {}

SchedulerObject::SchedulerObject() : m_serial(++Graph::current().lastSerial) {}

SchedulerObject::SchedulerObject(const std::string& name, KSLObject* owner, const std::string& type)
    : SchedulerObject(name, owner, SharedText(type))
{}

SchedulerObject::SchedulerObject(const std::string& name, KSLObject* owner, SharedText type)
    : m_type(std::move(type)),
      m_owner(owner),
      m_serial(++Graph::current().lastSerial),
      m_name(owner && &owner->getName() == &name ? nullptr : std::make_unique<const std::string>(name))
{}

SchedulerObject::SchedulerObject(const SchedulerObject& other)
    : m_state(other.m_state & pending),
      m_type(other.m_type),
      m_owner(other.m_owner),
      m_serial(++Graph::current().lastSerial),
      m_name(other.m_name ? std::make_unique<const std::string>(*other.m_name) : nullptr)
{}

SchedulerObject::~SchedulerObject()
{
  Walk::forget(*this);
  for (const LinkMap::Entry& edge : m_children) {
    destroyLink(edge.first->m_parents, this);
    edge.first->m_state -= shareOfChild();
  }
  for (const LinkMap::Entry& edge : m_parents)
    destroyLink(edge.first->m_children, this);
}

const std::string& SchedulerObject::nameOfOwner() const noexcept
{
  return m_owner ? m_owner->getName() : SharedText().str();
}

std::string SchedulerObject::getPath() const
{
  return m_owner ? m_owner->getPath() : std::string();
}

bool SchedulerObject::setCatchExceptions(bool catchExceptions) noexcept
{
  return std::exchange(Graph::current().catchExceptions, catchExceptions);
}

SchedulerTrace* SchedulerObject::setTrace(SchedulerTrace* trace) noexcept
{
  return std::exchange(Graph::current().trace, trace);
}

SchedulerTrace* SchedulerObject::getTrace() noexcept
{
  return Graph::current().trace;
}

// --------------------------------------------------------------------------------------------------- edges

void SchedulerObject::addChild(SchedulerObject* child, bool checkCycles)
{
  if (!child)
    throw internal::badParam(schedulerObjectClass, "addChild", _("Input parameter %s is empty.", "p_child"));
  if (child == this)
    throw ksl::cyclicRef(schedulerObjectClass, "addChild",
                         _("Tried to make object %s (%s) reference itself.", getName(), getType()));
  if (checkCycles && checkCyclic(child))
    throw ksl::cyclicRef(schedulerObjectClass, "addChild",
                         _("Attempt to create a cyclic dependency between object %s (%s) and object %s (%s).",
                           getName(), getType(), child->getName(), child->getType()));
  // Deliberately nothing while the children are being updated: see the header.
  if (!isUpdatingChildren())
    link(child);
}

void SchedulerObject::link(SchedulerObject* child)
{
  const bool isNew = addLink(m_children, child);
  try {
    addLink(child->m_parents, this);
  } catch (...) {
    deleteLink(m_children, child);
    throw;
  }
  if (!isNew)
    return;
  child->m_state += shareOfChild();
  Graph& graph = Graph::current();
  if (m_marked == graph.marking && child->m_marked != graph.marking)
    ++graph.marking;
}

void SchedulerObject::deleteChild(SchedulerObject* child) noexcept
{
  if (!child || !m_children.contains(child))
    return;
  deleteLink(child->m_parents, this);
  if (deleteLink(m_children, child))
    child->m_state -= shareOfChild();
}

bool SchedulerObject::checkCyclic(SchedulerObject* target)
{
  // Most links are made in the order of creation, to or from something that is not linked yet.
  if (m_parents.empty() || target->m_children.empty())
    return false;
  return Search(target, this).found();
}

// -------------------------------------------------------------------------------------- marking and updating

bool SchedulerObject::isUpdatingChildren() const noexcept
{
  return Walk::isPropagating(*this);
}

void SchedulerObject::setPending() noexcept
{
  Graph& graph = Graph::current();
  const std::uint64_t marking = graph.marking;
  if (m_marked == marking)
    return;
  if (graph.trace && !isPending())
    graph.trace->marked(*this, nullptr);
  m_marked = marking;
  m_next = nullptr;
  SchedulerObject* waiting = this;
  while (waiting) {
    SchedulerObject* scheduler = std::exchange(waiting, waiting->m_next);
    const std::uint32_t share =
        onePendingParent - scheduler->shareOfChild();  // none when it was pending already
    scheduler->m_state |= pending;
    for (const LinkMap::Entry& edge : scheduler->m_children) {
      SchedulerObject* child = edge.first;
      child->m_state += share;
      if (child->m_marked == marking)
        continue;
      if (graph.trace && !child->isPending())
        graph.trace->marked(*child, scheduler);
      child->m_marked = marking;
      if (child->m_children.empty()) {
        child->m_state |= pending;
        continue;
      }
      child->m_next = waiting;
      waiting = child;
    }
  }
}

SchedulerOwner& SchedulerObject::findSupport()
{
  // Both messages name the member, on purpose, not the object.
  if (!m_owner)
    throw internal::nullPointer(schedulerObjectClass, "update", _("Null pointer to %s.", "m_name"));
  GenericKSLObject* const usual = computing(m_owner);
  m_support = usual ? usual : dynamic_cast<SchedulerOwner*>(m_owner);
  if (!m_support)
    throw internal::nullPointer(schedulerObjectClass, "update",
                                _("Object %s has scheduler but is not GenericKSLObject.", "m_name"));
  return *m_support;
}

}  // namespace orv
