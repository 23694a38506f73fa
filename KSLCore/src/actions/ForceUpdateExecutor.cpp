#include "actions/ForceUpdateExecutor.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "command/Executive.h"
#include "command/actionChecks.h"

#include <algorithm>
#include <iterator>

namespace orv {

ForceUpdateExecutor::~ForceUpdateExecutor() = default;

void ForceUpdateExecutor::invoke(const std::vector<std::string>& words)
{
  checkAction(words, {"forceupdate", "fu"}, "ForceUpdateExecutor");
  checkAtLeast(words, "forceupdate", 1, "ForceUpdateExecutor");
  if (!assertThat(m_executive != nullptr, "m_executive", "KSLCore/src/ForceUpdateExecutor"))
    throw internal::error("ForceUpdateExecutor", "invoke", _("Pointer to Executive not set."));
  std::vector<std::string> objects;
  std::transform(words.begin() + 1, words.end(), std::back_inserter(objects), namedPath);
  m_executive->forceUpdate(StringUtilities::stringToVector(
      PathUtils::normalisePathsBwdComp(StringUtilities::vectorToString(objects, ',')), ','));
}

}  // namespace orv
