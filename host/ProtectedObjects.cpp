#include "ProtectedObjects.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"

namespace {

bool isProtected(const std::string& path)
{
  const orv::KSLObject* object = orv::ObjectDB::instance()->getObjectByPath(path);
  const orv::ParamDefinition* mark = object ? object->lookUpParam("Protected") : nullptr;
  bool readable = false;
  return mark && orv::StringUtilities::isTrue(mark->getValue(), readable);
}

}  // namespace

void ProtectedObjects::filter(std::vector<std::string>& paths)
{
  std::erase_if(paths, [](const std::string& path) {
    const bool kept = isProtected(path);
    if (kept)
      orv::ErrorProgressReporter::instance()->reportError(
          diagnosed(orv::data::invalid("ProtectedObjects", "filter",
                                       orv::_("Object '%s' is protected.", path), orv::errorType::warning),
                    {.object = path, .subject = path}));
    return kept;
  });
}
