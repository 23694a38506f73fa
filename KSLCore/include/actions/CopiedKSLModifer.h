// The application's say in what a copy becomes.
#pragma once

#include "platform/ORVExport.h"

#include <string>
#include <vector>

namespace orv {

class ORV_API CopiedKSLModifer {
 public:
  virtual ~CopiedKSLModifer();
  // Receives the lines of a copied object's block, header and END and those of all objects inside included, each
  // whole and without a line end; the header shows the new name already. Returns the lines to use instead: as a rule
  // the same with some values changed, such as the name of a file that the object writes. A singleton's name is its
  // type. What it throws fails the action before anything is changed.
  virtual std::vector<std::string> modifyLines(std::vector<std::string> lines, const std::string& newName,
                                               const std::string& oldName, const std::string& type) = 0;
};

}  // namespace orv
