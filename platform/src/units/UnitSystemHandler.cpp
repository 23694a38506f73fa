#include "platform/ORVUnits.h"

#include <utility>

namespace orv {

namespace {

UnitSystemHandler* baseHandler()
{
  // Never destroyed: static objects of a host may still use it after main.
  static UnitSystemHandler* handler = new UnitSystemHandler;
  return handler;
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
