#include "Values.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "running.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>

namespace results {

using orv::KSLObject;

double length(const Vec& a)
{
  return std::sqrt(dot(a, a));
}

Vec unit(const KSLObject& object, const std::string& name)
{
  const auto read = object.getPointValue(name, "");
  const Vec direction{read.x, read.y, read.z};
  const double size = length(direction);
  if (size == 0 || !std::isfinite(size))
    fail("unit", orv::_("Parameter '%s' of %s has no direction.", name, object.getPath()));
  return (1 / size) * direction;
}

double number(const KSLObject& object, const std::string& name, const std::string& units)
{
  return object.getQuantityValue(name).convertTo(units);
}

Vec point(const KSLObject& object, const std::string& name)
{
  const auto read = object.getPointValue(name, "m");
  return {read.x, read.y, read.z};
}

int count(const KSLObject& object, const std::string& name, int limit)
{
  return std::clamp(object.getIntValue(name), 1, limit);
}

bool isOn(const KSLObject& object, const std::string& name)
{
  return !object.hasParam(name) || object.getBoolValue(name);
}

std::string text(const KSLObject& object, const std::string& name)
{
  const orv::ParamDefinition* param = object.lookUpParam(name);
  return param ? std::string(orv::StringUtilities::unquoted(param->getValue())) : std::string();
}

std::vector<std::string> items(const KSLObject& object, const std::string& name)
{
  const orv::ParamDefinition* param = object.lookUpParam(name);
  std::vector<std::string> list = param ? param->splitValue() : std::vector<std::string>();
  for (std::string& item : list)
    item = std::string(orv::StringUtilities::unquoted(item));
  return list;
}

bool isGiven(const KSLObject& object, const std::string& name)
{
  return !text(object, name).empty();
}

std::string labelOf(const KSLObject& object)
{
  const std::string label = text(object, "Label");
  return label.empty() ? object.getName() : label;
}

std::string withUnits(double value, const std::string& units)
{
  std::string said = orv::StringUtilities::toString(value);
  return units.empty() ? said : said + " [" + units + "]";
}

void setResult(KSLObject& object, const std::string& name, const std::string& value)
{
  const orv::ParamDefinition* param = object.lookUpParam(name);
  if (param && param->getValue() != value)
    object.setValue(name, value);
}

void setResult(KSLObject& object, const std::string& name, double value, const std::string& units)
{
  setResult(object, name, withUnits(value, units));
}

void setResult(KSLObject& object, const std::string& name, std::span<const double> values,
               const std::string& units)
{
  std::vector<std::string> texts;
  for (const double value : values)
    texts.push_back(withUnits(value, units));
  setResult(object, name, join(texts));
}

std::string join(const std::vector<std::string>& texts, const char* separator)
{
  return orv::StringUtilities::vectorToString(texts, separator);
}

std::string readable(double value, int figures)
{
  char said[40];
  const auto end =
      std::to_chars(said, said + sizeof said, value == 0 ? 0 : value, std::chars_format::general, figures);
  return {said, end.ptr};
}

std::string endingOf(const std::string& file)
{
  return orv::StringUtilities::toLower(std::filesystem::path(file).extension().string());
}

}  // namespace results
