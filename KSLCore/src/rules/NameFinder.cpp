#include "rules/NameFinder.h"

#include "platform/ORVError.h"
#include "platform/ORVExpressions.h"
#include "database/FormulaNames.h"
#include "database/ObjectDB.h"
#include "database/ReferenceResolver.h"
#include "rules/GenericKSLObject.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>

namespace orv {

NamedTargets NameFinder::find(const GenericKSLObject& object, const ParamDefinition& param,
                              const std::string& text, std::vector<NameQuestion>& asked)
{
  NameFinder finder(object, param, text, asked);
  finder.m_found.param = &param;
  finder.m_found.isDefault = text == param.getDefaultValue();
  if (!object.holdsExpression(param)) {
    finder.makeParentLinks();
  } else if (ExpressionNames::installed() && ExpressionDef::mayUseNames(text)
             && !param.getAllowedValues().contains(text)) {  // a keyword names nothing
    ExpressionNames::Uses uses = ExpressionNames::installed()->namesIn(object, param, text);
    finder.makeVariableLinks(uses);
    finder.makeLocatorLinks(uses.locations);
    if (!uses.locals.empty())
      finder.m_found.locals = std::make_unique<const std::vector<std::string>>(std::move(uses.locals));
  }
  finder.dropDoubles();
  return std::move(finder.m_found);
}

void NameFinder::note(NamedTargets::Fault fault)
{
  const bool isRefusal = !fault.missing && !m_found.refusal;
  if (m_found.fault && !isRefusal)
    return;
  const auto shared = std::make_shared<const NamedTargets::Fault>(std::move(fault));
  if (isRefusal)
    m_found.refusal = shared;
  if (!m_found.fault)
    m_found.fault = shared;
}

void NameFinder::noteMissing(const char* function, std::string_view name, std::string message)
{
  note({true, false, function, std::move(message), {}, std::string(name)});
}

void NameFinder::noteUnfit(const char* function, std::string_view name, std::string message)
{
  note({false, false, function, std::move(message), {}, std::string(name)});
}

void NameFinder::noteAmbiguous(std::string_view name, const std::vector<KSLObject*>& candidates)
{
  std::vector<std::string> notes{
      _("in parameter '%s' of object '%s'", m_param.getName(), m_object.getPath())};
  for (const KSLObject* candidate : candidates)
    notes.push_back(_("it may be '%s'", candidate->getPath()));
  std::sort(notes.begin() + 1, notes.end());
  note({false, true, "makeParentLinks", _("More than one object with name '%s' exists.", name),
        std::move(notes), std::string(name)});
}

void NameFinder::makeParentLinks()
{
  const ReferenceResolver resolver(m_object, m_param, m_found.isDefault, &m_asked);
  const bool isFormula = FormulaNames::isFormula(m_param);
  for (const std::string& item : FormulaNames::itemsOf(m_param, m_text)) {
    const std::string_view name = isFormula ? std::string_view(item) : StringUtilities::unquoted(item);
    if (name.empty() || m_param.getAllowedValues().contains(item)) {
      m_found.list.emplace_back();
      continue;
    }
    const ReferenceResolver::Hit hit = resolver.findItem(item);
    if (hit.object)
      addTarget(hit.object, hit.fits);
    else
      m_found.list.emplace_back();
    if (!hit.candidates.empty())
      noteAmbiguous(name, hit.candidates);
    else if (!hit.object && !isFormula)
      noteMissing("makeParentLinks", name,
                  _("Object '%s' referred to in '%s' does not exist.", name, m_param.getName()));
  }
}

// `fits`: the object has the scheduler that is asked for.
void NameFinder::addTarget(KSLObject* target, bool fits, const std::string& scheduler, bool marks)
{
  const bool links = m_object.linkedScheduler(*m_param.getRules()) != nullptr;
  const ParamDefinition::Rules& rules = *m_param.getRules();
  const std::string& type = rules.remoteType.empty() ? rules.localType : rules.remoteType;
  NameTarget found;
  if (scheduler.empty() && marks && links && !(fits && target->hasScheduler(type)))
    noteUnfit("makeParentLinks", target->getName(),
              _("Cannot connect parameter %s to object %s(it does not have Scheduler type %s).",
                m_param.getName(), target->getPath(), type));
  else if (target->hasPath())  // the root keeps no dependents
    found.object = target;
  found.scheduler = SharedText(scheduler);
  m_found.usesDefinitions = m_found.usesDefinitions || !scheduler.empty();
  found.marks = marks && links;
  m_found.list.push_back(std::move(found));
  const KSLObject* place = target->getParentObject();
  const bool isAsked =
      !m_asked.empty() && m_asked.back().place == place && m_asked.back().name == target->getName();
  if (!isAsked && target->hasPath() && place != &m_object)  // it is told when the object goes, however named
    m_asked.push_back({place, target->getName()});
}

// Which of its calculations leaves the value nobody says: it is there when all have run.
void NameFinder::addComputed(KSLObject* target)
{
  const auto* computing = dynamic_cast<const GenericKSLObject*>(target);
  if (!computing || computing->getSchedulers().empty())
    return addTarget(target, true, {}, false);
  for (const SchedulerObject& scheduler : computing->getSchedulers())
    addTarget(target, true, scheduler.getType());
}

// Without an expressions service nobody comes here: expressions depend on nothing then.
void NameFinder::makeVariableLinks(const ExpressionNames::Uses& uses)
{
  const ExpressionNames& names = *ExpressionNames::installed();
  constexpr const char* function = "makeVariableLinks";
  for (const std::string& name : uses.variables) {
    const ExpressionNames::Variable variable = names.findVariable(m_object, name, m_asked);
    if (!variable.several.empty())
      noteAmbiguous(name, variable.several);
    else if (!variable.object)
      noteMissing(function, name,
                  _("Expression '%s' depends on a variable '%s' which does not exist.", m_text, name));
    else if (variable.isComputed)
      addComputed(variable.object);
    else if (variable.isVariable)
      addTarget(variable.object, true, variable.scheduler, variable.marks);
    else
      noteUnfit(function, name, _("Expression '%s' tries to use object '%s' as a variable.", m_text, name));
  }
  for (const std::string& name : uses.functions) {
    if (KSLObject* called = names.findFunction(m_object, name))
      addTarget(called, true);
    else
      noteMissing(function, name,
                  _("Expression '%s' depends on a function '%s' which does not exist.", m_text, name));
  }
}

void NameFinder::makeLocatorLinks(const std::vector<std::string>& locations)
{
  const ExpressionNames& names = *ExpressionNames::installed();
  for (const std::string& name : locations) {
    if (KSLObject* location = names.findLocation(m_object, name))
      addTarget(location, true);
    else
      noteMissing("makeLocatorLinks", name,
                  _("Expression '%s' depends on a location '%s' which does not exist.", m_text, name));
  }
}

// An object that is named twice is linked once.
void NameFinder::dropDoubles()
{
  if (m_found.list.size() < 2)
    return;
  std::vector<NameTarget*> sorted;
  sorted.reserve(m_found.list.size());
  for (NameTarget& target : m_found.list) {
    if (target.object)
      sorted.push_back(&target);
  }
  const auto key = [](const NameTarget* target) {
    return std::pair(reinterpret_cast<std::uintptr_t>(target->object),
                     std::string_view(target->scheduler.str()));
  };
  std::sort(sorted.begin(), sorted.end(), [&key](const NameTarget* a, const NameTarget* b) {
    return std::pair(key(a), a) < std::pair(key(b), b);  // the first of the list stays
  });
  for (std::size_t i = 1; i < sorted.size(); ++i) {
    if (key(sorted[i]) == key(sorted[i - 1]))
      sorted[i]->marks = false;
  }
}

}  // namespace orv
