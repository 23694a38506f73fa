// The links that parameters make.
//
// Invariant: the record (ReferenceLinks) holds exactly the links that parameters have made and not ended, each
// counted once in the graph. A parameter whose text asks for other links than the record shows is delayed.
#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "database/Category.h"
#include "database/DependentReferences.h"
#include "database/ObjectDB.h"
#include "database/ReferenceResolver.h"
#include "rules/ExpressionNames.h"
#include "rules/GenericKSLObject.h"
#include "rules/LinkBatch.h"
#include "rules/ReferenceLinks.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <new>
#include <set>
#include <string_view>
#include <utility>

namespace orv {

namespace {

constexpr const char* className = "GenericKSLObject";

const ExpressionNames* s_expressionNames = nullptr;

bool isLetter(char c)
{
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// False only for texts that are surely numbers, with units or without: most are, and cost no more than this.
bool mayHoldNames(std::string_view text)
{
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '[')
      i = std::min(text.find(']', i), text.size() - 1);
    const bool isExponent = (text[i] | 0x20) == 'e' && i > 0
                            && (text[i - 1] == '.' || std::isdigit(static_cast<unsigned char>(text[i - 1])));
    if (isLetter(text[i]) && !isExponent)
      return true;
  }
  return false;
}

}  // namespace

// ----------------------------------------------------------------------------------------------------- expressions

ExpressionNames::~ExpressionNames() = default;

const ExpressionNames* ExpressionNames::installed() noexcept
{
  return s_expressionNames;
}

const ExpressionNames* ExpressionNames::install(const ExpressionNames* names) noexcept
{
  return std::exchange(s_expressionNames, names);
}

// --------------------------------------------------------------------------------------------------------- setting

bool GenericKSLObject::mayLink(const ParamDefinition& param, const std::string& text) const
{
  if (!param.getRemoteType().empty() && !param.typeIs("Expression"))
    return true;
  if (!s_expressionNames || !DependentReferences::isExpression(param))
    return false;
  return param.typeIs("Expression") || mayHoldNames(text) || (m_links && m_links->knows(param.getName()));
}

// What stands for the parameter elsewhere in this object is computed from it, and depends on what it uses.
void GenericKSLObject::wakeLocalUsers(const std::string& used)
{
  if (!m_links)
    return;
  for (const ReferenceLinks::LocalUse& use : m_links->localUses()) {
    const ParamDefinition* user = use.used == used ? lookUpParam(use.user) : nullptr;
    if (!user)
      continue;
    try {
      m_links->delay(use.user);
    } catch (const std::bad_alloc&) {
      m_links->setInDoubt(true);  // the value is stored: all parameters are asked then
    }
    setLocalPending(*user);
  }
}

// What can fail comes before the value is stored.
std::string GenericKSLObject::setValueInternal(ParamDefinition* param, const std::string& value)
{
  if (!param || getName().empty())  // a prototype links and marks nothing
    return DataKSLObject::setValueInternal(param, value);
  const bool inBatch = LinkBatch::current() != nullptr;
  if (inBatch)
    LinkBatch::noteOf(*this).newest = 0;
  std::string old;
  if (mayLink(*param, value)) {
    LinkChange change(*this, *param,
                      makeParentLinks(*param, value, inBatch ? Judgement::later : Judgement::atOnce));
    old = DataKSLObject::setValueInternal(param, value);
    change.commit();
  } else {
    old = DataKSLObject::setValueInternal(param, value);
  }
  setLocalPending(*param);
  wakeLocalUsers(param->getName());
  return old;
}

std::string GenericKSLObject::setValueWithoutPending(const std::string& name, const std::string& value)
{
  const ParamDefinition* param = lookUpParam(name);
  const bool delays = param && mayLink(*param, value) && !getName().empty() && links().delay(name);
  ScopeGuard undo([&] { m_links->settle(name); });
  if (!delays)
    undo.dismiss();
  if (m_links)
    for (const ReferenceLinks::LocalUse& use : m_links->localUses())
      if (use.used == name)  // what it is computed from changes, too
        m_links->delay(use.user);
  std::string old = DataKSLObject::setValueWithoutPending(name, value);
  undo.dismiss();
  return old;
}

