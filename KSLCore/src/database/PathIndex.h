// Finds the holders of objects by path.
#pragma once

#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "database/ObjectHolder.h"
#include "database/PointerIndex.h"

#include <cstdint>
#include <string_view>

namespace orv {

// A path to look for, or that of an object: a text, or a shared one, which knows its hash and need not be put together.
class PathKey {
 public:
  explicit PathKey(std::string_view text) : m_text(text) {}
  explicit PathKey(const SharedText& path) : m_path(&path) {}
  std::uint32_t hash() const { return m_path ? m_path->hash() : SharedText::hashOf(m_text); }
  bool operator==(const PathKey& other) const
  {
    if (!m_path)
      return other.m_path ? *other.m_path == m_text : other.m_text == m_text;
    return other.m_path ? *m_path == *other.m_path : *m_path == other.m_text;
  }

 private:
  const SharedText* m_path = nullptr;  // null: the text
  std::string_view m_text;
};

struct HashOfPath {
  std::size_t operator()(const PathKey& key) const { return key.hash(); }
};

// The key is the path that the object itself keeps.
struct PathOfHolder {
  PathKey operator()(const ObjectHolder& holder) const
  {
    return PathKey(holder.getObject()->getSharedPath());
  }
};

class PathIndex : public PointerIndex<ObjectHolder, PathOfHolder, PathKey, HashOfPath> {
 public:
  // A long path that was found to be normal, as all above it then are: the next one has most of them in common with it.
  SharedText lastNormal;
};

}  // namespace orv
