// The root of the object tree.
#pragma once

#include "database/KSLObject.h"

namespace orv {

// A singleton of type "ROOT" without name, path and parameters. Whatever asks it to be more than a place
// throws internal::error, class "RootKSLObject", function as the operation, "This function should never be
// called for this object.". Walkers of the tree test for the root first.
class ORV_API RootKSLObject final : public KSLObject {
 public:
  RootKSLObject();
  ~RootKSLObject() override;

  std::string getSchedulerInfo() const override;
  void calculate(const std::string& schedulerType) override;
  void update() override;
  SchedulerObject* getSchedulerObject(const std::string& schedulerType) const override;
  void addDependent(KSLObject* object, const ParamDefinition* param) override;
  void delDependent(KSLObject* object, const ParamDefinition* param) override;
  KSLObject* clone() const override;
  void initialize(const std::string& parentPath, const std::string& name) override;
  void initialize(const std::string& name) override;
  std::string setValue(const std::string& name, const std::string& value) override;
  std::string setValueWithoutPending(const std::string& name, const std::string& value) override;
  const ParamDefinition* getParam(const std::string& name) const override;
  void setPending() override;
  void write(std::ostream& out) const override;  // nothing
  virtual std::string getDependentKSL() const;
};

}  // namespace orv
