// Copies of objects that write files write files of their own.
#pragma once

#include "actions/CopiedKSLModifer.h"

namespace orv {

// In a copy, the new name is added to the value of every "Output File": "flow.svg" of a copy named "From Above" is
// "flow-From_Above.svg". Else the copy, which is computed at once, would write over the file of its source. And a copy
// is not protected, whatever its source is: it was made a moment ago.
class CopiedOutputFiles : public CopiedKSLModifer {
 public:
  std::vector<std::string> modifyLines(std::vector<std::string> lines, const std::string& newName,
                                       const std::string& oldName, const std::string& type) override;
};

}  // namespace orv
