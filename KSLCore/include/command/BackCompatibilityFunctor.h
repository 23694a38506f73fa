// Rewrites command text of older versions before it is read.
#pragma once

#include "platform/ORVExport.h"

#include <string>
#include <vector>

namespace orv {

// The default rewrites nothing. A host derives from it and installs it with KSLInterface::setBackFunctor.
class ORV_API BackCompatibilityFunctor {
 public:
  virtual ~BackCompatibilityFunctor();
  // The lines of one block, continuations joined and update actions inserted; may be rewritten in place.
  // `perBlock` tells that changes are applied after each top-level block. What it throws fails the command.
  virtual void operator()(std::vector<std::string>& lines, bool perBlock) const;
};

}  // namespace orv
