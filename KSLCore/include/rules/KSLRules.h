// Turns the RULES, read as KSL text, into prototypes of parameters and objects.
#pragma once

#include "platform/ORVKSLAPI.h"
#include "rules/AdditionalRules.h"

#include <memory>
#include <set>
#include <string>

namespace orv {

class KSLObject;
class ParamDefinition;

// Reads the object "/RULES" of a text store and fills the ObjectFactory. docs/rules.md describes the keys.
class ORV_API KSLRules {
 public:
  KSLRules();
  virtual ~KSLRules();
  KSLRules(const KSLRules&) = delete;
  KSLRules& operator=(const KSLRules&) = delete;

  // Registers the categories, then a prototype for each PARAMETER, then one for each OBJECT and SINGLETON in
  // text order. A store without "/RULES" gives nothing. REQUIRES: the base types that the RULES name are
  // registered.
  //
  // Throws on the first fault, class "KSLRules", type 4. What was registered before it stays, so treat a
  // failure as the end of the start-up, and end the factory (ObjectFactory::destroyInstance) before reading
  // RULES again: prototypes that exist are duplicates. The sets below grow with every call.
  //   function "process":
  //     internal::nullPointer "Null pointer to KSLAPI."
  //     ksl::invalid   "KSL type '%s' is not one of PARAMETER, OBJECT or SINGLETON."
  //     ksl::duplicate "Duplicate data: Parameter '%s' already exists."
  //     ksl::duplicate "Duplicate data: KSLObject type '%s' already exists."
  //   function "parseObject":
  //     ksl::invalid   "KSL Object class '%s' is not recognized."
  //     internal::error "Bad cast of $1 '$2' to $3." (the text stands as it is)
  //     ksl::invalid   "Scheduler type '%s' is not recognized."
  //     ksl::invalid   "Calculate function specification requires triplets, (%d)."
  //     ksl::invalid   "Odd number of scheduler types specified, (%d)."
  //     ksl::invalid   "Object Context '%s' is not recognized."
  //     ksl::invalid   "KSL object '%s' is not recognized."
  //   function "parseParam":
  //     ksl::invalid   "Scheduler type '%s' is not recognized."
  //     ksl::invalid   "The local type is empty and the remote type is not for parameter '%s'."
  // What the factory, the prototypes and ObjectRulesDef throw passes on.
  //
  // Reports warnings (type 8, function "process") through ErrorProgressReporter, for RULES that are taken and
  // will make trouble later: a type name that no path can hold or that is the root's, and a context rule
  // parameter that can have a value for which there is no context, or lacks one. A type with a parameter that
  // is internal and in another list too is named before the exception that follows.
  //
  // Cost: n log n in the length of the RULES.
  void process(KSLAPI* api, const AdditionalRules& rules);

  // What the header of the RULES lists.
  const std::set<std::string>& getSchedulerTypes() const { return m_schedulerTypes; }
  const std::set<std::string>& getObjectClasses() const { return m_objectClasses; }
  const std::set<std::string>& getParamCategories() const { return m_paramCategories; }

 private:
  class ObjectReader;
  class ParamReader;

  void readHeader(const KSLAPI& api, const std::vector<KSLAPI::ObjectInfo>& entries);
  void addGlobalParam(KSLAPI* api, const KSLAPI::ObjectInfo& entry, const AdditionalRules& rules);
  void addObjectType(KSLAPI* api, const KSLAPI::ObjectInfo& entry, const AdditionalRules& rules);
  std::unique_ptr<KSLObject> parseObject(KSLAPI* api, const KSLAPI::ObjectInfo& entry,
                                         const AdditionalRules& rules, bool singleton);
  // The parent is the global parameter of which an object type defines a variant; null for a global one.
  std::unique_ptr<ParamDefinition> parseParam(KSLAPI* api, const KSLAPI::ObjectInfo& entry,
                                              const AdditionalRules& rules, const ParamDefinition* parent);

  std::set<std::string> m_schedulerTypes;
  std::set<std::string> m_objectClasses;
  std::set<std::string> m_paramCategories;
};

}  // namespace orv
