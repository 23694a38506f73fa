#include "services/ConvertibleObject.h"

#include "database/KSLObject.h"
#include "database/PreferredUnits.h"
#include "database/QuantityScanner.h"
#include "services/StateConverterIF.h"
#include "services/UnitSystems.h"

namespace orv {

namespace {

// Of the quantities of these dimensions the one that the parameter is named after, else the first.
std::string quantityOf(const std::string& parameter, const std::string& units)
{
  const UnitDimensions dimensions(units);
  std::string first;
  for (const UnitQuantity& quantity : unitQuantities()) {
    if (UnitDimensions(quantity.si).exponents() != dimensions.exponents())
      continue;
    if (quantity.name == parameter)
      return parameter;
    if (first.empty())
      first = quantity.name;
  }
  return first;
}

// The units that all items of a value have; empty where they differ, or one is no quantity.
std::string commonUnits(const ParamDefinition& param)
{
  std::string units;
  for (const std::string& item : param.splitValue()) {
    const std::optional<Quantity> quantity = scanQuantity(item);
    if (!quantity || !quantity->hasUnits() || (!units.empty() && units != quantity->getUnits()))
      return {};
    units = quantity->getUnits();
  }
  return units;
}

std::string preferredUnits(const KSLObject& object, const std::string& parameter, const std::string& units)
{
  if (const ParamDefinition* own = object.lookUpParam("User Units"); own && !own->getValue().empty())
    return own->getValue();
  const std::string preferred = PreferredUnits::ofParameter(object, parameter);
  return preferred.empty() ? UnitSystemHandler::current()->getPreferredUnitsFromUnits(units, {}) : preferred;
}

std::string targetUnits(const KSLObject& object, const std::string& parameter, const std::string& units,
                        UnitSystemTypes::UnitsType type)
{
  switch (type) {
    case UnitSystemTypes::preferred:
      return preferredUnits(object, parameter, units);
    case UnitSystemTypes::base:
      return UnitDimensions(units).toUnits();
    case UnitSystemTypes::asStored:
      return units;
  }
  return units;
}

}  // namespace

ConvertibleObject::~ConvertibleObject() = default;
StateConverterIF::~StateConverterIF() = default;

std::vector<DataConversionInfo> ConvertibleObject::getConversionInfo(UnitSystemTypes::UnitsType units) const
{
  std::vector<DataConversionInfo> infos;
  m_object->forEachParam([&](const ParamDefinition& param) {
    if (param.isInternal())
      return;
    DataConversionInfo info;
    info.fromUnits = commonUnits(param);
    if (info.fromUnits.empty() || !UnitsConverter::isValid(info.fromUnits))
      return;
    info.parameter = param.getName();
    info.quantity = quantityOf(info.parameter, info.fromUnits);
    info.toUnits = targetUnits(*m_object, info.parameter, info.fromUnits, units);
    info.difference = info.quantity == "Temperature Difference";
    if (UnitsConverter::areConvertible(info.fromUnits, info.toUnits))
      infos.push_back(std::move(info));
  });
  return infos;
}

}  // namespace orv
