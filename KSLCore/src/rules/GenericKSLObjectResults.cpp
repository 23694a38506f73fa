// What results of calculations hang on, as the RULES tell it.
#include "platform/ORVDynamicLoader.h"
#include "platform/ORVException.h"
#include "platform/ORVExpressions.h"
#include "database/EvaluatingObject.h"
#include "database/FormulaNames.h"
#include "rules/GenericKSLObject.h"
#include "rules/SchedulerTypes.h"

#include <set>

namespace orv {

namespace {

// A scheduler type and those that come before it.
std::set<std::string_view> typesUpTo(const SchedulerTypes& types, std::string_view type)
{
  std::vector<std::vector<std::size_t>> before(types.entries().size());
  for (const SchedulerTypes::Link& link : types.links())
    if (link.from != SchedulerTypes::npos && link.to != SchedulerTypes::npos)
      before[link.to].push_back(link.from);
  std::set<std::string_view> found{type};
  std::vector<std::size_t> waiting{types.find(type)};
  while (!waiting.empty()) {
    const std::size_t at = waiting.back();
    waiting.pop_back();
    for (const std::size_t from : before[at])
      if (found.insert(types.entries()[from].type.str()).second)
        waiting.push_back(from);
  }
  return found;
}

bool mustNameObjects(const GenericKSLObject& object, const ParamDefinition& param)
{
  return !param.getRemoteType().empty() && !param.getRules()->remoteOptional && !object.holdsExpression(param)
         && !param.getAllowedValues().contains(param.getValue());
}

// A text that is no expression after all is what it says.
void addItem(ResultKey& key, const ParamDefinition& param, const std::string& item)
{
  try {
    const Quantity value = ExpressionEvaluator::evaluate(item, param.getName()).getQuantity();
    key.addAll(value.getValue(), value.getUnits(), value.isDifference() ? "difference" : "");
  } catch (const Interrupt&) {
    throw;
  } catch (const Error&) {
    key.add(item);
  }
}

void addValue(ResultKey& key, const KSLObject& object, const ParamDefinition& param)
{
  key.add(param.getName());
  if (!param.isExpression() || param.getAllowedValues().contains(param.getValue())) {
    key.add(param.getValue());
    return;
  }
  const EvaluatingObject scope(&object);
  const std::vector<std::string> items = param.splitValue();
  key.add(static_cast<double>(items.size()));
  for (const std::string& item : items)
    addItem(key, param, item);
}

// What others may read of an object that keeps nothing.
ResultKey keyOfValues(const KSLObject& object)
{
  ResultKey key(object.getPath());
  object.forEachParam([&](const ParamDefinition& param) { addValue(key, object, param); });
  return key;
}

void addResults(ResultKey& key, const KSLObject& object, std::string_view schedulerType)
{
  const auto* computing = dynamic_cast<const GenericKSLObject*>(&object);
  const ObjectData* data = computing ? computing->getData(schedulerType) : nullptr;
  key.add(data ? data->getKey() : keyOfValues(object));
}

void addNamed(ResultKey& key, const KSLObject& object, const ParamDefinition& param)
{
  const std::vector<std::string> items = FormulaNames::itemsOf(param, param.getValue());
  const std::vector<const KSLObject*> named = object.namedObjects(param);
  key.add(param.getName()).add(static_cast<double>(items.size()));
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i < named.size() && named[i])
      addResults(key, *named[i], param.getRemoteType());
    else
      key.add(items[i]);
  }
}

}  // namespace

ResultKey GenericKSLObject::ownResultKey(const std::string& schedulerType) const
{
  getSchedulerObject(schedulerType);
  const SchedulerTypes::Function& function = m_types->entries()[m_types->find(schedulerType)].function;
  ResultKey key(schedulerType);
  const std::size_t provided = SharedLibrary::instance()->getTimesProvided(function.library);
  key.addAll(function.library, static_cast<double>(provided), function.name);
  const std::set<std::string_view> types = typesUpTo(*m_types, schedulerType);
  forEachParam([&](const ParamDefinition& param) {
    const std::string& local = param.getLocalType();
    const bool counts = local.empty() ? !param.isInternal() : types.contains(local);
    if (counts && !mustNameObjects(*this, param))
      addValue(key, *this, param);
  });
  return key;
}

ResultKey GenericKSLObject::resultKey(const std::string& schedulerType) const
{
  ResultKey key = ownResultKey(schedulerType);
  const std::set<std::string_view> types = typesUpTo(*m_types, schedulerType);
  forEachParam([&](const ParamDefinition& param) {
    if (!param.getRemoteType().empty() && types.contains(param.getLocalType()) && !holdsExpression(param))
      addNamed(key, *this, param);
  });
  for (const std::string_view type : types)
    if (const ObjectData* data = type == schedulerType ? nullptr : getData(type))
      key.add(data->getKey());
  return key;
}

}  // namespace orv
