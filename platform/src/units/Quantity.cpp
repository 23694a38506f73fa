#include "platform/ORVUnits.h"
#include "platform/ORVUtilities.h"

#include <utility>

namespace orv {

Quantity::Quantity(double value, std::string units, bool difference)
    : m_value(value),
      m_units(std::move(units)),
      m_difference(difference)
{}

double Quantity::convertTo(const std::string& units) const
{
  if (units.empty() || m_units.empty())
    return m_value;
  double result = 0;
  UnitsConverter::convertUnits(m_units, units, m_value, result, m_difference);
  return result;
}

std::string Quantity::toString() const
{
  std::string text = StringUtilities::toString(m_value);
  return hasUnits() ? text + " [" + m_units + "]" : text;
}

}  // namespace orv
