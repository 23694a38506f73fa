// Order of a commit:
//   find    what each text that is due means (NameFinder), and with it which other links have to be asked
//   judge   the first fault of a command is thrown; nothing is changed by then
//   make    the new edges, beside those that stand. Where that closes a circle, all edges that the transaction
//           replaces are taken away and all new ones made again: a circle is one of what is there in the end
//   commit  the edges that stood end, the links say what was found, schedulers are marked; nothing can fail
// What is thrown before `commit` leaves each link as it was, and due.
#include "rules/LinkTransaction.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "database/ObjectDB.h"
#include "rules/GenericKSLObject.h"
#include "rules/NameFinder.h"
#include "rules/NameIndex.h"
#include "rules/NameLink.h"
#include "rules/NameRewriter.h"

#include <algorithm>
#include <set>
#include <utility>

namespace orv {

using State = NameLink::State;

// ------------------------------------------------------------------------------------------------ beginning and end

LinkTransaction::LinkTransaction(ObjectDB& database, Kind kind, const Relocation* relocation)
    : m_index(NameIndex::of(database)),
      m_mode(kind == Kind::replay ? Mode::replay : Mode::command),
      m_rewriter(std::make_unique<NameRewriter>(m_index, relocation)),
      m_outer(m_index.setTransaction(this)),
      m_open(true)
{}

LinkTransaction::LinkTransaction(NameLink& link, const std::string& text)
    : m_index(NameIndex::of(*ObjectDB::instance())),
      m_mode(Mode::set)
{
  ScopeGuard undo([this] { takeBack(); });
  take(link);
  find(link, &text);
  judgeAndMake();
  undo.dismiss();
}

LinkTransaction::LinkTransaction(GenericKSLObject& object)
    : m_index(NameIndex::of(*ObjectDB::instance())),
      m_mode(Mode::walk)
{
  ScopeGuard undo([this] { takeBack(); });
  for (const auto& [name, link] : *object.nameLinks()) {
    if (!link->isDue())
      continue;
    take(*link);
    find(*link);
  }
  judgeAndMake();
  undo.dismiss();
}

LinkTransaction::~LinkTransaction()
{
  if (!m_committed)
    takeBack();
  close();
}

LinkTransaction* LinkTransaction::current() noexcept
{
  const NameIndex* index = NameIndex::current();
  return index ? index->transaction() : nullptr;
}

void LinkTransaction::close() noexcept
{
  if (!m_open)
    return;
  m_open = false;
  m_index.setTransaction(m_outer);
  for (const Mark& mark : m_marks) {
    if (mark.object)
      mark.object->m_markPlace = 0;
  }
}

void LinkTransaction::takeBack() noexcept
{
  for (NameLink* link : m_links)
    dropNew(*link);
  for (NameLink* link : m_links) {
    link->m_owes = link->m_next && link->m_next->owed;
    if (m_parted)
      joinOld(*link);
    link->m_next.reset();
    link->m_nextUses = NameUses();
    link->m_touched = false;
    if (link->m_wasDue)
      link->setDue();
  }
  for (auto was = m_wereSound.rbegin(); was != m_wereSound.rend(); ++was)
    was->first->m_sound = was->second;
  m_links.clear();
  m_wereSound.clear();
}

std::set<std::string> LinkTransaction::commit()
{
  const ScopeGuard end([this] {
    if (!m_committed)
      takeBack();
    close();
  });
  while (NameLink* link = m_index.firstDue()) {
    take(*link);
    find(*link);
  }
  judgeAndMake();
  std::set<std::string> paths;
  for (const NameLink* link : m_links) {
    if (!link->m_touched && isToBeUpdated(*link))
      paths.insert(link->owner().getPath());
  }
  finish();
  return paths;
}

// -------------------------------------------------------------------------------------------------- touches and marks

void LinkTransaction::touch(NameLink& link) noexcept
{
  link.m_touched = true;
  link.setDue();
}

void LinkTransaction::touchWaiting(GenericKSLObject& object) noexcept
{
  for (const auto& [name, link] : *object.nameLinks()) {
    if (link->waits())
      touch(*link);
  }
}

void LinkTransaction::markLater(GenericKSLObject& object, std::size_t scheduler)
{
  const std::size_t place = object.m_markPlace;
  if (place == 0 || place > m_marks.size() || m_marks[place - 1].object != &object) {
    m_marks.push_back({&object, 0});
    object.m_markPlace = static_cast<std::uint32_t>(m_marks.size());
  }
  m_marks[object.m_markPlace - 1].schedulers |= std::uint64_t(1) << scheduler;
}

// Only transactions that nest may have an object in several lists.
void LinkTransaction::forget(const GenericKSLObject& object) noexcept
{
  const std::size_t place = object.m_markPlace;
  if (place > 0 && place <= m_marks.size() && m_marks[place - 1].object == &object)
    m_marks[place - 1].object = nullptr;
  for (LinkTransaction* outer = m_outer; outer; outer = outer->m_outer) {
    for (Mark& mark : outer->m_marks)
      mark.object = mark.object == &object ? nullptr : mark.object;
  }
}

void LinkTransaction::markAll() noexcept
{
  for (const Mark& mark : m_marks) {
    std::uint64_t schedulers = mark.object ? mark.schedulers : 0;
    for (std::size_t place = 0; schedulers != 0; ++place, schedulers >>= 1) {
      if (schedulers & 1)
        mark.object->m_schedulers[place].setPending();
    }
  }
}

// ------------------------------------------------------------------------------------------------------------- finding

void LinkTransaction::take(NameLink& link)
{
  m_links.push_back(&link);
  link.m_wasDue = link.isDue();
  m_index.removeDue(link);
}

void LinkTransaction::find(NameLink& link, const std::string* text)
{
  m_asked.clear();
  const ParamDefinition* param = link.param();
  link.m_next = std::make_unique<NamedTargets>(
      param ? NameFinder::find(link.owner(), *param, text ? *text : param->getValue(), m_asked)
            : NamedTargets());
  link.m_next->owed = link.m_owes;
  link.m_nextUses = NameUses(m_index, link, m_asked);
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

const std::vector<NameTarget>& LinkTransaction::targetsOf(const NameLink& link)
{
  return link.m_next ? link.m_next->list : link.m_targets;
}

bool LinkTransaction::isSound(const NameLink& link)
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
void LinkTransaction::settleDefinitions()
{
  for (const bool sound : {false, true}) {
    std::vector<NameLink*> toAsk;
    for (NameLink* link : m_links) {
      if (link->owner().definesNames())
        toAsk.push_back(link);
    }
    while (!toAsk.empty()) {
      NameLink& link = *toAsk.back();
      toAsk.pop_back();
      if (link.m_sound != sound && isSound(link) == sound)
        setSound(link, sound, toAsk);
    }
  }
}

void LinkTransaction::setSound(NameLink& link, bool sound, std::vector<NameLink*>& toAsk)
{
  m_wereSound.emplace_back(&link, link.m_sound);
  link.m_sound = sound;
  std::vector<NameLink*> users;
  m_index.forEachUser(nullptr, link.name(), [&users](NameLink& user) { users.push_back(&user); });
  for (NameLink* user : users) {
    const std::vector<NameTarget>& targets = targetsOf(*user);
    if (std::none_of(targets.begin(), targets.end(),
                     [&link](const NameTarget& target) { return definitionOf(target) == &link; }))
      continue;
    if (user->owner().definesNames()) {
      toAsk.push_back(user);
    } else if (m_mode == Mode::walk) {
      user->setDue();
    } else if (!user->m_next) {
      take(*user);
      find(*user);
    }
  }
}

// ------------------------------------------------------------------------------------------------------------- judging

bool LinkTransaction::isStrict(const NameLink& link) const
{
  const NamedTargets& found = *link.m_next;
  if (found.isDefault || link.owner().definesNames() || link.owner().waitsWithoutError())
    return false;
  if (m_mode == Mode::set)
    return found.refusal && &link == m_links.front();
  return m_mode == Mode::command && !link.isForgiven()
         && (link.m_touched || (link.m_state == State::linked && !link.m_blameless));
}

void LinkTransaction::judgeAndMake()
{
  settleDefinitions();
  for (NameLink* link : m_links)
    judge(*link);
  make();
}

void LinkTransaction::judge(NameLink& link)
{
  if (!link.owner().definesNames() && !link.m_next->fault)
    blameDefinition(link);
  if (!link.m_next->fault)
    return;
  if (isStrict(link))
    (m_mode == Mode::set ? link.m_next->refusal : link.m_next->fault)->raise(link.owner(), link.name());
  if (m_mode != Mode::set)
    warn(link);
}

// The first that a text uses and that is at fault, or uses what is.
const NameLink* LinkTransaction::unsoundIn(const NameLink& link)
{
  for (const NameTarget& target : targetsOf(link)) {
    const NameLink* used = definitionOf(target);
    if (used && !used->m_sound)
      return used;
  }
  return nullptr;
}

// A text that names an expression is at fault as the one is, in the end, that lacks a name.
void LinkTransaction::blameDefinition(NameLink& link)
{
  const NameLink* at = unsoundIn(link);
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
  link.m_next->fault =
      at->m_next ? at->m_next->fault : NameFinder::find(at->owner(), *at->param(), at->text(), asked).fault;
}

// A reference that comes to wait although nobody is to blame for it now.
void LinkTransaction::warn(const NameLink& link) const noexcept
{
  const GenericKSLObject& owner = link.owner();
  if (!link.m_next->fault->missing || link.m_next->isDefault || link.waits() || owner.definesNames()
      || owner.waitsWithoutError())
    return;
  try {
    const NamedTargets::Fault& fault = *link.m_next->fault;
    ErrorMsg warning("GenericKSLObject", fault.function, fault.message, errorType::warning);
    warning.setDiagnostic(std::make_shared<const Diagnostic>(
        Diagnostic{.object = owner.getPath(), .parameter = link.name(), .subject = fault.name}));
    ErrorProgressReporter::instance()->reportError(warning);
  } catch (...) {}  // no memory for the text
}

// ---------------------------------------------------------------------------------------------------------- the graph

void LinkTransaction::make()
{
  for (NameLink* link : m_links)
    link->m_next->stands = stands(*link);
  try {
    makeAll();
  } catch (const ksl::cyclicRef&) {
    if (m_parted)
      throw;
    for (NameLink* link : m_links)
      dropNew(*link);
    partAll();
    makeAll();
  }
}

bool LinkTransaction::stands(const NameLink& link)
{
  const std::vector<NameTarget>& next = link.m_next->list;
  const bool alike = !link.m_lost
                     && std::equal(next.begin(), next.end(), link.m_targets.begin(), link.m_targets.end(),
                                   [](const NameTarget& a, const NameTarget& b) { return a.isSame(b); });
  return alike
         && std::all_of(link.m_targets.begin(), link.m_targets.end(), [&link](const NameTarget& target) {
              return target.scheduled || !target.object || !target.marks || !link.childScheduler();
            });
}

// Who has to wait when a circle closes comes last.
void LinkTransaction::makeAll()
{
  for (const bool waiting : {false, true}) {
    for (NameLink* link : m_links) {
      if (!link->m_next->stands && mayWaitForCircle(*link) == waiting)
        makeTargets(*link);
    }
  }
}

bool LinkTransaction::mayWaitForCircle(const NameLink& link) const
{
  if (m_mode == Mode::replay || m_mode == Mode::walk || link.owner().waitsWithoutError())
    return true;
  if (m_mode != Mode::command || link.m_touched)
    return false;
  const bool waited = link.owner().definesNames() ? link.m_next->owed : link.waits();
  return link.m_blameless || (waited && !link.m_next->isDefault);
}

void LinkTransaction::makeTargets(NameLink& link)
{
  link.m_owes = false;
  const ParamDefinition* param = link.m_next->param;
  for (NameTarget& target : link.m_next->list) {
    if (!target.object)
      continue;
    if (!link.owner().definesNames()) {  // a deletion that needs it is refused, whatever depends on it
      const std::size_t before = target.object->getDependents().size();
      target.object->addDependent(&link.m_owner, param);
      target.isNew = target.object->getDependents().size() != before;
    }
    addEdge(link, target);
  }
}

// A scheduler that updates its children takes no new ones; such an edge is made by a later update.
void LinkTransaction::addEdge(NameLink& link, NameTarget& target)
{
  SchedulerObject* child = link.childScheduler();
  SchedulerObject* parent = child ? link.parentScheduler(target) : nullptr;
  if (!parent)
    return;
  const int before = parent->getChildren().count(child);
  try {
    parent->addChild(child, true);
  } catch (ksl::cyclicRef& error) {
    error.concern(link.owner().getPath(), link.name());
    if (!m_parted || !mayWaitForCircle(link))
      throw;
  }
  target.scheduled = parent->getChildren().count(child) != before;
  link.m_owes = link.m_owes || !target.scheduled;
}

void LinkTransaction::partAll() noexcept
{
  m_parted = true;
  for (NameLink* link : m_links) {
    SchedulerObject* child = link->m_next->stands ? nullptr : link->childScheduler();
    for (NameTarget& target : link->m_targets) {
      if (!child || !target.scheduled)
        continue;
      link->parentScheduler(target)->deleteChild(child);
      target.scheduled = false;
      target.parted = true;
    }
  }
}

void LinkTransaction::joinOld(NameLink& link) noexcept
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

void LinkTransaction::dropNew(NameLink& link) noexcept
{
  if (!link.m_next)
    return;
  for (NameTarget& target : link.m_next->list) {
    if (std::exchange(target.scheduled, false))
      link.parentScheduler(target)->deleteChild(link.childScheduler());
    if (std::exchange(target.isNew, false))
      target.object->delDependent(&link.m_owner, link.param());
  }
}

// --------------------------------------------------------------------------------------------------------- committing

// A walk, or a circle, that goes on refusing an edge changes nothing. A preview shows another error, perhaps.
bool LinkTransaction::isToBeUpdated(const NameLink& link) const
{
  // Items that mean nothing lead nowhere, before and now: a keyword that comes as a default changes no link.
  const auto leads = [](const NameTarget& target) { return target.object != nullptr; };
  auto next = std::find_if(link.m_next->list.begin(), link.m_next->list.end(), leads);
  auto old = std::find_if(link.m_targets.begin(), link.m_targets.end(), leads);
  while (next != link.m_next->list.end() && old != link.m_targets.end() && next->isSame(*old)
         && next->scheduled == (old->scheduled || old->parted)) {
    next = std::find_if(next + 1, link.m_next->list.end(), leads);
    old = std::find_if(old + 1, link.m_targets.end(), leads);
  }
  const bool isAlike = !link.m_lost && next == link.m_next->list.end() && old == link.m_targets.end();
  const bool tells =
      m_mode != Mode::walk && (link.owner().waitsWithoutError() || link.owner().definesNames());
  return !(link.m_next->stands || isAlike) || (link.m_next->fault && tells);
}

void LinkTransaction::finish() noexcept
{
  m_committed = true;
  for (NameLink*& link : m_links) {
    const bool changed = isToBeUpdated(*link);
    const bool touched = link->m_touched;
    const bool marks = link->owner().definesNames() ? changed || touched : changed && !touched;
    commitLink(*link);
    if (!marks || m_mode == Mode::set)
      link = nullptr;
  }
  for (const NameLink* link : m_links) {
    if (link)
      link->owner().markUsers(link->rules());
  }
  m_links.clear();
  markAll();
}

void LinkTransaction::commitLink(NameLink& link) noexcept
{
  const std::unique_ptr<NamedTargets> found = std::move(link.m_next);
  if (!found->stands && !link.m_targets.empty())
    endOld(link, found->list);
  if (!found->stands)
    link.m_targets.swap(found->list);
  link.m_locals.swap(found->locals);
  if (!link.m_locals.empty())
    link.owner().markLocalVariable();
  link.m_uses = std::move(link.m_nextUses);
  if (!found->fault)
    link.m_forgiven.reset();
  if (found->fault && found->fault->missing)
    link.m_state = link.m_forgiven ? State::forgiven : State::missing;
  else if (found->fault || link.m_owes)
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

void LinkTransaction::endOld(NameLink& link, const std::vector<NameTarget>& next) noexcept
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

// ------------------------------------------------------------------------------------------------------------- texts

bool LinkTransaction::follow(const KSLObject& going)
{
  return m_rewriter->follow(going);
}

void LinkTransaction::requireNameFor(const Relocation& move)
{
  if (const NameIndex* index = NameIndex::current())
    NameRewriter(*index, &move).requireName();
}

KSLChangeList LinkTransaction::rewrites()
{
  return m_rewriter->rewrites();
}

}  // namespace orv
