#include "actions/DebugExecutor.h"

#include "platform/ORVError.h"
#include "command/actionChecks.h"

namespace orv {

DebugExecutor::~DebugExecutor() = default;

void DebugExecutor::invoke(const std::vector<std::string>& words)
{
  checkAction(words, {"debug", "db"}, "DebugExecutor");
  checkExactly(words, "debug", 1,
               "ReadSessionExecutor");  // the wrong class is what callers know: kept on purpose
  const std::string& option = words[1];
  if (option != "verbose_on" && option != "verbose_off")
    throw diagnosed(ksl::invalid("DebugExecutor", "invoke",
                                 _("Option '%s' in action '%s' is not recognized.", option, "debug")),
                    oneOf(option, {"verbose_off", "verbose_on"}));
  ErrorProgressReporter::instance()->setVerbose(option == "verbose_on");
}

}  // namespace orv
