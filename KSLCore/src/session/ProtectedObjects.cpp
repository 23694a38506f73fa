#include "ProtectedObjects.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"

namespace orv {

namespace {

bool isProtected(const std::string& path)
{
  const KSLObject* object = ObjectDB::instance()->getObjectByPath(path);
  const ParamDefinition* mark = object ? object->lookUpParam("Protected") : nullptr;
  bool readable = false;
  return mark && StringUtilities::isTrue(mark->getValue(), readable);
}

}  // namespace

void ProtectedObjects::filter(std::vector<std::string>& paths)
{
  std::erase_if(paths, [](const std::string& path) {
    const bool kept = isProtected(path);
    if (kept)
      ErrorProgressReporter::instance()->reportError(
          diagnosed(data::invalid("ProtectedObjects", "filter", _("Object '%s' is protected.", path),
                                  errorType::warning),
                    {.object = path, .subject = path}));
    return kept;
  });
}

}  // namespace orv
