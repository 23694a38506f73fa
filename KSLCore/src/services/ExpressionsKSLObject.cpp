#include "services/ExpressionsKSLObject.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVUtilities.h"
#include "database/EvaluatingObject.h"
#include "database/ObjectDB.h"
#include "services/ExpressionCache.h"
#include "services/ExpressionEvaluatorKSLObject.h"
#include "services/VariableNames.h"

#include <utility>

namespace orv {

namespace {

constexpr const char* className = "ExpressionsKSLObject";

// In the order of their initialisation; the first counts.
std::vector<ExpressionsKSLObject*> s_objects;

ExpressionDef parsed(const std::string& name, const std::string& text)
{
  ExpressionDef expression(text);
  if (text.empty())
    return expression;
  expression.parse(name);
  if (!expression.getUnknownFunctions().empty())
    throw data::notFound(className, "setValue",
                         _("Expression '%s' depends on a function '%s' which does not exist.", text,
                           expression.getUnknownFunctions().front()));
  return expression;
}

}  // namespace

// Knows the names that expressions anywhere may use.
class ExpressionsKSLObject::Resolver : public ExpressionResolver {
 public:
  std::optional<ExpressionValue> valueOf(const std::string& name, const ExpressionDef& expression,
                                         const std::string& parameterName) override
  {
    const KSLObject* reader = EvaluatingObject::current();
    if (reader && VariableNames::isLocal(*reader, parameterName, name))
      return VariableNames::localValue(*reader, name);
    ExpressionsKSLObject* expressions = current();
    if (expressions->hasExpression(name))
      return expressions->evaluateFully(name);
    return VariableNames::objectValue(reader ? *reader : *expressions, name, expression);
  }

  static void installOrRemove()
  {
    // Never destroyed: static objects of a host may still use it after main.
    static Resolver& resolver = *new Resolver;
    if (!s_objects.empty())
      install(&resolver);
    else if (installed() == &resolver)
      install(nullptr);
  }
};

// ------------------------------------------------------------------------------------------------ beginning and end

ExpressionsKSLObject::ExpressionsKSLObject()
    : m_cache(std::make_unique<ExpressionCache>(
        this, [this](const std::string& name, const ExpressionDef& expression,
                     const std::string&) { return VariableNames::objectValue(*this, name, expression); })),
      m_lives(std::make_shared<bool>(true))
{}

ExpressionsKSLObject::~ExpressionsKSLObject()
{
  *m_lives = false;
  std::erase(s_objects, this);
  Resolver::installOrRemove();
  try {
    m_cache->forEachScheduler([this](const SchedulerObject& scheduler) { tellTargetGone(scheduler); });
  } catch (...) {}  // no memory to tell them: they notice when they are next updated
}

void ExpressionsKSLObject::registerBaseType()
{
  auto prototype = std::make_unique<ExpressionsKSLObject>();
  ExpressionsKSLObject* registered = prototype.get();
  registerBaseTypeWithFactory(className, registered);
  (void)prototype.release();  // the factory's, now that it has taken it
  registered->m_names = std::make_unique<VariableNames>();
}

ExpressionsKSLObject* ExpressionsKSLObject::current() noexcept
{
  return s_objects.empty() ? nullptr : s_objects.front();
}

void ExpressionsKSLObject::linkToVariables() noexcept
{
  for (ExpressionsKSLObject* object : s_objects)
    object->askForLinks();
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
      ExpressionCache::Change(*m_cache, param.getName(), parsed(param.getName(), param.getValue())).commit();
  });
  s_objects.push_back(this);
  Resolver::installOrRemove();
}

// ------------------------------------------------------------------------------------------------ the expressions

bool ExpressionsKSLObject::hasExpression(const std::string& name) const
{
  const ExpressionCache::Entry* entry = std::as_const(*m_cache).find(name);
  return entry && entry->defined;
}

const std::string& ExpressionsKSLObject::getExpressionText(const std::string& name) const
{
  const ExpressionCache::Entry* entry = std::as_const(*m_cache).find(name);
  if (!entry || !entry->defined)
    throw data::notFound(className, "getExpressionText", _("Expression '%s' does not exist.", name));
  return entry->expression.getText();
}

ExpressionValue ExpressionsKSLObject::evaluateFully(const std::string& name)
{
  ExpressionCache::Entry* entry = m_cache->find(name);
  if (!entry || !entry->defined)
    throw data::notFound(className, "evaluate", _("Expression '%s' does not exist.", name));
  return m_cache->valueOf(*entry);
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
  addExpression(name, value);
  mark(name);
  return getPath() + "/" + name + " = ";
}

std::string ExpressionsKSLObject::setValueWithoutPending(const std::string& name, const std::string& value)
{
  if (!hasParam(name)) {
    addExpression(name, value);
    return {};
  }
  ExpressionCache::Change change(*m_cache, name, parsed(name, value));
  std::string old = DataKSLObject::setValueWithoutPending(name, value);
  change.commit();
  return old;
}

