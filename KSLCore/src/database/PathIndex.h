// Finds the holders of objects by path.
#pragma once

#include "database/KSLObject.h"
#include "database/ObjectHolder.h"
#include "database/PointerIndex.h"

#include <string_view>

namespace orv {

// The key is the path that the object itself keeps.
struct PathOfHolder {
  std::string_view operator()(const ObjectHolder& holder) const { return holder.getObject()->getPath(); }
};

class PathIndex : public PointerIndex<ObjectHolder, PathOfHolder> {};

}  // namespace orv
