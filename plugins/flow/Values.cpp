#include "Values.h"

#include "platform/ORVUtilities.h"

#include <algorithm>
#include <charconv>

namespace flow {

using orv::KSLObject;

double number(const KSLObject& object, const std::string& name, const std::string& units)
{
  return object.getQuantityValue(name).convertTo(units);
}

int count(const KSLObject& object, const std::string& name, int limit)
{
  return std::clamp(object.getIntValue(name), 1, limit);
}

Vec point(const KSLObject& object, const std::string& name)
{
  const auto triplet = object.getTripletValue(name, "m");
  return {triplet.x, triplet.y, triplet.z};
}

Vec direction(const KSLObject& object, const std::string& name)
{
  const auto triplet = object.getTripletValue(name);
  return {triplet.x, triplet.y, triplet.z};
}

bool isOn(const KSLObject& object, const std::string& name)
{
  return !object.hasParam(name) || object.getBoolValue(name);
}

std::string labelOf(const KSLObject& object)
{
  const orv::ParamDefinition* label = object.lookUpParam("Label");
  return label && !label->getValue().empty() ? std::string(orv::StringUtilities::unquoted(label->getValue()))
                                             : object.getName();
}

void setResult(KSLObject& object, const std::string& name, const std::string& text)
{
  if (object.getValue(name) != text)
    object.setValue(name, text);
}

void setResult(KSLObject& object, const std::string& name, double value, const char* units)
{
  std::string text = orv::StringUtilities::toString(value);
  if (*units)
    text.append(" [").append(units).append("]");
  setResult(object, name, text);
}

void setResult(KSLObject& object, const std::string& name, std::span<const double> values)
{
  std::vector<std::string> items;
  items.reserve(values.size());
  for (const double value : values)
    items.push_back(orv::StringUtilities::toString(value));
  setResult(object, name, orv::StringUtilities::vectorToString(items, ", "));
}

std::vector<double> result(const KSLObject& object, const std::string& name)
{
  std::vector<double> numbers;
  const orv::ParamDefinition* param = object.lookUpParam(name);
  if (!param)
    return numbers;
  for (const std::string& item : param->splitValue()) {
    double value = 0;
    const char* const end = item.data() + item.size();
    const auto read = std::from_chars(item.data(), end, value);
    if (read.ec != std::errc() || read.ptr != end)
      return {};
    numbers.push_back(value);
  }
  return numbers;
}

KSLObject* source(const KSLObject& object, const std::string& typeOrCategory)
{
  for (KSLObject* parent : object.getSchedulerParentObjects()) {
    if (parent->isA(typeOrCategory))
      return parent;
  }
  return nullptr;
}

}  // namespace flow
