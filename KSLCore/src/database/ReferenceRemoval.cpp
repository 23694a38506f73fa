#include "database/ReferenceRemoval.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVUtilities.h"
#include "database/DependentUpdates.h"
#include "database/FormulaNames.h"
#include "database/KSLObject.h"
#include "database/ObjectDB.h"
#include "database/ReferenceResolver.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

namespace {

// Who refers to the object or to anything below it. Who goes with it has nothing to rewrite.
DependentSet dependentsOfTree(const KSLObject& top)
{
  DependentSet dependents;
  std::vector<const KSLObject*> waiting{&top};
  while (!waiting.empty()) {
    const KSLObject* object = waiting.back();
    waiting.pop_back();
    for (const Dependent& dependent : object->getDependents()) {
      if (!dependent.getSharedPath().isSameOrBelow(top.getSharedPath()))
        dependents.insert(dependent);
    }
    object->forEachChild([&waiting](const KSLObject* child) { waiting.push_back(child); });
  }
  return dependents;
}

// Items are compared by what they name, not by how they name it.
bool namesAnyOf(const KSLObject& top, const KSLObject* found)
{
  return found && found->getSharedPath().isSameOrBelow(top.getSharedPath());
}

// What the parameter becomes when nothing is left of its value and it may not be empty.
std::string replacementFor(const KSLObject& top, const KSLObject& holder, const ParamDefinition& param)
{
  const std::string& start = param.getDefaultValue();
  if (param.isAllowedValue({}) || !param.isAllowedValue(start))
    return {};
  const ReferenceResolver resolver(holder, param, true);
  for (const std::string& item : ParamDefinition::splitValue(start)) {
    if (namesAnyOf(top, resolver.find(item).object))
      return {};
  }
  return start;
}

DependentUpdates::References referencesOf(const KSLObject& top, const KSLObject& holder,
                                          const ParamDefinition& param,
                                          const std::vector<const KSLObject*>& named)
{
  DependentUpdates::References references;
  std::vector<std::string> items = param.splitValue();
  for (std::size_t i = 0; i < items.size() && i < named.size(); ++i)
    references.items.push_back({named[i] ? named[i]->getPath() : std::string(), std::move(items[i])});
  std::sort(references.items.begin(), references.items.end(),
            [](const auto& a, const auto& b) { return a.path < b.path; });
  references.value = param.getValue();
  references.whenEmpty = replacementFor(top, holder, param);
  references.internal = param.isInternal();
  references.reportedAt = ObjectDB::instance()->changeCount();
  return references;
}

}  // namespace

// Expressions and formulas do not survive without one of their names, and a default waits for what it names.
void ReferenceRemoval::reportOne(const KSLObject& top, const Dependent& dependent, DependentUpdates& updates)
{
  const KSLObject* holder = ObjectDB::instance()->getObjectByPath(dependent.getSharedPath());
  const ParamDefinition* param = holder ? holder->lookUpParam(dependent.getParamName()) : nullptr;
  if (!param || param->isExpression() || FormulaNames::isFormula(*param)
      || param->getValue() == param->getDefaultValue())
    return;
  updates.setGoing(top.getPath(), dependent.getObjPath(), *param,
                   [&] { return referencesOf(top, *holder, *param, holder->namedObjects(*param)); });
}

void ReferenceRemoval::report(const KSLObject& object, DependentUpdates* updates)
{
  if (!updates)
    throw internal::nullPointer("KSLObject", "addToDependentUpdates",
                                _("Input parameter %s is a null pointer.", "p_updates"));
  for (const Dependent& dependent : dependentsOfTree(object))
    reportOne(object, dependent, *updates);
}

}  // namespace orv
