#include "SaveExecutor.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"

void SaveExecutor::invoke(const std::vector<std::string>& p_action)
{
  if (!m_passedOver)
    return WriteStateExecutor::invoke(p_action);
  std::vector<std::string> arguments(p_action);
  if (!arguments.empty())
    arguments.erase(arguments.begin());
  orv::ErrorProgressReporter::instance()->reportError(
      orv::ErrorMsg("ksl", "replay",
                    orv::_("A recorded '> savestate %s' was passed over. --write-files runs it.",
                           orv::StringUtilities::vectorToString(arguments, std::string_view(", "))),
                    orv::errorType::warning));
}