void GenericKSLObject::valueRestored(const ParamDefinition& param) noexcept
{
  if (LinkBatch::current() && m_batchPlace != 0) {
    LinkBatch::Note& note = LinkBatch::noteOf(*this);
    note.toMark &= ~std::exchange(note.newest, 0);
  }
  if (!m_links || !mayLink(param, param.getValue()))  // neither text made links
    return;
  try {
    LinkChange change(*this, param, makeParentLinks(param, param.getValue(), Judgement::later));
    change.commit();
  } catch (...) {
    m_links->setInDoubt(true);
  }
  if (m_links->waits())
    LinkBatch::noteWaiting(*this);
}

// --------------------------------------------------------------------------------------------------------- finding

GenericKSLObject::Targets GenericKSLObject::makeParentLinks(const ParamDefinition& param,
                                                            const std::string& text,
                                                            Judgement judgement) const
{
  Targets targets;
  targets.judgement = judgement;
  targets.mayMiss =
      text == param.getDefaultValue() || (m_links && m_links->isForgiven(param.getName(), text));
  if (DependentReferences::isExpression(param)
      && (!s_expressionNames || param.getAllowedValues().contains(text))) {
    // a keyword names nothing, and without a service nothing is a name
  } else if (DependentReferences::isExpression(param)) {
    makeVariableLinks(param, text, targets);
    makeLocatorLinks(param, text, targets);
  } else {
    findReferences(param, text, targets);
  }
  targets.dropDoubles();
  return targets;
}

void GenericKSLObject::Targets::dropDoubles()
{
  if (list.size() < 2)
    return;
  std::set<std::pair<const KSLObject*, std::string>> seen;
  std::erase_if(list, [&seen](const Target& target) {
    return !seen.emplace(target.object, target.scheduler.str()).second;
  });
}

template <class MakeError>
void GenericKSLObject::Targets::refuse(bool missing, MakeError makeError)
{
  const bool mayWait =
      judgement == Judgement::later || (missing && judgement == Judgement::atOnce) || (missing && mayMiss);
  if (!mayWait)
    throw makeError();
  waits = true;
}

void GenericKSLObject::addTarget(const ParamDefinition& param, KSLObject* target, Targets& targets,
                                 const std::string& scheduler, bool marks) const
{
  const std::string& type = ReferenceLinks::remoteTypeOf(*param.getRules());
  const auto* computing = dynamic_cast<const GenericKSLObject*>(target);
  if (scheduler.empty() && marks && findSchedulerObject(param.getLocalType())
      && (!computing || !computing->findSchedulerObject(type)))
    return targets.refuse(false, [&] {
      return data::invalid(className, "makeParentLinks",
                           _("Cannot connect parameter %s to object %s(it does not have Scheduler type %s).",
                             param.getName(), target->getPath(), type));
    });
  if (!target->getPath().empty())  // the root keeps no dependents
    targets.list.push_back({target, SharedText(scheduler), marks});
}

void GenericKSLObject::findReferences(const ParamDefinition& param, const std::string& text,
                                      Targets& targets) const
{
  const ReferenceResolver resolver(*this, param);
  for (const std::string& item : ParamDefinition::splitValue(text)) {
    const std::string_view name = StringUtilities::unquoted(item);
    if (name.empty())
      continue;
    const ReferenceResolver::Hit hit = resolver.find(item);
    if (hit.object) {
      addTarget(param, hit.object, targets);
    } else if (hit.ambiguous) {
      targets.refuse(false, [&] {
        return data::notFound(className, "makeParentLinks",
                              _("More than one object with name '%s' exists.", name));
      });
    } else if (targets.judgement != Judgement::final || !param.getAllowedValues().count(item)) {
      targets.refuse(true, [&] {
        return data::notFound(className, "makeParentLinks",
                              _("Object '%s' referred to in '%s' does not exist.", name, param.getName()));
      });
    }
  }
}

// Without an expressions service nobody comes here: expressions depend on nothing then.
void GenericKSLObject::makeVariableLinks(const ParamDefinition& param, const std::string& text,
                                         Targets& targets) const
{
  const ExpressionNames& names = *s_expressionNames;
  const auto missing = [&](const char* format, const std::string& name) {
    targets.refuse(true,
                   [&] { return data::notFound(className, "makeVariableLinks", _(format, text, name)); });
  };
  ExpressionNames::Uses uses = names.namesIn(*this, param, text);
  for (const std::string& name : uses.variables) {
    const ExpressionNames::Variable variable = names.findVariable(*this, name);
    if (!variable.object)
      missing("Expression '%s' depends on a variable '%s' which does not exist.", name);
    else if (variable.isVariable)
      addTarget(param, variable.object, targets, variable.scheduler, variable.marks);
    else
      targets.refuse(false, [&] {
        return data::invalid(className, "makeVariableLinks",
                             _("Expression '%s' tries to use object '%s' as a variable.", text, name));
      });
  }
  for (const std::string& name : uses.functions) {
    if (KSLObject* function = names.findFunction(*this, name))
      addTarget(param, function, targets);
    else
      missing("Expression '%s' depends on a function '%s' which does not exist.", name);
  }
  targets.locals = std::move(uses.locals);
}

