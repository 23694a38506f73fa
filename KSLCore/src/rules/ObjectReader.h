// Reads one OBJECT or SINGLETON of the RULES.
#pragma once

#include "platform/ORVKSLAPI.h"
#include "database/DataKSLObject.h"
#include "database/ObjectRulesDef.h"
#include "database/ParamDefinition.h"
#include "rules/AdditionalRules.h"
#include "rules/KSLRules.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace orv {

// One reader reads one definition. Entries are read in text order, and checks see only what was read so far:
// the schedulers of a type stand before its functions and links, its options before its contexts.
class KSLRules::ObjectReader {
 public:
  ObjectReader(KSLRules& owner, KSLAPI* api, const AdditionalRules& extra)
      : m_owner(owner),
        m_api(api),
        m_extra(extra)
  {}

  std::unique_ptr<KSLObject> read(const KSLAPI::ObjectInfo& entry, bool singleton);

 private:
  using NameList = std::vector<std::string>;
  struct Key;

  void makePrototype(const KSLAPI::ObjectInfo& entry, const std::string& className, bool singleton);
  void readEntry(const KSLAPI::ObjectInfo& info);
  void readKey(const KSLAPI::ObjectInfo& param);

  void readSchedulers(const KSLAPI::ObjectInfo& param);
  void readFunctions(const KSLAPI::ObjectInfo& param);
  void readSchedulerLinks(const KSLAPI::ObjectInfo& param);
  void readCategories(const KSLAPI::ObjectInfo& param);
  void readEssentialParams(const KSLAPI::ObjectInfo& param);
  void readOptionalParams(const KSLAPI::ObjectInfo& param);
  void readInternalParams(const KSLAPI::ObjectInfo& param);
  void readAllowedOptions(const KSLAPI::ObjectInfo& param);
  void readContextRule(const KSLAPI::ObjectInfo& param);
  void readObjectNameRestriction(const KSLAPI::ObjectInfo& param);
  void readParamNameRestriction(const KSLAPI::ObjectInfo& param);

  void readContext(const KSLAPI::ObjectInfo& context);
  void readVariant(const KSLAPI::ObjectInfo& variant);

  NameList listOf(const KSLAPI::ObjectInfo& param) const { return m_api->getStringList(param.getPath()); }
  void listParams(const NameList& names) { m_listed.insert(names.begin(), names.end()); }
  void checkOwnScheduler(const std::string& type) const;

  void addParams();
  void addParam(const std::string& name, bool internal);
  void concernList(Error& error, const std::string& name) const;
  void warnOfParamsListedTwice() const;
  void warnOfContextRule() const;

  KSLRules& m_owner;
  KSLAPI* m_api;
  const AdditionalRules& m_extra;

  std::string m_path;  // of the definition
  std::unique_ptr<DataKSLObject> m_object;
  ObjectRulesDef m_rules;
  std::set<std::string> m_schedulers;
  std::set<std::string> m_listed;
  std::set<std::string> m_internal;
  std::map<std::string, std::unique_ptr<ParamDefinition>> m_variants;
};

}  // namespace orv
