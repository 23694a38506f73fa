// "> debug verbose_on" and "> debug verbose_off": whether the reporter tells what is only worth knowing.
#pragma once

#include "command/ActionExecutor.h"

namespace orv {

// Also under the name "db". Throws ksl::invalid: "Action '%s' requires %d argument(s). Received %d argument(s)." with
// "debug", deliberately of class "ReadSessionExecutor"; "Option '%s' in action '%s' is not recognized.".
class ORV_API DebugExecutor : public ActionExecutor {
 public:
  ~DebugExecutor() override;
  void invoke(const std::vector<std::string>& words) override;
};

}  // namespace orv
