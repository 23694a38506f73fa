// "> delete /TYPE:name, ...": deletes objects with all below them.
#pragma once

#include "command/ActionExecutor.h"

namespace orv {

class DeletionFilterIF;

// Arguments are paths, or names of top-level objects; what names nothing (or the root) is passed over. The
// texts are deleted from the store, then "> update" is submitted, and "> setViewportView cmd=update" when the
// host has registered that action. An object that the store does not know is reported (data::notFound, class
// "DeleteExecutor", function "invoke", "%s '%s' does not exist." with "KSL data" and the path, type 8) and
// stays. ksl::invalid "Action '%s' requires at least %d argument(s). Received %d argument(s).". Linear in
// what goes.
class ORV_API DeleteExecutor : public ActionExecutor {
 public:
  explicit DeleteExecutor(DeletionFilterIF* filter = nullptr) : m_filter(filter) {}
  ~DeleteExecutor() override;
  void invoke(const std::vector<std::string>& words) override;

 private:
  DeletionFilterIF* m_filter;  // not owned, null for none
};

}  // namespace orv
