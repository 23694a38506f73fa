#include "database/ObjectRules.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "database/ObjectRulesDef.h"

#include <algorithm>

namespace orv {

ObjectRules::ObjectRules(const ObjectRulesDef& def)
    : m_contextRuleName(def.getContextRuleName()),
      m_contexts(def.getAllowedOptions().begin(), def.getAllowedOptions().end()),
      m_defaultMask(m_contexts.size() + 1),
      m_objectNameRestriction(def.getObjectNameRestriction()),
      m_paramNameRestriction(def.getParamNameRestriction())
{
  if (!m_contexts.empty() && m_contextRuleName.empty())
    m_contextRuleName = "Option";
  makeMaps(def);
}

std::size_t ObjectRules::getContextIndex(std::string_view context) const
{
  if (context.empty())
    return noContextIndex();
  const auto found = std::lower_bound(m_contexts.begin(), m_contexts.end(), context);
  if (found == m_contexts.end() || *found != context)
    // Told in the definition's name: what is wrong is the value or the options, not the query.
    throw data::invalid("ObjectRulesDef", "getContextIndex",
                        _("Unknown value '%s' of context rule parameter.", context));
  return static_cast<std::size_t>(found - m_contexts.begin());
}

void ObjectRules::makeMaps(const ObjectRulesDef& def)
{
  // The lists without context come first: they set whole masks, into which contexts then add their bits.
  addNonContextParams(def.getEssentialParams(), m_essential);
  addNonContextParams(def.getOptionalParams(), m_optional);
  for (const std::string& context : m_contexts) {
    addContextParams(context, def.getEssentialParams(context), m_essential);
    addContextParams(context, def.getOptionalParams(context), m_optional);
  }
  // An object that always has its selector is always in some context, so what every context says holds
  // outright. Without contexts "every" would be true of any parameter.
  if (m_contexts.empty() || !isSet(m_essential, m_contextRuleName, Context(noContextIndex())))
    return;
  finaliseMap(m_essential);
  finaliseMap(m_optional);
}

void ObjectRules::addNonContextParams(const std::vector<std::string>& names, MaskMap& map) const
{
  for (const std::string& name : names)
    map.insert_or_assign(name, Mask(m_defaultMask.size(), true));
}

void ObjectRules::addContextParams(const std::string& context, const std::vector<std::string>& names,
                                   MaskMap& map) const
{
  const std::size_t index = getContextIndex(context);
  for (const std::string& name : names)
    getParamMask(name, map)[index] = true;
}

ObjectRules::Mask& ObjectRules::getParamMask(const std::string& param, MaskMap& map) const
{
  return map.try_emplace(param, m_defaultMask).first->second;
}

void ObjectRules::finaliseMap(MaskMap& map) const
{
  for (auto& [param, mask] : map) {
    const auto noContext = mask.begin() + static_cast<std::ptrdiff_t>(noContextIndex());
    if (std::find(mask.begin(), noContext, false) == noContext)
      *noContext = true;
  }
}

bool ObjectRules::isSet(const MaskMap& map, std::string_view param, Context context)
{
  const auto found = map.find(param);
  return found != map.end() && found->second[context.m_index];
}

bool ObjectRules::isParamEssential(std::string_view param, Context context) const
{
  return isSet(m_essential, param, context);
}

bool ObjectRules::isParamOptional(std::string_view param, Context context) const
{
  return isSet(m_optional, param, context);
}

bool ObjectRules::isParamAllowed(std::string_view param, Context context) const
{
  return isParamEssential(param, context) || isParamOptional(param, context);
}

bool ObjectRules::isParamEssential(std::string_view param, std::string_view context) const
{
  return isParamEssential(param, findContext(context));
}

bool ObjectRules::isParamOptional(std::string_view param, std::string_view context) const
{
  return isParamOptional(param, findContext(context));
}

bool ObjectRules::isParamAllowed(std::string_view param, std::string_view context) const
{
  return isParamAllowed(param, findContext(context));
}

std::vector<std::string> ObjectRules::getParamsForContext(std::string_view context, EssOptFilter) const
{
  const Context found = findContext(context);
  std::vector<std::string> params;
  filterContextMap(found, m_essential, params);
  filterContextMap(found, m_optional, params);
  return params;
}

void ObjectRules::filterContextMap(Context context, const MaskMap& map, std::vector<std::string>& out)
{
  for (const auto& [param, mask] : map) {
    if (mask[context.m_index])
      out.push_back(param);
  }
}

}  // namespace orv
