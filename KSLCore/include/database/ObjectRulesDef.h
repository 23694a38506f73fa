// Which parameters an object type must or may have, as the RULES say it.
#pragma once

#include "platform/ORVExport.h"

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

// Filled while one object type is read; ObjectRules is made from it. A call that throws changes nothing; what
// is thrown is data::duplicate of type 4, class "ObjectRulesDef", function as the operation.
class ORV_API ObjectRulesDef {
 public:
  using NameList = std::vector<std::string>;
  using ContextLists = std::map<std::string, NameList, std::less<>>;

  // The parameter whose value is the context.
  void setContextRuleName(std::string name) { m_contextRuleName = std::move(name); }
  const std::string& getContextRuleName() const { return m_contextRuleName; }

  // Carried for their readers; without meaning here.
  void setObjectNameRestriction(std::string text) { m_objectNameRestriction = std::move(text); }
  const std::string& getObjectNameRestriction() const { return m_objectNameRestriction; }
  void setParamNameRestriction(std::string text) { m_paramNameRestriction = std::move(text); }
  const std::string& getParamNameRestriction() const { return m_paramNameRestriction; }

  // The contexts that exist; replaces those set before.
  void setAllowedOptions(std::set<std::string> options) { m_allowedOptions = std::move(options); }
  const std::set<std::string>& getAllowedOptions() const { return m_allowedOptions; }

  // Once only: "Essential parameters (not context-specific) added twice".
  void addEssentialParams(const NameList& names);
  // Appends to the lists given before, on purpose: two keys of the RULES end here.
  void addOptionalParams(NameList names);
  // Once for each context: "Essential parameters in rules context '%s' added twice".
  void addEssentialParams(const std::string& context, const NameList& names);
  void addOptionalParams(const std::string& context, NameList names);

  const NameList& getEssentialParams() const { return m_essentialParams; }
  const NameList& getOptionalParams() const { return m_optionalParams; }
  // An empty list when the context has none.
  const NameList& getEssentialParams(std::string_view context) const;
  const NameList& getOptionalParams(std::string_view context) const;

 private:
  std::string m_contextRuleName;
  std::set<std::string> m_allowedOptions;
  bool m_essentialGiven = false;
  bool m_optionalGiven = false;
  NameList m_essentialParams;
  NameList m_optionalParams;
  std::string m_objectNameRestriction;
  std::string m_paramNameRestriction;
  ContextLists m_contextEssential;
  ContextLists m_contextOptional;
};

}  // namespace orv
