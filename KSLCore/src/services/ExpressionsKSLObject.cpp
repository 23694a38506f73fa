#include "services/ExpressionsKSLObject.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVUtilities.h"
#include "platform/internal/ContextLocal.h"
#include "rules/LinkTransaction.h"
#include "rules/NameIndex.h"
#include "services/ExpressionCache.h"
#include "services/NameValues.h"
#include "services/VariableNames.h"

#include <utility>

namespace orv {

namespace {

constexpr const char* expressionsKSLObjectClass = "ExpressionsKSLObject";

// In the order of their initialisation; the first counts.
using Objects = std::vector<ExpressionsKSLObject*>;
constinit ContextLocal<Objects*> theObjects(ContextEnd::memory,
                                            [] { delete std::exchange(*theObjects, nullptr); });

ExpressionDef parsed(const std::string& name, const std::string& text)
{
  ExpressionDef expression(text);
  if (text.empty())
    return expression;
  expression.parse(name);
  if (!expression.getUnknownFunctions().empty())
    throw data::notFound(expressionsKSLObjectClass, "setValue",
                         _("Expression '%s' depends on a function '%s' which does not exist.", text,
                           expression.getUnknownFunctions().front()));
  return expression;
}

}  // namespace

// ------------------------------------------------------------------------------------------------ beginning and end

ExpressionsKSLObject::ExpressionsKSLObject()
    : m_cache(std::make_unique<ExpressionCache>(this)),
      m_lives(std::make_shared<bool>(true))
{}

// The next object's names count from now on.
ExpressionsKSLObject::~ExpressionsKSLObject()
{
  *m_lives = false;
  const bool counted = current() == this;
  if (Objects* objects = *theObjects)
    std::erase(*objects, this);
  NameIndex* index = NameIndex::current();
  if (counted && current() && index)
    current()->forEachDefinedName([index](const std::string& name) { index->changed(nullptr, name); });
}

void ExpressionsKSLObject::registerBaseType()
{
  auto prototype = std::make_unique<ExpressionsKSLObject>();
  ExpressionsKSLObject* registered = prototype.get();
  registerBaseTypeWithFactory(expressionsKSLObjectClass, registered);
  (void)prototype.release();  // the factory's, now that it has taken it
  registered->m_names = std::make_unique<VariableNames>();
}

ExpressionsKSLObject* ExpressionsKSLObject::current() noexcept
{
  const Objects* objects = *theObjects;
  return objects && !objects->empty() ? objects->front() : nullptr;
}

KSLObject* ExpressionsKSLObject::clone() const
{
  auto copy = std::make_unique<ExpressionsKSLObject>();
  copyInternals(copy.get());
  copy->setObjectRules({});
  return copy.release();
}

void ExpressionsKSLObject::initialize(const std::string& name)
{
  initialize({}, name);
}

// Defaults that RULES give are expressions from the start.
void ExpressionsKSLObject::initialize(const std::string& parentPath, const std::string& name)
{
  GenericKSLObject::initialize(parentPath, name);
  forEachParam([this](const ParamDefinition& param) {
    if (!param.getValue().empty())
      ExpressionCache::Change(*m_cache, param.getName(), parsed(param.getName(), param.getValue())).keep();
  });
  Objects*& objects = *theObjects;
  if (!objects)
    objects = new Objects;
  objects->push_back(this);
}

// ------------------------------------------------------------------------------------------------ the expressions

bool ExpressionsKSLObject::hasExpression(const std::string& name) const
{
  return m_cache->findDefined(name) != nullptr;
}

const std::string& ExpressionsKSLObject::getExpressionText(const std::string& name) const
{
  if (const ExpressionCache::Entry* entry = m_cache->findDefined(name))
    return entry->expression.getText();
  throw data::notFound(expressionsKSLObjectClass, "getExpressionText",
                       _("Expression '%s' does not exist.", name));
}

ExpressionValue ExpressionsKSLObject::evaluateFully(const std::string& name)
{
  if (!hasExpression(name))
    throw data::notFound(expressionsKSLObjectClass, "evaluate", _("Expression '%s' does not exist.", name));
  return NameValues().valueOf(*this, name);
}

std::vector<std::string> ExpressionsKSLObject::getDependents(const std::string& name) const
{
  return m_cache->usersOf(name);
}

void ExpressionsKSLObject::clearCache()
{
  m_cache->clear();
}

ExpressionsKSLObject::Counts ExpressionsKSLObject::getCacheCounts() const
{
  return m_cache->counts();
}

// -------------------------------------------------------------------------------------------------------- setting

std::string ExpressionsKSLObject::setValue(const std::string& name, const std::string& value)
{
  if (hasParam(name))
    return GenericKSLObject::setValue(name, value);
  addExpression(name, value, false);
  return getPath() + "/" + name + " = ";
}

std::string ExpressionsKSLObject::setValueWithoutPending(const std::string& name, const std::string& value)
{
  if (!hasParam(name)) {
    addExpression(name, value, true);
    return {};
  }
  const bool wasDefined = hasExpression(name);
  ExpressionCache::Change change(*m_cache, name, parsed(name, value));
  std::string old = GenericKSLObject::setValueWithoutPending(name, value);
  change.keep();
  tellOfMeaning(name, wasDefined);
  return old;
}

std::string ExpressionsKSLObject::setValueInternal(ParamDefinition* param, const std::string& value)
{
  if (!param || getName().empty())  // a prototype has no expressions
    return DataKSLObject::setValueInternal(param, value);
  const bool wasDefined = hasExpression(param->getName());
  ExpressionCache::Change change(*m_cache, param->getName(), parsed(param->getName(), value));
  tellOfMeaning(param->getName(), wasDefined);
  std::string old = GenericKSLObject::setValueInternal(param, value);
  change.keep();
  if (!LinkTransaction::current())
    markUsers(*param->getRules());
  return old;
}

void ExpressionsKSLObject::valueRestored(const ParamDefinition& param) noexcept
{
  const std::string& name = param.getName();
  try {
    const bool wasDefined = hasExpression(name);
    ExpressionCache::Change change(*m_cache, name, parsed(name, param.getValue()));
    tellOfMeaning(name, wasDefined);
    change.keep();
  } catch (...) {}  // no memory for the former text: the name says what it was set to until it is set again
  GenericKSLObject::valueRestored(param);
}

// The parameter has its value before the observer hears of it, so that it hears once.
void ExpressionsKSLObject::addExpression(const std::string& name, const std::string& value, bool aside)
{
  if (!ExpressionDef::isName(name))
    throw data::invalid(expressionsKSLObjectClass, "setValue",
                        _("'%s' is not a name that expressions can use.", name));
  auto param = std::make_unique<ParamDefinition>(name, "", "", "string", "", "Other");
  param->setValue(value);
  ExpressionCache::Change change(*m_cache, name, parsed(name, value));
  tellOfMeaning(name, false);
  const ParamDefinition& added = *param;
  addParameter(std::move(param));
  ScopeGuard undo([&] { removeParameter(name); });
  linkAdded(added, aside);
  undo.dismiss();
  change.keep();
  if (!aside && !LinkTransaction::current())
    markUsers(*added.getRules());
}

// An expression comes before an object of its name: those that used the one use the other now, or nothing.
void ExpressionsKSLObject::tellOfMeaning(const std::string& name, bool wasDefined) const noexcept
{
  NameIndex* index = NameIndex::current();
  if (index && hasExpression(name) != wasDefined)
    index->changed(nullptr, name);
}

void ExpressionsKSLObject::forEachDefinedName(const std::function<void(const std::string&)>& visit) const
{
  m_cache->forEach([&visit](const ExpressionCache::Entry& entry) {
    if (entry.defined)
      visit(entry.name);
  });
}

SchedulerObject* ExpressionsKSLObject::linkedScheduler(const ParamDefinition::Rules& rules) const noexcept
{
  const ExpressionCache::Entry* entry = m_cache->find(rules.name);
  return entry ? entry->scheduler.get() : nullptr;
}

// A name that has no expression any more, and no users, needs no scheduler.
void ExpressionsKSLObject::markUsers(const ParamDefinition::Rules& rules) noexcept
{
  SchedulerObject* former = hasExpression(rules.name) ? nullptr : linkedScheduler(rules);
  if (former && former->getChildren().empty() && former->getParents().empty()) {
    std::erase(m_marked, former);
    return m_cache->dropScheduler(rules.name);
  }
  GenericKSLObject::markUsers(rules);
  try {
    if (SchedulerObject* scheduler = linkedScheduler(rules))
      m_marked.push_back(scheduler);
  } catch (...) {
    m_allMarked = true;
  }
}

// ------------------------------------------------------------------------------------------------------- schedulers

SchedulerObject* ExpressionsKSLObject::getSchedulerObject(const std::string& schedulerType) const
{
  const ExpressionCache::Entry* entry = m_cache->find(schedulerType);
  return entry && entry->scheduler ? entry->scheduler.get()
                                   : GenericKSLObject::getSchedulerObject(schedulerType);
}

std::string ExpressionsKSLObject::getSchedulerInfo() const
{
  std::string text = GenericKSLObject::getSchedulerInfo();
  m_cache->forEach([&text](const ExpressionCache::Entry& entry) {
    if (entry.scheduler)
      text += schedulerInfo(*entry.scheduler);
  });
  return text;
}

void ExpressionsKSLObject::setPending()
{
  GenericKSLObject::setPending();
  m_cache->forEach([](const ExpressionCache::Entry& entry) {
    if (entry.scheduler)
      entry.scheduler->setPending();
  });
  m_allMarked = true;
}

std::vector<SchedulerObject*> ExpressionsKSLObject::takeWaiting()
{
  std::vector<SchedulerObject*> waiting;
  if (std::exchange(m_allMarked, false))
    m_cache->forEach([&waiting](const ExpressionCache::Entry& entry) {
      if (entry.scheduler)
        waiting.push_back(entry.scheduler.get());
    });
  else
    waiting.swap(m_marked);
  m_marked.clear();
  return waiting;
}

// What is recalculated may delete this object; links that are made on the way may mark more.
void ExpressionsKSLObject::update()
{
  const std::shared_ptr<bool> lives = m_lives;
  GenericKSLObject::update();
  if (!*lives)
    return;
  for (std::vector<SchedulerObject*> waiting = takeWaiting(); !waiting.empty(); waiting = takeWaiting()) {
    for (SchedulerObject* scheduler : waiting) {
      scheduler->update();
      if (!*lives)
        return;
    }
  }
}

}  // namespace orv
