// Arrows along the velocity on a cut.
#pragma once

#include "Cut.h"
#include "vec.h"

#include <vector>

namespace flow {

struct Arrow {
  Vec tail;
  Vec velocity;
};

// On a lattice about the middle of the plane, outside the body. Some ten thousand at most: a spacing that
// asks for more is widened.
std::vector<Arrow> arrowsOn(const Cut& cut, double spacing);

}  // namespace flow
