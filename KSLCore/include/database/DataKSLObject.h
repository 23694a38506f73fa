// Objects that hold data and compute nothing.
#pragma once

#include "database/KSLObject.h"

namespace orv {

// Base of the classes that the RULES may name; scheduler operations fail or do nothing here.
// Failures are of class "DataKSLObject" and type 4 unless stated otherwise.
class ORV_API DataKSLObject : public KSLObject {
 public:
  DataKSLObject();
  ~DataKSLObject() override;

  // Registers a fresh object as base type "DataKSLObject". For the host, before the RULES are processed.
  static void registerBaseType();

  std::string getSchedulerInfo() const override;  // "\nScheduler list for TYPE:name\n"
  void calculate(const std::string& schedulerType) override;
  void update() override;
  // data::notFound, "Scheduler type '%s' for object type '%s' not found.".
  SchedulerObject* getSchedulerObject(const std::string& schedulerType) const override;
  KSLObject* clone() const override;
  void initialize(const std::string& parentPath, const std::string& name) override;
  void initialize(const std::string& name) override;
  // Returns "PATH/NAME = TEXT" with the old text; with the new one where a "Logical" parameter keeps its
  // truth value. data::notFound, "Parameter '%s' is not recognized on object '%s'." (name, path).
  std::string setValue(const std::string& name, const std::string& value) override;
  // data::notFound, function "setValue", "Parameter '%s' is not recognized.".
  std::string setValueWithoutPending(const std::string& name, const std::string& value) override;
  void setPending() override;

 protected:
  // Stores a value and returns the one before. Null throws internal::nullPointer, function "setValue".
  virtual std::string setValueInternal(ParamDefinition* param, const std::string& value);
  // Stores a value of which requireAllowed was asked.
  static void storeAllowed(ParamDefinition& param, const std::string& value);
  // data::invalid, function "addScheduler" for all three: "Cannot add scheduler to type DataKSLObject." and
  // "Cannot add function to type DataKSLObject.".
  virtual void addScheduler(const std::string& schedulerType);
  virtual void addSchedulerLink(const std::string& from, const std::string& to);
  virtual void addFunction(const std::string& schedulerType, const std::string& library,
                           const std::string& function);

  void setCategory(const std::string& name) { category().setCategory(name); }

 private:
  friend class PrototypeEditor;
};

}  // namespace orv
