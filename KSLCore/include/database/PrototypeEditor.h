// Builds prototypes.
#pragma once

#include "database/DataKSLObject.h"

namespace orv {

// What a reader of RULES may do to an object and others may not: the operations forward to the protected ones
// of the same name, with their failures.
class ORV_API PrototypeEditor {
 public:
  explicit PrototypeEditor(DataKSLObject& object) : m_object(object) {}

  void setType(const std::string& type, bool singleton) { m_object.setType(type, singleton); }
  void setCategory(const std::string& name) { m_object.setCategory(name); }
  // Ownership passes on success only: a pointer keeps its parameter when the call fails.
  void addParameter(ParamDefinition* param) { m_object.addParameter(param); }
  void addParameter(std::unique_ptr<ParamDefinition>&& param) { m_object.addParameter(std::move(param)); }
  ParamDefinition* findParam(std::string_view name) { return m_object.findParam(name); }  // null when absent
  void removeParameter(const std::string& name) { m_object.removeParameter(name); }
  void addScheduler(const std::string& schedulerType) { m_object.addScheduler(schedulerType); }
  void addSchedulerLink(const std::string& from, const std::string& to)
  {
    m_object.addSchedulerLink(from, to);
  }
  void addFunction(const std::string& schedulerType, const std::string& library, const std::string& function)
  {
    m_object.addFunction(schedulerType, library, function);
  }

 private:
  DataKSLObject& m_object;
};

}  // namespace orv
