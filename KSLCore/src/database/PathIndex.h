// Finds the holders of objects by path.
#pragma once

#include "database/KSLObject.h"
#include "database/ObjectHolder.h"
#include "database/PointerIndex.h"

#include <cstdint>
#include <string_view>

namespace orv {

// A path and its hash, which a shared text knows.
struct PathKey {
  explicit PathKey(std::string_view path) : text(path), hash(SharedText::hashOf(path)) {}
  explicit PathKey(const SharedText& path) : text(path.str()), hash(path.hash()) {}
  bool operator==(const PathKey& other) const
  {
    return text.data() == other.text.data() ? text.size() == other.text.size() : text == other.text;
  }

  std::string_view text;
  std::uint32_t hash;
};

struct HashOfPath {
  std::size_t operator()(const PathKey& key) const { return key.hash; }
};

// The key is the path that the object itself keeps.
struct PathOfHolder {
  PathKey operator()(const ObjectHolder& holder) const
  {
    return PathKey(holder.getObject()->getSharedPath());
  }
};

class PathIndex : public PointerIndex<ObjectHolder, PathOfHolder, PathKey, HashOfPath> {};

}  // namespace orv
