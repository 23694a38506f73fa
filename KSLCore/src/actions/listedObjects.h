// The objects that a list in an action or in a parameter names.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace orv {

class KSLObject;

// The objects of a list with commas, in its order, empty items left out: an item with a "/" or ":" is a path, any other
// a name. With `squeezed` an item that names nothing also finds the one object whose path, or top-level name, reads the
// same without its white space. `missing` is called with each item that finds nothing, or more than one object.
// O(items), plus once O(objects of the database) when squeezed items have to be looked for.
std::vector<const KSLObject*> listedObjects(const std::string& list, bool squeezed,
                                            const std::function<void(const std::string&)>& missing);

}  // namespace orv
