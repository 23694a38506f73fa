// What was asked of the tree to find out what a name means.
#pragma once

#include <string>

namespace orv {

class KSLObject;

// The children of a place that have a name: who comes or goes there under it changes the answer. Without a place:
// whether an expression has the name.
struct NameQuestion {
  const KSLObject* place = nullptr;
  std::string name;
};

}  // namespace orv
