// What parameters name, as the object sees it; NameLink.h has the whole.
#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/internal/ContextLocal.h"
#include "database/Category.h"
#include "database/ObjectDB.h"
#include "rules/ExpressionNames.h"
#include "rules/GenericKSLObject.h"
#include "rules/LinkJudgement.h"
#include "rules/LinkTransaction.h"
#include "rules/NameLink.h"
#include "rules/SchedulerTypes.h"

#include <algorithm>
#include <cctype>
#include <memory>
#include <string_view>
#include <utility>

namespace orv {

namespace {

constinit ContextLocal<const ExpressionNames*> theExpressionNames;

// False only for texts that are surely numbers, with units or without: most are, and cost no more than this.
bool mayHoldNames(std::string_view text)
{
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '[')
      i = std::min(text.find(']', i), text.size() - 1);
    const auto letter = static_cast<unsigned char>(text[i] | 0x20);
    if (letter < 'a' || letter > 'z')
      continue;
    const bool isExponent = letter == 'e' && i > 0
                            && (text[i - 1] == '.' || std::isdigit(static_cast<unsigned char>(text[i - 1])));
    if (!isExponent)
      return true;
  }
  return false;
}

}  // namespace

// ----------------------------------------------------------------------------------------------------- expressions

ExpressionNames::~ExpressionNames() = default;

const ExpressionNames* ExpressionNames::installed() noexcept
{
  return *theExpressionNames;
}

const ExpressionNames* ExpressionNames::install(const ExpressionNames* names) noexcept
{
  return std::exchange(*theExpressionNames, names);
}

bool GenericKSLObject::holdsExpression(const ParamDefinition& param) const
{
  return param.isExpression();
}

// --------------------------------------------------------------------------------------------------------- the links

bool GenericKSLObject::mayLink(const ParamDefinition& param, const std::string& text) const
{
  using Kind = SchedulerTypes::ParamUse::Kind;
  const Kind kind =
      m_types ? m_types->useOf(*param.getRules()).kind : SchedulerTypes::kindOf(*param.getRules());
  if (kind == Kind::reference)
    return true;
  if (kind == Kind::plain || !*theExpressionNames || (kind == Kind::number && param.isInternal()))
    return false;
  return kind == Kind::expression || mayHoldNames(text) || findNameLink(param.getName());
}

// A definition has its link whatever it says: those who use it ask.
bool GenericKSLObject::needsNoLink(const ParamDefinition& param, const std::string& text) const
{
  return param.typeIs("Expression") && isPlainClass() && *theExpressionNames
         && !ExpressionDef::mayUseNames(text) && !findNameLink(param.getName());
}

// As if they had one. Without memory faults are told in another order, perhaps.
void GenericKSLObject::linkPlainTexts(std::string_view part) noexcept
{
  if (!m_hasPlainTexts)
    return;
  try {
    forEachOwnParam([this, part](const ParamDefinition& param) {
      if (param.typeIs("Expression") && (param.hasBeenSet() || param.isChanged())
          && param.getValue().find(part) != std::string::npos && needsNoLink(param, param.getValue()))
        nameLink(param);
    });
  } catch (...) {}
}

NameLink& GenericKSLObject::nameLink(const ParamDefinition& param)
{
  if (NameLink* known = findNameLink(param.getName()))
    return *known;
  NameIndex& index = NameIndex::of(*ObjectDB::instance());
  const refcnt_ptr<const ParamDefinition::Rules>& rules = param.getRules();
  if (m_hasPlainTexts && param.typeIs("Expression"))
    index.noteMade();
  return m_links.insert(std::make_unique<NameLink>(*this, rules));
}

SchedulerObject* GenericKSLObject::linkedScheduler(const ParamDefinition::Rules& rules) const noexcept
{
  return localScheduler(rules);
}

void GenericKSLObject::markUsers(const ParamDefinition::Rules& rules) noexcept
{
  SchedulerObject* scheduler = linkedScheduler(rules);
  if (!scheduler)
    return;
  if (SchedulerTrace* trace = SchedulerObject::getTrace())
    trace->parameterSet(*scheduler, rules.name);
  scheduler->setPending();
}

std::vector<std::string> GenericKSLObject::getDelayedParams() const
{
  std::vector<std::string> names;
  m_links.forEach([&names](const NameLink& link) {
    if (link.waits() || link.isOwed())
      names.push_back(link.name());
  });
  return names;
}

std::vector<const KSLObject*> GenericKSLObject::namedObjects(const ParamDefinition& param) const
{
  const NameLink* link = findNameLink(param.getName());
  if (!link && m_hasPlainTexts && needsNoLink(param, param.getValue()))
    return {};
  if (!link || !link->saysWhatItSaid())
    return DataKSLObject::namedObjects(param);
  std::vector<const KSLObject*> objects;
  for (const NameTarget& target : link->targets())
    objects.push_back(target.object);
  return objects;
}

