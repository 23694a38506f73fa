// "> getstate /TYPE:name": prints an object's state text.
#pragma once

#include "command/ActionExecutor.h"

namespace orv {

// "getstate" (short "s") with one object path or top-level name; writes the text of ObjectDB::getState and a
// line end to standard output. A path that names nothing is reported as a warning. ksl::invalid for another
// number of arguments: "Action '%s' requires %d argument(s). Received %d argument(s).".
class ORV_API GetStateExecutor : public ActionExecutor {
 public:
  ~GetStateExecutor() override;
  void invoke(const std::vector<std::string>& words) override;
};

}  // namespace orv
