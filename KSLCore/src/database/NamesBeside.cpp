#include "database/NamesBeside.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "database/ObjectDB.h"

#include <utility>

namespace orv {

Diagnostic unknownObject(const std::string& pathOrName)
{
  const bool isPath = pathOrName.starts_with('/');
  const KSLObject* parent =
      isPath ? ObjectDB::instance()->getObjectByPath(std::string(PathUtils::parentPath(pathOrName)))
             : ObjectDB::instance()->getRoot();
  std::vector<std::string> names;
  if (parent)
    parent->forEachChild(
        [&](const KSLObject* child) { names.push_back(isPath ? child->getPath() : child->getName()); });
  Diagnostic more = oneOf(pathOrName, std::move(names));
  more.valid.clear();
  return more;
}

Diagnostic severalObjects(std::string_view name, const std::vector<KSLObject*>& candidates)
{
  Diagnostic more;
  more.subject = name;
  for (const KSLObject* candidate : candidates)
    more.notes.push_back({0, 0, _("it may be '%s'", candidate->getPath())});
  return more;
}

}  // namespace orv
