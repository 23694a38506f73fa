#include "services/ExpressionEvaluatorKSLObject.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVExpressions.h"
#include "platform/ORVUnits.h"
#include "platform/ORVUtilities.h"
#include "database/EvaluatingObject.h"
#include "services/EngineUnitSystemHandler.h"

#include <map>
#include <memory>
#include <set>

namespace orv {

namespace {

constexpr const char* className = "ExpressionEvaluatorKSLObject";
constexpr const char* textParameter = "Evaluated Expression";

// All that were initialised, in that order, and the numbers of those that wait for names.
std::map<std::uint64_t, ExpressionEvaluatorKSLObject*> s_objects;
std::set<std::uint64_t> s_waiting;
std::uint64_t s_lastNumber = 0;

std::string valueOrEmpty(const KSLObject& object, const char* name)
{
  const ParamDefinition* param = object.lookUpParam(name);
  return param ? param->getValue() : std::string();
}

std::string targetUnits(const KSLObject& object, const ExpressionValue& value)
{
  std::string units = valueOrEmpty(object, "User Units");
  if (!units.empty())
    return units;
  if (value.getDimensions().isDimensionless())
    return {};
  const std::string& own = value.getQuantity().getUnits();
  units = UnitSystemHandler::current()->getPreferredUnitsFromUnits(own, {});
  return units.empty() ? own : units;
}

}  // namespace

// Watches the unit system while there are evaluators.
class ExpressionEvaluatorKSLObject::UnitSystemWatch : public Observer {
 public:
  void update(ObserverSubject*, int) override { unitSystemChanged(); }

  static void begin()
  {
    if (EngineUnitSystemHandler* handler = EngineUnitSystemHandler::existing())
      handler->attach(&watch(), EngineUnitSystemHandler::systemChanged);  // again is nothing new
  }
  static void end()
  {
    if (EngineUnitSystemHandler* handler = EngineUnitSystemHandler::existing())
      handler->detach(&watch());
  }

 private:
  static UnitSystemWatch& watch()
  {
    // Never destroyed: static objects of a host may still use it after main.
    static UnitSystemWatch& instance = *new UnitSystemWatch;
    return instance;
  }
};

ExpressionEvaluatorKSLObject::ExpressionEvaluatorKSLObject() = default;

ExpressionEvaluatorKSLObject::~ExpressionEvaluatorKSLObject()
{
  s_waiting.erase(m_number);
  if (s_objects.erase(m_number) > 0 && s_objects.empty())
    UnitSystemWatch::end();
}

void ExpressionEvaluatorKSLObject::registerBaseType()
{
  auto prototype = std::make_unique<ExpressionEvaluatorKSLObject>();
  registerBaseTypeWithFactory(className, prototype.get());
  (void)prototype.release();  // the factory's, now that it has taken it
}

KSLObject* ExpressionEvaluatorKSLObject::clone() const
{
  auto copy = std::make_unique<ExpressionEvaluatorKSLObject>();
  copyInternals(copy.get());
  return copy.release();
}

void ExpressionEvaluatorKSLObject::initialize(const std::string& name)
{
  initialize({}, name);
}

void ExpressionEvaluatorKSLObject::initialize(const std::string& parentPath, const std::string& name)
{
  GenericKSLObject::initialize(parentPath, name);
  m_number = ++s_lastNumber;
  s_objects.emplace(m_number, this);
  UnitSystemWatch::begin();
}

// ---------------------------------------------------------------------------------------------------- when it runs

SchedulerObject* ExpressionEvaluatorKSLObject::evaluatingScheduler() const
{
  const ParamDefinition* param = lookUpParam(textParameter);
  return param ? findSchedulerObject(param->getLocalType()) : nullptr;
}

void ExpressionEvaluatorKSLObject::calculate(const std::string& schedulerType)
{
  const SchedulerObject* scheduler = evaluatingScheduler();
  if (scheduler && scheduler->getType() == schedulerType)
    evaluate();
  GenericKSLObject::calculate(schedulerType);
}

void ExpressionEvaluatorKSLObject::update()
{
  if (!evaluatingScheduler())
    evaluate();
  GenericKSLObject::update();
}

// An update may delete others.
void ExpressionEvaluatorKSLObject::unitSystemChanged()
{
  for (auto at = s_objects.begin(); at != s_objects.end();) {
    const std::uint64_t number = at->first;
    ExpressionEvaluatorKSLObject* object = at->second;
    if (SchedulerObject* scheduler = object->evaluatingScheduler()) {
      scheduler->setPending();
      scheduler->update();
    } else {
      object->evaluate();
    }
    at = s_objects.upper_bound(number);
  }
}

void ExpressionEvaluatorKSLObject::createDelayedParamLinks()
{
  if (!isPreview())
    return GenericKSLObject::createDelayedParamLinks();
  try {
    GenericKSLObject::createDelayedParamLinks();
  } catch (const data::error&) {}  // the result tells
  if (getDelayedParams().empty())
    s_waiting.erase(m_number);
  else
    s_waiting.insert(m_number);
}

void ExpressionEvaluatorKSLObject::retryPreviews()
{
  const std::set<std::uint64_t> waiting = s_waiting;
  for (const std::uint64_t number : waiting)
    s_objects.at(number)->createDelayedParamLinks();
}

void ExpressionEvaluatorKSLObject::linkPreviews() noexcept
{
  for (const std::uint64_t number : s_waiting)
    s_objects.at(number)->askForLinks();
}

// -------------------------------------------------------------------------------------------------- what it shows

void ExpressionEvaluatorKSLObject::evaluate()
{
  const std::string text = valueOrEmpty(*this, textParameter);
  if (text.empty())
    return show({}, {});
  try {
    showValue(text);
  } catch (const Interrupt&) {
    throw;
  } catch (const Error& error) {
    if (isPreview())
      return show(error.getMessage(), "Error");
    show({}, {});
    throw;
  }
}

void ExpressionEvaluatorKSLObject::showValue(const std::string& text)
{
  const EvaluatingObject scope(this);
  const ExpressionValue value = ExpressionEvaluator::evaluate(text, textParameter);
  const std::string units = targetUnits(*this, value);
  const std::string& own = value.getQuantity().getUnits();
  if (units != own && units.empty())
    return show(StringUtilities::toString(value.getNumber()), {});
  double number = value.getQuantity().getValue();
  try {
    if (units != own)
      UnitsConverter::convertUnits(own, units, value.getQuantity().getValue(), number);
  } catch (const data::invalid& error) {
    throw data::invalid(className, "evaluate",
                        _("Cannot show expression '%s' of object '%s' in units '%s'. %s", text, getPath(),
                          units, error.getMessage()));
  }
  show(StringUtilities::toString(number), units);
}

void ExpressionEvaluatorKSLObject::show(const std::string& result, const std::string& units)
{
  if (hasParam("Result"))
    setValueWithoutPending("Result", result);
  if (hasParam("Result Units"))
    setValueWithoutPending("Result Units", units);
}

}  // namespace orv
