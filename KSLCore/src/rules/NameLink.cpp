#include "rules/NameLink.h"

#include "platform/ORVException.h"
#include "platform/ORVExpressionFunctions.h"
#include "database/ObjectDB.h"
#include "rules/computing.h"

#include <algorithm>

namespace orv {

namespace {

std::vector<std::string> sorted(std::vector<std::string> names)
{
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

// Names that a reference from this object may mean: on top, beside it and in it.
std::vector<std::string> objectsAround(const KSLObject& owner, const std::string& schedulerType)
{
  std::vector<std::string> names;
  const auto add = [&](const KSLObject* child) {
    if (child != &owner && child->hasScheduler(schedulerType))
      names.push_back(child->getName());
  };
  ObjectDB::instance()->getRoot()->forEachChild(add);
  if (const KSLObject* parent = owner.getParentObject(); parent && parent->hasPath())
    parent->forEachChild(add);
  owner.forEachChild(add);
  return sorted(std::move(names));
}

// Names that an expression of this object may use.
std::vector<std::string> namesForExpressions(const KSLObject& owner)
{
  std::vector<std::string> names = expressionFunctionNames();
  for (std::string& name : owner.getParamNames(externalParams))
    names.push_back(std::move(name));
  ObjectDB::instance()->getRoot()->forEachChild([&](const KSLObject* child) {
    if (child->isA("variable"))
      names.push_back(child->getName());
    const auto* object = dynamic_cast<const GenericKSLObject*>(child);
    if (!object || !object->definesNames())
      return;
    for (std::string& name : object->getParamNames(externalParams))
      names.push_back(std::move(name));
  });
  return sorted(std::move(names));
}

// What was meant, probably. All that there is would be too much to be of help.
Diagnostic explained(const NamedTargets::Fault& fault, const KSLObject& owner, const std::string& param)
{
  const ParamDefinition* definition = owner.lookUpParam(param);
  const std::string type = definition ? definition->getRemoteType() : std::string();
  std::vector<std::string> names;
  if (fault.missing)
    names = type.empty() ? namesForExpressions(owner) : objectsAround(owner, type);
  Diagnostic more = oneOf(fault.name, std::move(names));
  more.valid.clear();
  more.object = owner.getPath();
  more.parameter = param;
  return more;
}

}  // namespace

void NamedTargets::Fault::raise(const KSLObject& owner, const std::string& parameter) const
{
  const auto raiseAs = [&](auto error) {
    error.setNotes(notes);
    throw diagnosed(std::move(error), explained(*this, owner, parameter));
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

bool NameLink::usesLocal(const std::string& param) const
{
  return m_locals && std::find(m_locals->begin(), m_locals->end(), param) != m_locals->end();
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
      target.gonePath = object.getSharedPath();
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
  const GenericKSLObject* parent = computing(target.object);
  return parent ? parent->findSchedulerObject(type) : nullptr;
}

}  // namespace orv
