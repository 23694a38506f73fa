// Where a copy or rename leads.
#pragma once

#include <string>

namespace orv {

struct Relocation {
  std::string from;  // paths
  std::string to;
  bool moves = false;  // a rename: who refers to the one is to refer to the other
};

}  // namespace orv