void GenericKSLObject::linkDefaults()
{
  const auto link = [this](const ParamDefinition& param) {
    if (!param.getValue().empty() && mayLink(param, param.getValue()))
      nameLink(param).setDue();
  };
  if (isPlainClass())
    forEachNamingParam(link);
  else  // which may link what this class does not
    forEachParam(link);
}

void GenericKSLObject::createDelayedParamLinks()
{
  if (m_dueLinks == 0)
    return;
  LinkJudgement judgement(NameIndex::of(*ObjectDB::instance()), LinkJudgement::Mode::walk);
  judgement.takeDueOf(*this);
  judgement.judge();
  judgement.finish();
}

// The category may not be registered.
void GenericKSLObject::markLocalVariable() noexcept
{
  try {
    setCategory("has-local-variable");
  } catch (...) {}
}

// ----------------------------------------------------------------------------------------------------------- setting

// What stands for the parameter elsewhere in this object is computed from it, and depends on what it uses.
void GenericKSLObject::wakeLocalUsers(const std::string& used, LinkTransaction* transaction)
{
  m_links.forEach([this, &used, transaction](NameLink& link) {
    if (!link.usesLocal(used))
      return;
    link.setDue();
    if (const ParamDefinition* user = link.param())
      setLocalPending(*user, transaction);
  });
}

// Another text stands in the parameter, or is about to. Without a transaction nothing can fail.
void GenericKSLObject::noteSet(const ParamDefinition& param, LinkTransaction* transaction, bool plain)
{
  if (m_links.empty() && !plain)
    return setLocalPending(param, transaction);
  bool hasLocals = false;
  if (!m_links.empty() && !definesNames())
    m_links.forEach([&hasLocals, transaction](NameLink& link) {
      if (transaction && link.waits())
        transaction->touch(link);
      hasLocals = hasLocals || link.hasLocals();
    });
  NameLink* link = transaction ? findNameLink(param.getName()) : nullptr;
  if (link) {
    transaction->touch(*link);
  } else if (plain) {
    m_hasPlainTexts = 1;
    NameIndex::of(*ObjectDB::instance()).keepPlace(*this, *param.getRules());
  }
  setLocalPending(param, transaction);
  if (hasLocals)
    wakeLocalUsers(param.getName(), transaction);
}

// What can fail comes before the value is stored.
std::string GenericKSLObject::setValueInternal(ParamDefinition* param, const std::string& value)
{
  const bool allowed = takeAllowed();
  if (!param || getName().empty())  // a prototype links and marks nothing
    return DataKSLObject::setValueInternal(param, value);
  LinkTransaction* const transaction = LinkTransaction::current();
  const bool plain = transaction && needsNoLink(*param, value);
  NameLink* link = !plain && mayLink(*param, value) ? &nameLink(*param) : nullptr;
  if (transaction) {  // which forgets its notes when the command fails
    noteSet(*param, transaction, plain);
    if (!allowed)
      return DataKSLObject::setValueInternal(param, value);
    storeAllowed(*param, value);
    return {};
  }
  std::string old;
  if (link || (link = findNameLink(param->getName()))) {
    LinkJudgement single(NameIndex::of(*ObjectDB::instance()), LinkJudgement::Mode::set);
    single.take(*link, &value);
    single.judge();
    old = DataKSLObject::setValueInternal(param, value);
    single.finish();
  } else {
    old = DataKSLObject::setValueInternal(param, value);
  }
  noteSet(*param, nullptr);
  return old;
}

void GenericKSLObject::linkAdded(const ParamDefinition& param, bool aside)
{
  NameLink& link = nameLink(param);
  if (aside)
    return link.setAside();
  if (!LinkTransaction::current()) {
    LinkJudgement single(NameIndex::of(*ObjectDB::instance()), LinkJudgement::Mode::set);
    single.take(link);
    single.judge();
    single.finish();
  }
  noteSet(param, LinkTransaction::current());
}

std::string GenericKSLObject::setValueWithoutPending(const std::string& name, const std::string& value)
{
  const ParamDefinition* param = lookUpParam(name);
  NameLink* link = param && !getName().empty() && mayLink(*param, value) ? &nameLink(*param) : nullptr;
  std::string old = DataKSLObject::setValueWithoutPending(name, value);
  if (link)
    link->setAside();
  if (!definesNames())
    m_links.forEach([&name](NameLink& other) {  // what it is computed from changes, too
      if (other.usesLocal(name))
        other.setAside();
    });
  return old;
}

void GenericKSLObject::valueRestored(const ParamDefinition& param) noexcept
{
  NameLink* link = findNameLink(param.getName());
  if (!link)
    return;
  if (LinkTransaction* transaction = LinkTransaction::current())
    return transaction->touch(*link);
  link->setAside();
  try {
    createDelayedParamLinks();
  } catch (...) {}  // it stays due
}

}  // namespace orv
