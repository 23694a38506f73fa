#include "services/ExpressionEvaluatorKSLObject.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVExpressions.h"
#include "platform/ORVUnits.h"
#include "platform/ORVUtilities.h"
#include "platform/internal/ContextLocal.h"
#include "database/EvaluatingObject.h"
#include "services/EngineUnitSystemHandler.h"

#include <map>
#include <memory>
#include <utility>

namespace orv {

namespace {

constexpr const char* expressionEvaluatorKSLObjectClass = "ExpressionEvaluatorKSLObject";
constexpr const char* textParameter = "Evaluated Expression";

// All that were initialised, in that order.
struct Evaluators {
  std::map<std::uint64_t, ExpressionEvaluatorKSLObject*> objects;
  std::uint64_t lastNumber = 0;
};
constinit ContextLocal<Evaluators*> theEvaluators(ContextEnd::memory,
                                                  [] { delete std::exchange(*theEvaluators, nullptr); });

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
  const std::string quantity = value.getQuantity().isDifference() ? "Temperature Difference" : "";
  units = UnitSystemHandler::current()->getPreferredUnitsFromUnits(own, quantity);
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
    // For all contexts: it holds nothing. Never destroyed: static objects of a host may still use it after main.
    static UnitSystemWatch& instance = *new UnitSystemWatch;
    return instance;
  }
};

ExpressionEvaluatorKSLObject::ExpressionEvaluatorKSLObject() = default;

ExpressionEvaluatorKSLObject::~ExpressionEvaluatorKSLObject()
{
  Evaluators* all = *theEvaluators;
  if (all && all->objects.erase(m_number) > 0 && all->objects.empty())
    UnitSystemWatch::end();
}

void ExpressionEvaluatorKSLObject::registerBaseType()
{
  auto prototype = std::make_unique<ExpressionEvaluatorKSLObject>();
  registerBaseTypeWithFactory(expressionEvaluatorKSLObjectClass, prototype.get());
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
  Evaluators*& all = *theEvaluators;
  if (!all)
    all = new Evaluators;
  m_number = ++all->lastNumber;
  all->objects.emplace(m_number, this);
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
  Evaluators* all = *theEvaluators;
  if (!all)
    return;
  for (auto at = all->objects.begin(); at != all->objects.end();) {
    const std::uint64_t number = at->first;
    ExpressionEvaluatorKSLObject* object = at->second;
    if (SchedulerObject* scheduler = object->evaluatingScheduler()) {
      scheduler->setPending();
      scheduler->update();
    } else {
      object->evaluate();
    }
    at = all->objects.upper_bound(number);
  }
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
      UnitsConverter::convertUnits(own, units, value.getQuantity().getValue(), number,
                                   value.getQuantity().isDifference());
  } catch (const data::invalid& error) {
    throw data::invalid(expressionEvaluatorKSLObjectClass, "evaluate",
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
