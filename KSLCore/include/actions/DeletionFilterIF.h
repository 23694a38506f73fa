// The application's say in what "> delete" deletes.
#pragma once

#include "platform/ORVExport.h"

#include <string>
#include <vector>

namespace orv {

class ORV_API DeletionFilterIF {
 public:
  virtual ~DeletionFilterIF();
  // May take paths out of the list. Asked before paths below others in the list are dropped: a protected
  // child still goes with its parent.
  virtual void filter(std::vector<std::string>& paths) = 0;
};

}  // namespace orv
