#include "database/DependentReferences.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVUtilities.h"
#include "database/DependentUpdates.h"
#include "database/KSLObject.h"
#include "database/ObjectDB.h"

#include <string>
#include <vector>

namespace orv {

namespace {

// What a relative path leads to; null for a text that is none, or that names nothing or several objects.
const KSLObject* tryRelative(const KSLObject& from, const std::string& path)
{
  try {
    return from.getRelativeObject(path);
  } catch (const data::error&) {
    return nullptr;
  }
}

// The object that a list item names: by its full path, inside the remote path of the parameter, seen from its
// object, or at the top level.
const KSLObject* referencedObject(const KSLObject& from, const ParamDefinition& param,
                                  const std::string& item)
{
  const std::string name(StringUtilities::unquoted(item));
  if (name.empty())
    return nullptr;
  if (name.front() == '/')
    return ObjectDB::instance()->getObjectByPath(name);
  if (!param.getRemotePath().empty()) {
    if (const KSLObject* found = tryRelative(from, param.getRemotePath() + "/" + name))
      return found;
  }
  if (const KSLObject* found = tryRelative(from, name))
    return found;
  return tryRelative(*ObjectDB::instance()->getRoot(), name);
}

void reportOne(const KSLObject& object, const Dependent& dependent, DependentUpdates& updates)
{
  const KSLObject* holder = ObjectDB::instance()->getObjectByPath(dependent.getObjPath());
  const ParamDefinition* param = holder ? holder->lookUpParam(dependent.getParamName()) : nullptr;
  if (!param)
    return;
  const std::vector<std::string> items = param->splitValue();
  std::vector<std::string> kept;
  for (const std::string& item : items) {
    if (referencedObject(*holder, *param, item) != &object)
      kept.push_back(item);
  }
  if (kept.size() < items.size())
    updates.setModifiedParam(dependent.getObjPath(), dependent.getParamName(),
                             StringUtilities::vectorToString(kept, ','), param->isInternal());
}

}  // namespace

void DependentReferences::report(const KSLObject& object, DependentUpdates* updates)
{
  if (!updates)
    throw internal::nullPointer("KSLObject", "addToDependentUpdates",
                                _("Input parameter %s is a null pointer.", "p_updates"));
  for (const Dependent& dependent : object.getDependents())
    reportOne(object, dependent, *updates);
}

}  // namespace orv
