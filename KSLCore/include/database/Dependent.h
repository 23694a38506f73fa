// Who refers to an object.
#pragma once

#include "platform/ORVExport.h"
#include "platform/ORVUtilities.h"

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace orv {

class KSLObject;
class ParamDefinition;

// A parameter of an object that refers to another one, by path and name; it holds no pointers, so it outlives
// both. Ordered by path, then name.
class ORV_API Dependent {
 public:
  // REQUIRES: neither is null. Shares the object's path of now.
  Dependent(const KSLObject* object, const ParamDefinition* param);
  Dependent(const std::string& objPath, std::string paramName)
      : m_objPath(objPath),
        m_paramName(std::move(paramName))
  {}

  const std::string& getObjPath() const { return m_objPath.str(); }  // takes what KSLObject::getPath takes
  const SharedText& getSharedPath() const { return m_objPath; }
  const std::string& getParamName() const { return m_paramName; }

  // What is sought in a set, without a copy of the texts: forgetting a dependent must not take memory.
  struct Key {
    const SharedText& objPath;
    std::string_view paramName;
    bool operator<(const Key& other) const
    {
      return objPath == other.objPath ? paramName < other.paramName : objPath < other.objPath;
    }
  };
  Key key() const { return {m_objPath, m_paramName}; }

  bool operator==(const Dependent& other) const
  {
    return m_objPath == other.m_objPath && m_paramName == other.m_paramName;
  }
  bool operator<(const Dependent& other) const { return key() < other.key(); }
  friend bool operator<(const Dependent& dependent, const Key& key) { return dependent.key() < key; }
  friend bool operator<(const Key& key, const Dependent& dependent) { return key < dependent.key(); }

 private:
  SharedText m_objPath;
  std::string m_paramName;
};

using DependentSet = std::set<Dependent, std::less<>>;

}  // namespace orv
