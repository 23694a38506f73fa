#include "platform/ORVUnits.h"
#include "platform/internal/ContextLocal.h"

#include <utility>

namespace orv {

namespace {

UnitSystemHandler* baseHandler()
{
  // Never destroyed: static objects of a host may still use it after main.
  static UnitSystemHandler* handler = new UnitSystemHandler;
  return handler;
}

constinit ContextLocal<UnitSystemHandler*> theUnitSystemHandler;  // null: the base class's

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
  UnitSystemHandler* const handler = *theUnitSystemHandler;
  return handler ? handler : baseHandler();
}

UnitSystemHandler* UnitSystemHandler::setCurrent(UnitSystemHandler* handler)
{
  UnitSystemHandler* const before = current();
  *theUnitSystemHandler = handler;
  return before;
}

}  // namespace orv
