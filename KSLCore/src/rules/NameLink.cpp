#include "rules/NameLink.h"

#include "platform/ORVException.h"
#include "database/ObjectDB.h"
#include "rules/GenericKSLObject.h"

#include <algorithm>

namespace orv {

void NamedTargets::Fault::raise() const
{
  const auto raiseAs = [this](auto error) {
    error.setNotes(notes);
    throw error;
  };
  if (missing || ambiguous)
    raiseAs(data::notFound("GenericKSLObject", function, message));
  raiseAs(data::invalid("GenericKSLObject", function, message));
  throw;  // never reached
}

NameLink::NameLink(GenericKSLObject& owner, refcnt_ptr<const ParamDefinition::Rules> rules)
    : m_owner(owner),
      m_rules(std::move(rules))
{}

NameLink::~NameLink()
{
  if (m_dueIn)
    m_dueIn->removeDue(*this);
  if (!NameIndex::current())
    return;
  const ParamDefinition* holder = param();
  for (const NameTarget& target : m_targets) {
    if (target.object && holder)
      target.object->delDependent(&m_owner, holder);
  }
}

const ParamDefinition* NameLink::param() const
{
  return m_owner.lookUpParam(name());
}

const std::string& NameLink::text() const
{
  static const std::string none;
  const ParamDefinition* holder = param();
  return holder ? holder->getValue() : none;
}

void NameLink::setDue() noexcept
{
  if (NameIndex* index = NameIndex::current())
    index->addDue(*this);
}

void NameLink::setAside() noexcept
{
  m_aside = true;
  m_blameless = true;
  setDue();
}

void NameLink::noteChange(bool byCommand) noexcept
{
  m_blameless = m_blameless || !byCommand;
  setDue();
}

void NameLink::lose(const KSLObject& object, bool byCommand) noexcept
{
  bool lost = false;
  for (NameTarget& target : m_targets) {
    if (target.object != &object)
      continue;
    lost = true;
    target.object = nullptr;
    target.scheduled = false;
    try {
      target.gonePath = SharedText(object.getPath());
    } catch (...) {}  // it is only needed to tell a later object at the path
  }
  if (!lost)
    return;
  m_lost = true;
  setDue();
  if (!byCommand)
    forgive();
}

// Without memory for the text it will be told as an error.
void NameLink::forgive() noexcept
{
  try {
    m_forgiven = std::make_unique<std::string>(text());
    m_state = State::forgiven;
  } catch (...) {}
}

bool NameLink::isForgiven() const
{
  return m_forgiven && *m_forgiven == text();
}

SchedulerObject* NameLink::childScheduler() const
{
  return m_owner.linkedScheduler(*m_rules);
}

SchedulerObject* NameLink::parentScheduler(const NameTarget& target) const
{
  if (!target.object || !target.marks)
    return nullptr;
  if (!target.scheduler.empty())
    return target.object->getSchedulerObject(target.scheduler.str());
  const std::string& type = m_rules->remoteType.empty() ? m_rules->localType : m_rules->remoteType;
  const auto* computing = dynamic_cast<const GenericKSLObject*>(target.object);
  return computing ? computing->findSchedulerObject(type) : nullptr;
}

}  // namespace orv
