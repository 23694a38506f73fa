// Who refers to an object.
#pragma once

#include "platform/ORVExport.h"

#include <compare>
#include <string>
#include <utility>

namespace orv {

class KSLObject;
class ParamDefinition;

// A parameter of an object that refers to another one, by path and name; it holds no pointers, so it outlives
// both. Ordered by path, then name.
class ORV_API Dependent {
 public:
  // REQUIRES: neither is null. Takes the object's path of now.
  Dependent(const KSLObject* object, const ParamDefinition* param);
  Dependent(std::string objPath, std::string paramName)
      : m_objPath(std::move(objPath)),
        m_paramName(std::move(paramName))
  {}

  const std::string& getObjPath() const { return m_objPath; }
  const std::string& getParamName() const { return m_paramName; }

  auto operator<=>(const Dependent&) const = default;

 private:
  std::string m_objPath;
  std::string m_paramName;
};

}  // namespace orv
