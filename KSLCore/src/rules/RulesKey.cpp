#include "RulesKey.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"

namespace orv {

void warnOfMisspeltKey(const KSLAPI::ObjectInfo& key, std::vector<std::string> known)
{
  known.insert(known.end(), {"Description", "Allowed Parent List", "Optional Child List", "Rules Option"});
  const std::string& name = key.getName();
  Diagnostic more = oneOf(name, std::move(known));
  if (more.suggestion.empty())
    return;
  const std::string& path = key.getPath();
  more.object = path.substr(0, path.size() - name.size() - 1);
  more.parameter = name;
  more.valid.clear();
  ErrorMsg warning("KSLRules", "process",
                   _("Key '%s' of definition '%s' is not recognized.", name, more.object),
                   errorType::warning);
  warning.setDiagnostic(std::make_shared<const Diagnostic>(std::move(more)));
  ErrorProgressReporter::instance()->reportError(warning);
}

}  // namespace orv
