// Which parameters an object type must or may have, in the form that objects ask.
#pragma once

#include "platform/ORVExport.h"
#include "platform/ORVUtilities.h"

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

class ObjectRulesDef;

// Kinds of parameters that a query may be limited to.
enum EssOptFilter { essentialParams = 1, optionalParams = 2, essentialAndOptionalParams = 3 };

// Made once for an object type and shared by its objects through refcnt_ptr<const ObjectRules>.
//
// A context is a value of the context rule parameter; the empty text asks without a context. A context that
// does not exist throws data::invalid of type 4, class "ObjectRulesDef", function "getContextIndex", "Unknown
// value '%s' of context rule parameter.", whatever the parameter.
class ORV_API ObjectRules : public rcount_base {
 public:
  // A context looked up in these rules, for callers that ask for many parameters of one object.
  class Context {
   private:
    friend class ObjectRules;
    explicit Context(std::size_t index) : m_index(index) {}
    std::size_t m_index;
  };

  // Lists for contexts that are not among the allowed options are left out without a word; asking for them
  // throws.
  explicit ObjectRules(const ObjectRulesDef& def);

  // The parameter that selects the context: "Option" when options are given and no name is; empty without
  // options and name.
  const std::string& getContextRuleName() const { return m_contextRuleName; }
  bool hasContextRule() const { return !m_contextRuleName.empty(); }
  const std::string& getObjectNameRestriction() const { return m_objectNameRestriction; }
  const std::string& getParamNameRestriction() const { return m_paramNameRestriction; }

  // O(log contexts); throws as said above.
  Context findContext(std::string_view context) const { return Context(getContextIndex(context)); }

  // O(log parameters). False for a parameter that is not listed. Without a context a parameter is essential
  // (optional) when it is listed for all contexts at once; and, when the selecting parameter itself is so
  // listed as essential, also when each single context lists it.
  bool isParamEssential(std::string_view param, Context context) const;
  bool isParamOptional(std::string_view param, Context context) const;
  bool isParamAllowed(std::string_view param, Context context) const;  // essential or optional
  bool isParamEssential(std::string_view param, std::string_view context = {}) const;
  bool isParamOptional(std::string_view param, std::string_view context = {}) const;
  bool isParamAllowed(std::string_view param, std::string_view context = {}) const;

  // The essential parameters of the context in name order, then the optional ones. The filter has no effect,
  // on purpose; a parameter that is both stands twice.
  std::vector<std::string> getParamsForContext(std::string_view context, EssOptFilter filter) const;

 private:
  using Mask = std::vector<bool>;  // one bit a context, the last one for none
  using MaskMap = std::map<std::string, Mask, std::less<>>;

  std::size_t getContextIndex(std::string_view context) const;
  std::size_t noContextIndex() const { return m_contexts.size(); }
  void makeMaps(const ObjectRulesDef& def);
  void addNonContextParams(const std::vector<std::string>& names, MaskMap& map) const;
  void addContextParams(const std::string& context, const std::vector<std::string>& names,
                        MaskMap& map) const;
  Mask& getParamMask(const std::string& param, MaskMap& map) const;
  void finaliseMap(MaskMap& map) const;
  static void filterContextMap(Context context, const MaskMap& map, std::vector<std::string>& out);
  static bool isSet(const MaskMap& map, std::string_view param, Context context);

  std::string m_contextRuleName;
  std::vector<std::string> m_contexts;  // sorted; a context's index is its place
  Mask m_defaultMask;                   // all clear
  MaskMap m_essential;
  MaskMap m_optional;
  std::string m_objectNameRestriction;
  std::string m_paramNameRestriction;
};

}  // namespace orv
