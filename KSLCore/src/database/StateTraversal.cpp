#include "database/StateTraversal.h"

#include "platform/ORVException.h"
#include "database/KSLStateLogger.h"
#include "database/RootKSLObject.h"

#include <algorithm>

namespace orv {

ParamInclusion::ParamInclusion(const KSLObject& object, ParamFilter filter, bool strip)
    : m_filter(filter),
      m_strip(strip),
      m_rules(object.getObjectRules())
{
  if (m_rules)
    findContext(object);
}

void ParamInclusion::findContext(const KSLObject& object)
{
  const ParamDefinition* selector =
      m_rules->hasContextRule() ? object.lookUpParam(m_rules->getContextRuleName()) : nullptr;
  try {
    m_context = m_rules->findContext(selector ? std::string_view(selector->getValue()) : std::string_view());
  } catch (const data::invalid&) {
    m_contextUnknown = true;
    m_context = m_rules->findContext({});
  }
}

bool ParamInclusion::isEssential(const ParamDefinition& param) const
{
  return m_rules && m_rules->isParamEssential(param.getName(), *m_context);
}

bool ParamInclusion::isListed(const ParamDefinition& param) const
{
  if (!(m_filter & (param.isInternal() ? internalParams : externalParams)))
    return false;
  return param.isInternal() || !m_rules || m_contextUnknown
         || m_rules->isParamAllowed(param.getName(), *m_context);
}

bool ParamInclusion::includes(const ParamDefinition& param) const
{
  if (m_strip && param.categoryIs("application-param"))
    return false;
  return isListed(param) && (param.hasBeenSet() || isEssential(param));
}

StateTraversal StateTraversal::ofSettings(KSLStateLogger& logger)
{
  StateTraversal traversal(externalParams, false, logger);
  traversal.m_settingsOnly = true;
  return traversal;
}

void StateTraversal::run(const KSLObject& top)
{
  if (dynamic_cast<const RootKSLObject*>(&top))
    pushChildren(top);
  else
    m_pending.push_back({&top, false});
  while (!m_pending.empty()) {
    const Visit visit = m_pending.back();
    m_pending.pop_back();
    if (visit.leaving)
      m_logger.objectEnd(visit.object);
    else
      enter(*visit.object);
  }
}

void StateTraversal::enter(const KSLObject& object)
{
  m_logger.objectBegin(&object);
  tellParameters(object);
  m_pending.push_back({&object, true});
  pushChildren(object);
}

void StateTraversal::tellParameters(const KSLObject& object) const
{
  if (m_settingsOnly)
    return object.forEachParam([&](const ParamDefinition& param) {
      if (param.hasBeenSet() && !param.isInternal())
        m_logger.parameter(&object, &param);
    });
  const ParamInclusion inclusion(object, m_filter, m_strip);
  object.forEachParam([&](const ParamDefinition& param) {
    if (inclusion.includes(param))
      m_logger.parameter(&object, &param);
  });
}

void StateTraversal::pushChildren(const KSLObject& object)
{
  const auto first = static_cast<std::ptrdiff_t>(m_pending.size());
  object.forEachChild([this](KSLObject* child) {
    if (!m_strip || !child->getCategory().isA("application-object"))
      m_pending.push_back({child, false});
  });
  std::reverse(m_pending.begin() + first, m_pending.end());
}

}  // namespace orv
