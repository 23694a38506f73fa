// The graph of schedulers, for programs that draw.
#pragma once

#include <string>

namespace orv {
class ObjectDB;
}

// All objects with their schedulers, in the DOT language: a cluster for each object that has schedulers, a plain
// node for any other; a node for each scheduler, dashed and told when it is pending; an edge for each pair that
// is linked, with the number of links when there are several. The same text for the same objects, whatever the
// order in which they came. O(n log n).
std::string graphText(const orv::ObjectDB& database);
