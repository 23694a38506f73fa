#include "rules/LinkJudgement.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVUtilities.h"
#include "rules/GenericKSLObject.h"
#include "rules/NameFinder.h"
#include "rules/NameIndex.h"

#include <algorithm>

namespace orv {

using State = NameLink::State;

// Nothing is left to take back after a finish.
LinkJudgement::~LinkJudgement()
{
  for (NamedTargets& found : m_found)
    dropNew(found);
  for (NamedTargets& found : m_found) {
    NameLink& link = *found.link;
    link.m_owes = found.owed;
    if (m_parted)
      joinOld(link);
    link.m_next = nullptr;
    link.m_touched = false;
    if (found.wasDue)
      link.setDue();
  }
  for (auto was = m_wereSound.rbegin(); was != m_wereSound.rend(); ++was)
    was->first->m_sound = was->second;
}

// ------------------------------------------------------------------------------------------------------------- finding

// Whatever later steps ask of a link and its object is noted here, while both are at hand: there may be a million.
void LinkJudgement::take(NameLink& link, const std::string* text)
{
  const GenericKSLObject& owner = link.owner();
  m_asked.clear();
  const ParamDefinition* param = link.param();
  const bool moves = m_found.size() == m_found.capacity();
  NamedTargets& found = m_found.emplace_back(
      param ? NameFinder::find(owner, *param, text ? *text : param->getValue(), m_asked) : NamedTargets());
  found.link = &link;
  found.mayNameNothing = found.isDefault || link.rules().remoteOptional;
  found.owed = link.m_owes;
  found.wasDue = link.isDue();
  found.isTouched = link.m_touched;
  found.isDefinition = owner.definesNames();
  found.waitsInPeace = owner.waitsWithoutError();
  found.stands = stands(found);
  link.m_next = &found;
  for (std::size_t i = 0; moves && i < m_found.size(); ++i)
    m_found[i].link->m_next = &m_found[i];
  m_index.removeDue(link);
  found.uses = NameUses(m_index, link, m_asked);
  if (found.isDefinition)
    m_definitions.push_back(&link);
  m_someAtFault = m_someAtFault || found.fault || found.usesDefinitions;
  m_someUntouched = m_someUntouched || !found.isTouched;
}

void LinkJudgement::takeDue()
{
  m_index.takePlaces();
  m_found.reserve(m_index.dueCount());
  while (NameLink* link = m_index.firstDue())
    take(*link);
}

void LinkJudgement::takeDueOf(GenericKSLObject& object)
{
  m_index.forgetPlaces(object);
  object.nameLinks().forEach([this](NameLink& link) {
    if (link.isDue())
      take(link);
  });
}

namespace {

// The link of the definition that a target is; null for one that is an object.
NameLink* definitionOf(const NameTarget& target)
{
  const auto* definer =
      target.scheduler.empty() ? nullptr : dynamic_cast<const GenericKSLObject*>(target.object);
  return definer && definer->definesNames() ? definer->findNameLink(target.scheduler.str()) : nullptr;
}

}  // namespace

const std::vector<NameTarget>& LinkJudgement::targetsOf(const NameLink& link)
{
  return link.m_next ? link.m_next->list : link.m_targets;
}

bool LinkJudgement::isSound(const NameLink& link)
{
  if (link.m_next ? link.m_next->fault != nullptr : link.waits())
    return false;
  const std::vector<NameTarget>& targets = targetsOf(link);
  return std::all_of(targets.begin(), targets.end(), [](const NameTarget& target) {
    const NameLink* used = definitionOf(target);
    return !used || used->m_sound;
  });
}

// First what becomes unsound, then what becomes sound: each changes once or twice, whatever uses whom.
void LinkJudgement::settleDefinitions()
{
  for (const bool sound : {false, true}) {
    std::vector<NameLink*> toAsk = m_definitions;
    while (!toAsk.empty()) {
      NameLink& link = *toAsk.back();
      toAsk.pop_back();
      if (link.m_sound != sound && isSound(link) == sound)
        setSound(link, sound, toAsk);
    }
  }
}

void LinkJudgement::setSound(NameLink& link, bool sound, std::vector<NameLink*>& toAsk)
{
  m_wereSound.emplace_back(&link, bool(link.m_sound));
  link.m_sound = sound;
  std::vector<NameLink*> users;
  m_index.forEachUser(nullptr, link.name(), [&users](NameLink& user) { users.push_back(&user); });
  for (NameLink* user : users) {
    const std::vector<NameTarget>& targets = targetsOf(*user);
    if (std::none_of(targets.begin(), targets.end(),
                     [&link](const NameTarget& target) { return definitionOf(target) == &link; }))
      continue;
    if (user->owner().definesNames())
      toAsk.push_back(user);
    else if (m_mode == Mode::walk)
      user->setDue();
    else if (!user->m_next)
      take(*user);
  }
}

// ------------------------------------------------------------------------------------------------------------- judging

void LinkJudgement::judge()
{
  settleDefinitions();
  if (m_someAtFault) {
    for (NamedTargets& found : m_found)
      judgeOne(found);
  }
  try {
    makeAll();
  } catch (const ksl::cyclicRef&) {
    if (m_parted)
      throw;
    for (NamedTargets& found : m_found)
      dropNew(found);
    partAll();
    makeAll();
  }
  listToMark();
}

bool LinkJudgement::isStrict(const NamedTargets& found) const
{
  const NameLink& link = *found.link;
  if (found.mayNameNothing || found.isDefinition || found.waitsInPeace)
    return false;
  if (m_mode == Mode::set)
    return found.refusal && &found == &m_found.front();
  return m_mode == Mode::command && !link.isForgiven()
         && (found.isTouched || (link.m_state == State::linked && !link.m_blameless));
}

void LinkJudgement::judgeOne(NamedTargets& found) const
{
  if (found.usesDefinitions && !found.isDefinition && !found.fault)
    blameDefinition(found);
  if (!found.fault)
    return;
  if (isStrict(found))
    (m_mode == Mode::set ? found.refusal : found.fault)->raise(found.link->owner(), found.link->name());
  if (m_mode != Mode::set)
    warn(found);
}

// The first that a text uses and that is at fault, or uses what is.
const NameLink* LinkJudgement::unsoundIn(const NameLink& link)
{
  for (const NameTarget& target : targetsOf(link)) {
    const NameLink* used = definitionOf(target);
    if (used && !used->m_sound)
      return used;
  }
  return nullptr;
}

// A text that names an expression is at fault as the one is, in the end, that lacks a name.
void LinkJudgement::blameDefinition(NamedTargets& found)
{
  const NameLink* at = unsoundIn(*found.link);
  if (!at)
    return;
  std::set<const NameLink*> seen;
  while (seen.insert(at).second) {
    if (const NameLink* next = unsoundIn(*at))
      at = next;
  }
  if (!at->param())
    return;
  std::vector<NameQuestion> asked;
  found.fault =
      at->m_next ? at->m_next->fault : NameFinder::find(at->owner(), *at->param(), at->text(), asked).fault;
}

// A reference that comes to wait although nobody is to blame for it now.
void LinkJudgement::warn(const NamedTargets& found) noexcept
{
  if (!found.fault->missing || found.mayNameNothing || found.link->waits() || found.isDefinition
      || found.waitsInPeace)
    return;
  try {
    const NamedTargets::Fault& fault = *found.fault;
    ErrorMsg warning("GenericKSLObject", fault.function, fault.message, errorType::warning);
    warning.setDiagnostic(std::make_shared<const Diagnostic>(Diagnostic{
        .object = found.link->owner().getPath(), .parameter = found.link->name(), .subject = fault.name}));
    ErrorProgressReporter::instance()->reportError(warning);
  } catch (...) {}  // no memory for the text
}

// ---------------------------------------------------------------------------------------------------------- the graph

bool LinkJudgement::stands(const NamedTargets& found)
{
  const NameLink& link = *found.link;
  const std::vector<NameTarget>& next = found.list;
  const bool alike = !link.m_lost
                     && std::equal(next.begin(), next.end(), link.m_targets.begin(), link.m_targets.end(),
                                   [](const NameTarget& a, const NameTarget& b) { return a.isSame(b); });
  return alike
         && std::all_of(link.m_targets.begin(), link.m_targets.end(), [&link](const NameTarget& target) {
              return target.scheduled || !target.object || !target.marks || !link.childScheduler();
            });
}

// Who has to wait when a circle closes comes last.
void LinkJudgement::makeAll()
{
  std::vector<NamedTargets*> last;
  for (NamedTargets& found : m_found) {
    if (found.stands)
      continue;
    if (mayWaitForCircle(found))
      last.push_back(&found);
    else
      makeTargets(found);
  }
  for (NamedTargets* found : last)
    makeTargets(*found);
}

bool LinkJudgement::mayWaitForCircle(const NamedTargets& found) const
{
  if (m_mode == Mode::replay || m_mode == Mode::walk || found.waitsInPeace)
    return true;
  if (m_mode != Mode::command || found.isTouched)
    return false;
  const bool waited = found.isDefinition ? found.owed : found.link->waits();
  return found.link->m_blameless || (waited && !found.isDefault);
}

void LinkJudgement::makeTargets(NamedTargets& found) const
{
  NameLink& link = *found.link;
  link.m_owes = false;
  for (NameTarget& target : found.list) {
    if (!target.object)
      continue;
    if (!found.isDefinition) {  // a deletion that needs it is refused, whatever depends on it
      const std::size_t before = target.object->getDependents().size();
      target.object->addDependent(&link.m_owner, found.param);
      target.isNew = target.object->getDependents().size() != before;
    }
    addEdge(found, target);
  }
}

// A scheduler that updates its children takes no new ones; such an edge is made by a later update.
void LinkJudgement::addEdge(const NamedTargets& found, NameTarget& target) const
{
  NameLink& link = *found.link;
  SchedulerObject* child = link.childScheduler();
  SchedulerObject* parent = child ? link.parentScheduler(target) : nullptr;
  if (!parent)
    return;
  const int before = parent->getChildren().count(child);
  try {
    parent->addChild(child, true);
  } catch (ksl::cyclicRef& error) {
    error.concern(link.owner().getPath(), link.name());
    if (!m_parted || !mayWaitForCircle(found))
      throw;
  }
  target.scheduled = parent->getChildren().count(child) != before;
  link.m_owes = link.m_owes || !target.scheduled;
}

void LinkJudgement::partAll() noexcept
{
  m_parted = true;
  for (const NamedTargets& found : m_found) {
    NameLink& link = *found.link;
    SchedulerObject* child = found.stands ? nullptr : link.childScheduler();
    for (NameTarget& target : link.m_targets) {
      if (!child || !target.scheduled)
        continue;
      link.parentScheduler(target)->deleteChild(child);
      target.scheduled = false;
      target.parted = true;
    }
  }
}

void LinkJudgement::joinOld(NameLink& link) noexcept
{
  for (NameTarget& target : link.m_targets) {
    if (!std::exchange(target.parted, false))
      continue;
    try {
      SchedulerObject* child = link.childScheduler();
      SchedulerObject* parent = link.parentScheduler(target);
      const int before = parent->getChildren().count(child);
      parent->addChild(child, false);
      target.scheduled = parent->getChildren().count(child) != before;
    } catch (...) {}  // no memory; the link is due, and made when it is found again
  }
}

void LinkJudgement::dropNew(NamedTargets& found) noexcept
{
  for (NameTarget& target : found.list) {
    if (std::exchange(target.scheduled, false))
      found.link->parentScheduler(target)->deleteChild(found.link->childScheduler());
    if (std::exchange(target.isNew, false))
      target.object->delDependent(&found.link->m_owner, found.link->param());
  }
}

// --------------------------------------------------------------------------------------------------------- committing

std::set<SharedText> LinkJudgement::untouchedPaths() const
{
  std::set<SharedText> paths;
  for (const NameLink* link : m_toMark) {
    if (!link->m_touched)
      paths.insert(link->owner().getSharedPath());
  }
  return paths;
}

void LinkJudgement::listToMark()
{
  if (m_mode == Mode::set || (!m_someUntouched && m_definitions.empty()))
    return;
  for (const NamedTargets& found : m_found) {
    if (found.isTouched ? found.isDefinition : isToBeUpdated(found))
      m_toMark.push_back(found.link);
  }
}

// A walk, or a circle, that goes on refusing an edge changes nothing. A preview shows another error, perhaps.
bool LinkJudgement::isToBeUpdated(const NamedTargets& found) const
{
  // Items that mean nothing lead nowhere, before and now: a keyword that comes as a default changes no link.
  const auto leads = [](const NameTarget& target) { return target.object != nullptr; };
  const std::vector<NameTarget>& targets = found.link->m_targets;
  auto next = std::find_if(found.list.begin(), found.list.end(), leads);
  auto old = std::find_if(targets.begin(), targets.end(), leads);
  while (next != found.list.end() && old != targets.end() && next->isSame(*old)
         && next->scheduled == (old->scheduled || old->parted)) {
    next = std::find_if(next + 1, found.list.end(), leads);
    old = std::find_if(old + 1, targets.end(), leads);
  }
  const bool isAlike = !found.link->m_lost && next == found.list.end() && old == targets.end();
  const bool tells = m_mode != Mode::walk && (found.waitsInPeace || found.isDefinition);
  return !(found.stands || isAlike) || (found.fault && tells);
}

// Schedulers are marked when all edges are as they are to be.
void LinkJudgement::finish() noexcept
{
  for (NamedTargets& found : m_found)
    commit(found);
  m_found.clear();
  m_wereSound.clear();
  for (const NameLink* link : m_toMark)
    link->owner().markUsers(link->rules());
}

void LinkJudgement::commit(NamedTargets& found) noexcept
{
  NameLink& link = *found.link;
  link.m_next = nullptr;
  if (!found.stands && !link.m_targets.empty())
    endOld(link, found.list);
  if (!found.stands)
    link.m_targets.swap(found.list);
  link.m_locals.swap(found.locals);
  if (link.hasLocals())
    link.owner().markLocalVariable();
  link.m_uses = std::move(found.uses);
  if (!found.fault)
    link.m_forgiven.reset();
  if (found.fault && found.fault->missing)
    link.m_state = link.m_forgiven ? State::forgiven : State::missing;
  else if (found.fault || link.m_owes)
    link.m_state = State::refused;
  else
    link.m_state = link.m_targets.empty() ? State::none : State::linked;
  link.m_touched = false;
  link.m_lost = false;
  link.m_aside = false;
  link.m_blameless = false;
  link.m_linkedOnce = true;
  if (link.m_owes)
    link.setDue();
}

void LinkJudgement::endOld(NameLink& link, const std::vector<NameTarget>& next) noexcept
{
  SchedulerObject* child = link.childScheduler();
  const ParamDefinition* param = link.param();
  const auto staysIn = [&next](const KSLObject* object) {
    return std::any_of(next.begin(), next.end(),
                       [object](const NameTarget& target) { return target.object == object; });
  };
  for (NameTarget& target : link.m_targets) {
    if (target.scheduled)
      link.parentScheduler(target)->deleteChild(child);
    if (target.object && param && !staysIn(target.object))
      target.object->delDependent(&link.m_owner, param);
  }
}

}  // namespace orv
