#include "platform/ORVUnits.h"

#include <utility>

namespace orv {

namespace {

UnitSystemHandler* baseHandler()
{
  static UnitSystemHandler handler;
  return &handler;
}

UnitSystemHandler*& handlerInForce()
{
  static UnitSystemHandler* handler = baseHandler();
  return handler;
}

}  // namespace

UnitSystemHandler::~UnitSystemHandler() = default;

std::string UnitSystemHandler::getPreferredUnitsForQuantity(const std::string&) const
{
  return {};
}

std::string UnitSystemHandler::getPreferredUnitsForVariable(const std::string&) const
{
  return {};
}

std::string UnitSystemHandler::getPreferredUnitsFromUnits(const std::string&, const std::string&) const
{
  return {};
}

UnitSystemHandler* UnitSystemHandler::current()
{
  return handlerInForce();
}

UnitSystemHandler* UnitSystemHandler::setCurrent(UnitSystemHandler* handler)
{
  return std::exchange(handlerInForce(), handler ? handler : baseHandler());
}

}  // namespace orv
