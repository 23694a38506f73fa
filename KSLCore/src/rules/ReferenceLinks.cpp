#include "rules/ReferenceLinks.h"

#include "platform/ORVException.h"
#include "database/ObjectDB.h"
#include "rules/LinkBatch.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace orv {

// ---------------------------------------------------------------------------------------------------- the record

std::vector<ReferenceLinks::OfParam>::iterator ReferenceLinks::at(std::string_view param)
{
  return std::lower_bound(
      m_params.begin(), m_params.end(), param,
      [](const OfParam& entry, std::string_view name) { return entry.rules->name < name; });
}

ReferenceLinks::OfParam* ReferenceLinks::find(const std::string& param)
{
  const auto found = at(param);
  return found != m_params.end() && found->rules->name == param ? &*found : nullptr;
}

bool ReferenceLinks::knows(const std::string& param)
{
  return find(param) || std::binary_search(m_delayed.begin(), m_delayed.end(), param)
         || std::any_of(m_localUses.begin(), m_localUses.end(),
                        [&param](const LocalUse& use) { return use.user == param; });
}

bool ReferenceLinks::delay(const std::string& param)
{
  const auto place = std::lower_bound(m_delayed.begin(), m_delayed.end(), param);
  if (place != m_delayed.end() && *place == param)
    return false;
  m_delayed.insert(place, param);
  return true;
}

void ReferenceLinks::settle(const std::string& param)
{
  const auto place = std::lower_bound(m_delayed.begin(), m_delayed.end(), param);
  if (place != m_delayed.end() && *place == param)
    m_delayed.erase(place);
}

void ReferenceLinks::prepare(const ParamDefinition& param)
{
  const auto place = at(param.getName());
  if (place == m_params.end() || place->rules->name != param.getName())
    m_params.insert(place, OfParam{param.getRules(), {}});
}

void ReferenceLinks::replace(const ParamDefinition& param, std::vector<Link>& links) noexcept
{
  const auto place = at(param.getName());
  place->links.swap(links);
  if (place->links.empty())
    m_params.erase(place);
}

// What may fail comes first: half of it must not be forgotten.
void ReferenceLinks::dropGone(const GenericKSLObject& object)
{
  if (!m_targetsGone)
    return;
  const auto isGoneOf = [&object](const OfParam& param) {
    return [key = Dependent::Key{object.getPath(), param.rules->name}](const Link& link) {
      const KSLObject* target = targetOf(link);  // one without a serial number may be a later one
      return !target || (link.serial == 0 && !target->getDependents().contains(key));
    };
  };
  for (const OfParam& param : m_params) {
    if (std::none_of(param.links.begin(), param.links.end(), isGoneOf(param)))
      continue;
    delay(param.rules->name);
    const ParamDefinition* holder = object.lookUpParam(param.rules->name);
    if (m_goneBehind && holder)
      forgive(*holder);
  }
  for (OfParam& param : m_params)
    m_lost = std::erase_if(param.links, isGoneOf(param)) != 0 || m_lost;
  std::erase_if(m_params, [](const OfParam& param) { return param.links.empty(); });
  m_targetsGone = false;
  m_goneBehind = false;
}

void ReferenceLinks::forgive(const ParamDefinition& param)
{
  if (isForgiven(param.getName(), param.getValue()))
    return;
  m_forgiven.reserve(m_forgiven.size() + 1);
  std::pair<std::string, std::string> entry(param.getName(), param.getValue());
  std::erase_if(m_forgiven, [&entry](const auto& known) { return known.first == entry.first; });
  m_forgiven.push_back(std::move(entry));
}

bool ReferenceLinks::isForgiven(const std::string& param, const std::string& text) const
{
  return std::any_of(m_forgiven.begin(), m_forgiven.end(),
                     [&](const auto& known) { return known.first == param && known.second == text; });
}

void ReferenceLinks::endForgiveness(const std::string& param, const std::string& text) noexcept
{
  std::erase_if(m_forgiven, [&](const auto& known) { return known.first == param && known.second == text; });
}

KSLObject* ReferenceLinks::targetOf(const Link& link)
{
  ObjectDB* database = ObjectDB::current();
  KSLObject* object = database ? database->getObjectByPath(link.path) : nullptr;
  return object && serialOf(*object) == link.serial ? object : nullptr;
}

std::uint64_t ReferenceLinks::serialOf(const KSLObject& object)
{
  const auto* computing = dynamic_cast<const GenericKSLObject*>(&object);
  return computing ? computing->m_serial : 0;
}

const std::string& ReferenceLinks::remoteTypeOf(const ParamDefinition::Rules& rules)
{
  return rules.remoteType.empty() ? rules.localType : rules.remoteType;
}

SchedulerObject* ReferenceLinks::schedulerOf(KSLObject& target, const ParamDefinition::Rules& rules,
                                             const SharedText& type)
{
  return type.empty() ? static_cast<GenericKSLObject&>(target).findSchedulerObject(remoteTypeOf(rules))
                      : target.getSchedulerObject(type.str());
}

void ReferenceLinks::end(GenericKSLObject& object, const ParamDefinition::Rules& rules, const Link& link,
                         bool dependentStays)
{
  KSLObject* target = targetOf(link);
  if (!target)
    return;
  if (link.scheduled)
    schedulerOf(*target, rules, link.scheduler)->deleteChild(object.findSchedulerObject(rules.localType));
  if (dependentStays)
    return;
  if (const ParamDefinition* param = object.lookUpParam(rules.name))
    target->delDependent(&object, param);
}