void GenericKSLObject::makeLocatorLinks(const ParamDefinition& param, const std::string& text,
                                        Targets& targets) const
{
  for (const std::string& name : s_expressionNames->namesIn(*this, param, text).locations) {
    if (KSLObject* location = s_expressionNames->findLocation(*this, name)) {
      addTarget(param, location, targets);
      continue;
    }
    targets.refuse(true, [&] {
      return data::notFound(
          className, "makeLocatorLinks",
          _("Expression '%s' depends on a location '%s' which does not exist.", text, name));
    });
  }
}

// ------------------------------------------------------------------------------------------------------- delayed

ReferenceLinks& GenericKSLObject::links()
{
  if (!m_links)
    m_links = std::make_unique<ReferenceLinks>();
  return *m_links;
}

const std::vector<std::string>& GenericKSLObject::getDelayedParams() const
{
  static const std::vector<std::string> none;
  return m_links ? m_links->delayed() : none;
}

void GenericKSLObject::delayDefaults()
{
  forEachParam([this](const ParamDefinition& param) {
    if (!param.getValue().empty() && mayLink(param, param.getValue()))
      links().delay(param.getName());
  });
}

void GenericKSLObject::delayLinkable()
{
  forEachParam([this](const ParamDefinition& param) {
    if (mayLink(param, param.getValue()))
      links().delay(param.getName());
  });
  m_links->setInDoubt(false);
}

void GenericKSLObject::createDelayedParamLinks()
{
  if (!m_links || !m_links->waits())
    return;
  if (m_links->isInDoubt())
    delayLinkable();
  m_links->dropGone(*this);
  const std::vector<std::string> names = m_links->delayed();
  for (const std::string& name : names) {
    const ParamDefinition* param = lookUpParam(name);
    if (!param)
      m_links->settle(name);
    else if (relink(*param)
             || m_links->hasLost())  // a scheduler with other parents than before is not up to date
      setLocalPending(*param);
  }
  m_links->endLoss();
}

// True when the links changed, which a walk that goes on refusing one does not.
bool GenericKSLObject::relink(const ParamDefinition& param)
{
  LinkChange change(*this, param, makeParentLinks(param, param.getValue(), Judgement::final));
  change.commit();
  return change.hasChanged();
}

// ------------------------------------------------------------------------------------------------------------ end

void GenericKSLObject::forgetLinks()
{
  if (!m_links || !ObjectDB::current())
    return;
  for (const ReferenceLinks::OfParam& param : m_links->params()) {
    for (const ReferenceLinks::Link& link : param.links)
      ReferenceLinks::end(*this, *param.rules, link, false);
  }
}

void GenericKSLObject::tellTargetGone() const noexcept
{
  for (const SchedulerObject& scheduler : m_schedulers)
    tellTargetGone(scheduler);
}

void GenericKSLObject::tellTargetGone(const SchedulerObject& scheduler) const noexcept
{
  if (!ObjectDB::current())
    return;
  for (const LinkMap::Entry& edge : scheduler.getChildren()) {
    auto* dependent = dynamic_cast<GenericKSLObject*>(edge.first->getKSLObject());
    if (dependent && dependent != this)
      dependent->noteTargetGone();
  }
}

void GenericKSLObject::noteTargetGone() noexcept
{
  if (!m_links)
    return;
  m_links->noteTargetGone(!LinkBatch::current());
  if (LinkBatch::current())
    LinkBatch::noteWaiting(*this);
}

void GenericKSLObject::askForLinks() noexcept
{
  if (m_links)
    m_links->setInDoubt(true);
  LinkBatch::noteWaiting(*this);
}

void GenericKSLObject::askForLinksBelow(const SchedulerObject& scheduler) const noexcept
{
  for (const LinkMap::Entry& edge : scheduler.getChildren()) {
    auto* dependent = dynamic_cast<GenericKSLObject*>(edge.first->getKSLObject());
    if (dependent && dependent != this)
      dependent->askForLinks();
  }
}

}  // namespace orv
