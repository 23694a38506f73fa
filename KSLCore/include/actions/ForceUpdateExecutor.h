// "> forceupdate PATH, …": recomputes objects although nothing changed.
#pragma once

#include "command/ActionExecutor.h"

namespace orv {

class Executive;

// Also under the name "fu". Takes object paths, also in the form of old versions, and names; see
// Executive::forceUpdate, which reports what cannot be updated. Failures are of class "ForceUpdateExecutor",
// function "invoke", type 4: those of every executor; ksl::invalid, "Action '%s' requires at least %d
// argument(s). Received %d argument(s)." with "forceupdate"; internal::error, "Pointer to Executive not set.".
class ORV_API ForceUpdateExecutor : public ActionExecutor {
 public:
  explicit ForceUpdateExecutor(Executive* executive) : m_executive(executive) {}
  ~ForceUpdateExecutor() override;
  void invoke(const std::vector<std::string>& words) override;

 private:
  Executive* m_executive;  // not owned
};

}  // namespace orv
