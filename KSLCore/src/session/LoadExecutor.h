// The data reader of the demo: the action "load".
#pragma once

#include "command/ActionExecutor.h"

#include <string>
#include <vector>

namespace orv {

// "> load" reads the file that the object "DATA READER" names ("Current Results File") and makes what it tells of: the
// domains of a flow and, inside them, their boundaries. The file is KSL text that holds blocks of these two types and
// nothing else; what was computed in them comes from a formula. Domains that are there already get the file's values;
// those that it does not tell of stay.
//
// A file that is not where it is named is looked for beside the session or state being read. Linear in the file.
class LoadExecutor : public ActionExecutor {
 public:
  // Class "LoadExecutor", function "invoke"; nothing is changed then:
  //   internal::badParam for no words or another action's
  //   data::invalid "There are no results to load: DATA READER names no file."
  //   file::error "Results file '%s' holds '%s', which is no part of a domain." with the line
  // and what the stream throws.
  void invoke(const std::vector<std::string>& p_action) override;
};

}  // namespace orv
