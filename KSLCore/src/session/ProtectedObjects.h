// Objects that a person protects from being deleted.
#pragma once

#include "actions/DeletionFilterIF.h"

namespace orv {

// Takes objects whose parameter "Protected" is on out of what "> delete" is to delete, and says so in a warning:
// data::invalid, class "ProtectedObjects", function "filter", "Object '%s' is protected.", type 8. What undo takes
// back, and what "&replace" builds anew, is not asked for.
class ProtectedObjects : public DeletionFilterIF {
 public:
  void filter(std::vector<std::string>& paths) override;
};

}  // namespace orv