// ------------------------------------------------------------------------------------------------------ the change

LinkChange::LinkChange(GenericKSLObject& object, const ParamDefinition& param,
                       GenericKSLObject::Targets targets)
    : m_object(object),
      m_param(param),
      m_targets(std::move(targets)),
      m_child(object.findSchedulerObject(param.getLocalType())),
      m_misses(m_targets.waits)
{
  m_idle = isAsRecorded();
  try {
    make();
  } catch (...) {
    takeBack();
    throw;
  }
}

LinkChange::~LinkChange()
{
  if (!m_committed)
    takeBack();
}

bool LinkChange::isAsRecorded() const
{
  const ReferenceLinks::OfParam* known =
      m_object.m_links ? m_object.m_links->find(m_param.getName()) : nullptr;
  if (!known)
    return m_targets.list.empty();
  const auto isSame = [this](const Link& link, const GenericKSLObject::Targets::Target& target) {
    return link.path == target.object->getPath() && link.serial == ReferenceLinks::serialOf(*target.object)
           && link.scheduler == target.scheduler.str() && link.scheduled == (m_child && target.marks);
  };
  return std::equal(known->links.begin(), known->links.end(), m_targets.list.begin(), m_targets.list.end(),
                    isSame);
}

void LinkChange::make()
{
  if (!m_idle) {
    m_object.links().prepare(m_param);
    m_links.reserve(m_targets.list.size());
    m_newDependent.reserve(m_targets.list.size());
    for (const GenericKSLObject::Targets::Target& target : m_targets.list)
      makeLink(target);
  }
  noteLocals();
  if (m_targets.waits)
    m_newlyDelayed = m_object.links().delay(m_param.getName());
}

void LinkChange::makeLink(const GenericKSLObject::Targets::Target& to)
{
  KSLObject& target = *to.object;
  m_links.push_back({target.getPath(), ReferenceLinks::serialOf(target), to.scheduler, false});
  m_newDependent.push_back(false);
  const std::size_t before = target.getDependents().size();
  target.addDependent(&m_object, &m_param);
  m_newDependent.back() = target.getDependents().size() != before;
  if (m_child && to.marks)
    m_links.back().scheduled =
        linkSchedulers(*ReferenceLinks::schedulerOf(target, *m_param.getRules(), to.scheduler));
}

void LinkChange::noteLocals()
{
  const std::string& name = m_param.getName();
  if (m_object.m_links)
    m_localUses = m_object.m_links->localUses();
  std::erase_if(m_localUses, [&name](const auto& use) { return use.user == name; });
  for (std::string& local : m_targets.locals)
    m_localUses.push_back({std::move(local), name});
  if (!m_localUses.empty())
    m_object.links();  // so that there is a place for them
}

// A scheduler that updates its children takes no new ones; such a link is made by a later update.
bool LinkChange::linkSchedulers(SchedulerObject& parent)
{
  const int before = parent.getChildren().count(m_child);
  try {
    parent.addChild(m_child, true);
  } catch (const ksl::cyclicRef&) {
    if (m_targets.judgement != GenericKSLObject::Judgement::later)
      throw;
    m_targets.waits = true;
    return false;
  }
  const bool linked = parent.getChildren().count(m_child) != before;
  m_dropped = m_dropped || !linked;
  m_targets.waits = m_targets.waits || !linked;
  return linked;
}

void LinkChange::takeBack() noexcept
{
  for (std::size_t i = 0; i < m_links.size(); ++i)
    end(m_links[i], !m_newDependent[i]);
  if (m_newlyDelayed)
    m_object.m_links->settle(m_param.getName());
}

void LinkChange::commit() noexcept
{
  m_committed = true;
  if (!m_targets.waits && m_object.m_links) {
    m_object.m_links->settle(m_param.getName());
    m_object.m_links->endForgiveness(m_param.getName(), m_param.getValue());
  }
  if (m_object.m_links)
    m_object.m_links->localUses().swap(m_localUses);
  if (!m_targets.locals.empty())
    markLocalVariable();
  if (m_idle)
    return;
  if (m_dropped && !m_misses)  // what is missing must not fail a command that does not touch this object
    LinkBatch::linkInNext(m_object);
  m_changed = m_links != m_object.m_links->find(m_param.getName())->links;
  m_object.m_links->replace(m_param, m_links);  // m_links are the old ones now
  const auto isBefore = [](const auto& a, const auto& b) { return std::less<>()(a.object, b.object); };
  std::sort(m_targets.list.begin(), m_targets.list.end(), isBefore);
  for (const Link& link : m_links)
    end(link, std::binary_search(m_targets.list.begin(), m_targets.list.end(),
                                 GenericKSLObject::Targets::Target{ReferenceLinks::targetOf(link), {}, true},
                                 isBefore));
}

// The category may not be registered.
void LinkChange::markLocalVariable() noexcept
{
  try {
    m_object.setCategory("has-local-variable");
  } catch (...) {}
}

// What fails for lack of memory leaves an entry too many, which is harmless.
void LinkChange::end(const Link& link, bool dependentStays) noexcept
{
  try {
    ReferenceLinks::end(m_object, *m_param.getRules(), link, dependentStays);
  } catch (...) {}
}

}  // namespace orv
