// Makes objects and parameters from prototypes.
#pragma once

#include "platform/ORVExport.h"
#include "database/KSLObject.h"
#include "database/ParamFilter.h"

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

// Filled at start-up: base types by the host (each class's registerBaseType), object types and parameters by
// the RULES. Nothing registers itself. Each context has one.
//
// Failures are of class "ObjectFactory", function as the operation, type 4, unless stated otherwise. Look-ups
// are O(log types). Calls that take a raw pointer own it from their success on; with the std::unique_ptr
// forms the pointer keeps its object when the call fails.
class ORV_API ObjectFactory {
 public:
  static ObjectFactory* instance();  // made on first use
  // Ends the factory with all prototypes and forgets the registered categories.
  static void destroyInstance();

  ObjectFactory(const ObjectFactory&) = delete;
  ObjectFactory& operator=(const ObjectFactory&) = delete;

  // ksl::error, "Invalid KSLObject. $1 field is empty." ("$1" stands in the text) for an empty name,
  // "Duplicate data: KSLObject base type '%s' already exists."; null throws internal::nullPointer, "Input
  // parameter %s is a null pointer." with "p_prototype".
  void registerBaseType(const std::string& name, KSLObject* prototype);
  void registerBaseType(const std::string& name, std::unique_ptr<KSLObject>&& prototype);
  // data::notFound, "Could not find base type: %s".
  std::unique_ptr<KSLObject> createBaseType(const std::string& name) const;

  // A new object of the type below the path given (directly under the root without one), not yet in the
  // database. data::notFound, "Could not find object: %s"; throws what its initialize throws.
  std::unique_ptr<KSLObject> createObject(const std::string& parentPath, const std::string& type,
                                          const std::string& name) const;
  std::unique_ptr<KSLObject> createObject(const std::string& type, const std::string& name) const;

  // Takes the prototype of its type. ksl::error, "Invalid KSLObject. $1 field is empty."; data::duplicate,
  // "Duplicate data: KSLObject type '%s' already exists."; null as registerBaseType.
  void addObject(KSLObject* prototype);
  void addObject(std::unique_ptr<KSLObject>&& prototype);
  // data::duplicate, function deliberately "addParameter", "Duplicate data: Parameter '%s' already exists.";
  // null as registerBaseType.
  void addParam(ParamDefinition* prototype);
  void addParam(std::unique_ptr<ParamDefinition>&& prototype);
  // A parameter that shares the prototype's rules. data::notFound, "Could not find parameter: %s".
  std::unique_ptr<ParamDefinition> createParam(const std::string& name) const;

  bool hasObject(std::string_view type) const;
  bool hasParam(std::string_view name) const;
  // Null when unknown. Not owned; the prototypes live as long as the factory.
  const KSLObject* findPrototype(std::string_view type) const;
  const ObjectRules* getObjectRules(std::string_view type) const;  // null also for a type without rules
  std::vector<std::string> getObjectTypes() const;                 // in type order
  std::vector<std::string> getTypesByCategory(const std::string& category) const;  // in type order
  std::vector<std::string> getParamTypes() const;  // names of the parameter prototypes, in name order
  // Name to rule default of a type's parameters: external ones, or all. Empty for an unknown type.
  std::map<std::string, std::string> getParamsForObjectType(const std::string& type,
                                                            bool withInternal = false) const;
  // In name order; none for an unknown type.
  std::vector<std::string> getFilteredParamNames(const std::string& type, ParamFilter filter) const;

 private:
  ObjectFactory();
  ~ObjectFactory();

  std::map<std::string, std::unique_ptr<KSLObject>, std::less<>> m_objects;
  std::map<std::string, std::unique_ptr<KSLObject>, std::less<>> m_baseTypes;
  std::map<std::string, std::unique_ptr<ParamDefinition>, std::less<>> m_params;
};

}  // namespace orv
