// Texts of long paths, one after the other.
#pragma once

#include "platform/ORVUtilities.h"

#include <string>

namespace orv {

// Trees are gone through level by level: the text of a path is made from that of the one before, when this is the parent
// or a sibling. So the texts of all levels of a deep tree take the memory of one, and no time with the square of the depth.
class PathText {
 public:
  // Good until it is asked for another.
  const std::string& of(const SharedText& path)
  {
    if (path.isWhole())
      return path.str();
    if (path.same(m_path))
      return m_text;
    const SharedText parent = path.parent();
    if (parent.same(m_path) || parent.same(m_path.parent()))
      m_text.resize(parent.size());
    else
      m_text = parent.copy();
    m_path = parent;
    m_text += path.component();
    m_path = path;
    return m_text;
  }

 private:
  SharedText m_path;
  std::string m_text;  // of it
};

}  // namespace orv
