#include "database/RootKSLObject.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"

namespace orv {

namespace {

[[noreturn]] void refuse(const char* function)
{
  throw internal::error("RootKSLObject", function,
                        _("This function should never be called for this object."));
}

}  // namespace

RootKSLObject::RootKSLObject()
{
  setType("ROOT", true);
}

RootKSLObject::~RootKSLObject() = default;

std::string RootKSLObject::getSchedulerInfo() const
{
  refuse("getSchedulerInfo");
}

void RootKSLObject::calculate(const std::string&)
{
  refuse("calculate");
}

void RootKSLObject::update()
{
  refuse("update");
}

SchedulerObject* RootKSLObject::getSchedulerObject(const std::string& schedulerType) const
{
  throw internal::error(
      "RootKSLObject", "getSchedulerObject",
      _("This function should never be called for this object. (Scheduler type requested: '%s'.)",
        schedulerType));
}

void RootKSLObject::addDependent(KSLObject*, const ParamDefinition*)
{
  refuse("addDependent");
}

void RootKSLObject::delDependent(KSLObject*, const ParamDefinition*)
{
  refuse("delDependent");
}

KSLObject* RootKSLObject::clone() const
{
  refuse("clone");
}

void RootKSLObject::initialize(const std::string&, const std::string&)
{
  refuse("initialize");
}

void RootKSLObject::initialize(const std::string&)
{
  refuse("initialize");
}

std::string RootKSLObject::setValue(const std::string&, const std::string&)
{
  refuse("setValue");
}

std::string RootKSLObject::setValueWithoutPending(const std::string&, const std::string&)
{
  refuse("setValueWithoutPending");
}

const ParamDefinition* RootKSLObject::getParam(const std::string&) const
{
  refuse("getParam");
}

void RootKSLObject::setPending()
{
  refuse("setPending");
}

void RootKSLObject::write(std::ostream&) const {}

std::string RootKSLObject::getDependentKSL() const
{
  refuse("getDependentKSL");
}

}  // namespace orv
