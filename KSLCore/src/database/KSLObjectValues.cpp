// The values of an object's parameters, as types.
#include "database/EvaluatingObject.h"
#include "database/KSLObject.h"

namespace orv {

// What a parameter cannot be read as tells whose it is.
template <class Read>
auto KSLObject::readNaming(const std::string& name, Read read) const
{
  const EvaluatingObject scope(this);
  try {
    return read(readParam(name));
  } catch (Error& error) {
    error.concern(m_path.copy(), name);
    throw;
  }
}

int KSLObject::getIntValue(const std::string& name) const
{
  return readNaming(name, [](const ParamDefinition& param) { return param.getIntValue(); });
}

bool KSLObject::getBoolValue(const std::string& name) const
{
  return readNaming(name, [](const ParamDefinition& param) { return param.getBoolValue(); });
}

std::vector<int> KSLObject::getIntArray(const std::string& name) const
{
  return readNaming(name, [](const ParamDefinition& param) { return param.getIntArray(); });
}

Quantity KSLObject::getQuantityValue(const std::string& name) const
{
  return readNaming(name, [](const ParamDefinition& param) { return param.getQuantityValue(); });
}

float KSLObject::getFloatValue(const std::string& name) const
{
  return getFloatValue(name, {});
}

float KSLObject::getFloatValue(const std::string& name, const std::string& units) const
{
  return readNaming(name, [&](const ParamDefinition& param) { return param.getFloatValue(units); });
}

std::vector<float> KSLObject::getFloatArray(const std::string& name) const
{
  return getFloatArray(name, {});
}

std::vector<float> KSLObject::getFloatArray(const std::string& name, const std::string& units) const
{
  return readNaming(name, [&](const ParamDefinition& param) { return param.getFloatArray(units); });
}

std::vector<double> KSLObject::getRealArray(const std::string& name, const std::string& units) const
{
  return readNaming(name, [&](const ParamDefinition& param) { return param.getRealArray(units); });
}

TripletBase<double> KSLObject::getPointValue(const std::string& name, const std::string& units) const
{
  return readNaming(name, [&](const ParamDefinition& param) { return param.getPointValue(units); });
}

TripletBase<float> KSLObject::getTripletValue(const std::string& name) const
{
  return getTripletValue(name, {});
}

TripletBase<float> KSLObject::getTripletValue(const std::string& name, const std::string& units) const
{
  return readNaming(name, [&](const ParamDefinition& param) { return param.getTripletValue(units); });
}

}  // namespace orv
