// The shared path of an object that is being made.
#pragma once

#include "platform/ORVUtilities.h"

#include <string>
#include <string_view>

namespace orv {

// KSLObject::initialize takes the parent's path as a text. Whoever makes an object that the text store has already holds
// its path here meanwhile; an object that is initialised with the very text that is held (the same text object, not an
// equal one), and with the component that the path ends with, shares the path with the store. So the path of a deep object
// need not be put together, and no other object has its text made twice.
class PathAtHand {
 public:
  PathAtHand(const SharedText& path, const std::string& parent);  // live longer
  ~PathAtHand();
  PathAtHand(const PathAtHand&) = delete;
  PathAtHand& operator=(const PathAtHand&) = delete;

  // The path of an object; without a name it is a singleton's.
  static SharedText share(const std::string& parent, const std::string& type, std::string_view name);

 private:
  const SharedText& m_path;
  const std::string& m_parent;
  const PathAtHand* m_outer;
};

}  // namespace orv
