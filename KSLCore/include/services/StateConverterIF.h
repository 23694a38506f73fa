// Conversion of state files of older versions.
#pragma once

#include "platform/ORVExport.h"

#include <string>
#include <vector>

namespace orv {

// For applications that load states of older versions: a loader derived from the one for states calls it from
// componentProcessing, before the lines are entered. The library itself calls it nowhere.
class ORV_API StateConverterIF {
 public:
  virtual ~StateConverterIF();
  // Rewrites the lines of a state file in place, given the line of the file that names its version (empty
  // when it has none). True when anything was changed. What it throws fails the loading.
  virtual bool convert(std::vector<std::string>& lines, const std::string& versionLine) = 0;
};

}  // namespace orv
