#include "database/DataKSLObject.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "database/ValueAtHand.h"

#include <algorithm>
#include <memory>

namespace orv {

namespace {

constexpr const char* dataKSLObjectClass = "DataKSLObject";

// True when a "Logical" parameter is given another word for the truth value that it has. Words that are none
// differ.
bool keepsTruthValue(const ParamDefinition& param, const std::string& text)
{
  if (!param.typeIs("Logical"))
    return false;
  bool presentOk = true;
  bool newOk = true;
  const bool present = StringUtilities::isTrue(param.getValue(), presentOk);
  return StringUtilities::isTrue(text, newOk) == present && presentOk && newOk;
}

// A parameter's own text stays where it is: the caller may still be reading it.
SharedText shared(const ParamDefinition& param, const std::string& value)
{
  return &value == &param.getValue() ? param.getShared() : ValueAtHand::share(value);
}

}  // namespace

DataKSLObject::DataKSLObject() = default;

DataKSLObject::~DataKSLObject()
{
  freeParameters();
}

void DataKSLObject::registerBaseType()
{
  auto prototype = std::make_unique<DataKSLObject>();
  registerBaseTypeWithFactory(dataKSLObjectClass, prototype.get());
  (void)prototype.release();  // the factory's, now that it has taken it
}

std::string DataKSLObject::getSchedulerInfo() const
{
  return "\nScheduler list for " + getType() + ":" + getName() + "\n";
}

void DataKSLObject::calculate(const std::string&) {}

void DataKSLObject::update() {}

void DataKSLObject::setPending() {}

SchedulerObject* DataKSLObject::getSchedulerObject(const std::string& schedulerType) const
{
  throw data::notFound(dataKSLObjectClass, "getSchedulerObject",
                       _("Scheduler type '%s' for object type '%s' not found.", schedulerType, getType()));
}

KSLObject* DataKSLObject::clone() const
{
  auto copy = std::make_unique<DataKSLObject>();
  copy->setStoringClass();
  copyInternals(copy.get());  // the type too
  return copy.release();
}

void DataKSLObject::initialize(const std::string& parentPath, const std::string& name)
{
  setPath(parentPath, name);
}

void DataKSLObject::initialize(const std::string& name)
{
  initialize({}, name);
}

std::string DataKSLObject::setValue(const std::string& name, const std::string& value)
{
  const bool lineUnread = takeLineUnread();
  ParamDefinition* param = findParamToSet(name, value);
  if (!param)
    throw diagnosed(data::notFound(dataKSLObjectClass, "setValue",
                                   _("Parameter '%s' is not recognized on object '%s'.", name, getPath())),
                    unknownParam(name));
  if (lineUnread) {
    if (keepsTruthValue(*param, value)) {
      storeAllowed(*param, value);
    } else {
      noteAllowed();
      setValueInternal(param, value);
    }
    return {};
  }
  std::string line;  // with room for either text, so that nothing can fail once the value is stored
  line.reserve(getPath().size() + name.size() + std::max(value.size(), param->getValue().size()) + 4);
  line.append(getPath()).append(1, '/').append(name).append(" = ");
  if (keepsTruthValue(*param, value)) {
    line.append(value);
    param->setValue(value);
  } else {
    line.append(setValueInternal(param, value));
  }
  return line;
}

std::string DataKSLObject::setValueWithoutPending(const std::string& name, const std::string& value)
{
  ParamDefinition* param = findParamToSet(name, value);
  if (!param)
    throw diagnosed(
        data::notFound(dataKSLObjectClass, "setValue", _("Parameter '%s' is not recognized.", name)),
        unknownParam(name));
  return param->setValue(value);
}

void DataKSLObject::storeAllowed(ParamDefinition& param, const std::string& value)
{
  param.setAllowed(shared(param, value));
}

std::string DataKSLObject::setValueInternal(ParamDefinition* param, const std::string& value)
{
  const bool allowed = takeAllowed();
  if (!param)
    throw internal::nullPointer(dataKSLObjectClass, "setValue",
                                _("Input parameter %s is a null pointer.", "p_param"));
  if (allowed) {
    storeAllowed(*param, value);
    return {};
  }
  std::string before = param->getValue();
  param->setShared(shared(*param, value));
  return before;
}

void DataKSLObject::addScheduler(const std::string&)
{
  throw data::invalid(dataKSLObjectClass, "addScheduler", _("Cannot add scheduler to type DataKSLObject."));
}

void DataKSLObject::addSchedulerLink(const std::string&, const std::string&)
{
  throw data::invalid(dataKSLObjectClass, "addScheduler", _("Cannot add scheduler to type DataKSLObject."));
}

void DataKSLObject::addFunction(const std::string&, const std::string&, const std::string&)
{
  throw data::invalid(dataKSLObjectClass, "addScheduler", _("Cannot add function to type DataKSLObject."));
}

}  // namespace orv
