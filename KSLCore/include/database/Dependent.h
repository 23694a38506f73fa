// Who refers to an object.
#pragma once

#include "platform/ORVExport.h"
#include "platform/ORVUtilities.h"
#include "database/ParamDefinition.h"

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace orv {

class KSLObject;

// A parameter of an object that refers to another one, by path and name, of which it has a share; so it outlives both.
// Ordered by path, then name.
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
  const std::string& getParamName() const { return m_rules ? m_rules->name : m_paramName.str(); }

  // What is sought in a set, without a copy of the texts: forgetting a dependent must not take memory.
  struct Key {
    const SharedText& objPath;
    std::string_view paramName;
    bool operator<(const Key& other) const
    {
      return objPath == other.objPath ? paramName < other.paramName : objPath < other.objPath;
    }
  };
  Key key() const { return {m_objPath, getParamName()}; }

  bool operator==(const Dependent& other) const
  {
    return m_objPath == other.m_objPath && getParamName() == other.getParamName();
  }
  bool operator<(const Dependent& other) const { return key() < other.key(); }
  friend bool operator<(const Dependent& dependent, const Key& key) { return dependent.key() < key; }
  friend bool operator<(const Key& key, const Dependent& dependent) { return key < dependent.key(); }

 private:
  SharedText m_objPath;
  SharedText m_paramName;                            // empty when the rules say it
  refcnt_ptr<const ParamDefinition::Rules> m_rules;  // null when it was given
};

using DependentSet = std::set<Dependent, std::less<>>;

}  // namespace orv