std::string ExpressionsKSLObject::setValueInternal(ParamDefinition* param, const std::string& value)
{
  if (!param || getName().empty())  // a prototype has no expressions
    return DataKSLObject::setValueInternal(param, value);
  const std::string name = param->getName();
  ExpressionCache::Change change(*m_cache, name, parsed(name, value));
  std::string old = DataKSLObject::setValueInternal(param, value);
  const bool was = hasExpression(name);
  change.commit();
  if (hasExpression(name) != was)
    changeMeaning(name);
  mark(name);
  return old;
}

void ExpressionsKSLObject::valueRestored(const ParamDefinition& param) noexcept
{
  const std::string& name = param.getName();
  try {
    ExpressionCache::Change(*m_cache, name, parsed(name, param.getValue())).commit();
    changeMeaning(name);
    mark(name);
  } catch (...) {}  // no memory for the former text: the name says what it was set to until it is set again
}

// The parameter has its value before the observer hears of it, so that it hears once.
void ExpressionsKSLObject::addExpression(const std::string& name, const std::string& value)
{
  if (!ExpressionDef::isName(name))
    throw data::invalid(className, "setValue", _("'%s' is not a name that expressions can use.", name));
  auto param = std::make_unique<ParamDefinition>(name, "", "", "string", "", "Other");
  param->setValue(value);
  ExpressionCache::Change change(*m_cache, name, parsed(name, value));
  addParameter(std::move(param));
  change.commit();
  if (!value.empty())
    changeMeaning(name);
}

// An expression comes before an object of its name: those that used the one use the other now, or nothing.
void ExpressionsKSLObject::changeMeaning(const std::string& name)
{
  if (!ObjectDB::current())
    return;
  if (!hasExpression(name))
    askForLinksBelow(*m_cache->find(name)->scheduler);
  const ExpressionNames::Variable variable = VariableNames::findObject(*this, name);
  if (!variable.isVariable || !variable.marks)
    return;
  askForLinksBelow(*variable.object->getSchedulerObject(variable.scheduler));
}

void ExpressionsKSLObject::mark(const std::string& name)
{
  SchedulerObject* scheduler = m_cache->find(name)->scheduler.get();
  if (SchedulerTrace* trace = SchedulerObject::getTrace())
    trace->parameterSet(*scheduler, name);
  scheduler->setPending();
  m_marked.push_back(scheduler);
  if (hasExpression(name))
    ExpressionEvaluatorKSLObject::retryPreviews();
}

// ------------------------------------------------------------------------------------------------------- schedulers

SchedulerObject* ExpressionsKSLObject::getSchedulerObject(const std::string& schedulerType) const
{
  const ExpressionCache::Entry* entry = std::as_const(*m_cache).find(schedulerType);
  return entry && entry->scheduler ? entry->scheduler.get()
                                   : GenericKSLObject::getSchedulerObject(schedulerType);
}

std::string ExpressionsKSLObject::getSchedulerInfo() const
{
  std::string text = GenericKSLObject::getSchedulerInfo();
  m_cache->forEachScheduler([&text](const SchedulerObject& scheduler) { text += schedulerInfo(scheduler); });
  return text;
}

void ExpressionsKSLObject::setPending()
{
  GenericKSLObject::setPending();
  m_cache->forEachScheduler([](SchedulerObject& scheduler) { scheduler.setPending(); });
  m_allMarked = true;
}

std::vector<SchedulerObject*> ExpressionsKSLObject::takeWaiting()
{
  std::vector<SchedulerObject*> waiting;
  if (std::exchange(m_allMarked, false))
    m_cache->forEachScheduler([&waiting](SchedulerObject& scheduler) { waiting.push_back(&scheduler); });
  else
    waiting.swap(m_marked);
  m_marked.clear();
  return waiting;
}

// What is recalculated may delete this object.
void ExpressionsKSLObject::update()
{
  const std::shared_ptr<bool> lives = m_lives;
  GenericKSLObject::update();
  if (!*lives)
    return;
  for (SchedulerObject* scheduler : takeWaiting()) {
    scheduler->update();
    if (!*lives)
      return;
  }
}

// Not what the base class does: parameters here are linked as expressions, when they are set. Objects that they use
// may come and go.
void ExpressionsKSLObject::createDelayedParamLinks()
{
  const auto mark = [this](SchedulerObject& scheduler) {
    scheduler.setPending();
    m_marked.push_back(&scheduler);
  };
  m_cache->joinMissing(mark);
  const ObjectDB* database = ObjectDB::current();
  if (!database)
    return;
  const std::pair<std::uint64_t, std::uint64_t> now(database->changeCount(), m_cache->version());
  if (m_joinedAt == now)
    return;
  const auto schedulerOf = [this](const std::string& name) {
    const ExpressionNames::Variable variable = VariableNames::findObject(*this, name);
    const bool marks = variable.isVariable && variable.marks;
    return marks ? variable.object->getSchedulerObject(variable.scheduler) : nullptr;
  };
  if (m_cache->joinOutside(schedulerOf, mark))
    m_joinedAt = now;
}

}  // namespace orv
