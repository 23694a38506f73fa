// The shared text of a value that is on its way to a parameter.
#pragma once

#include "platform/ORVUtilities.h"

#include <string>

namespace orv {

// KSLObject::setValue takes plain texts. Whoever applies a change holds its value here meanwhile; what then stores the
// very text that is held (the same object, not an equal one) shares it with the text store.
class ValueAtHand {
 public:
  explicit ValueAtHand(const SharedText& text);  // lives longer
  ~ValueAtHand();
  ValueAtHand(const ValueAtHand&) = delete;
  ValueAtHand& operator=(const ValueAtHand&) = delete;

  static SharedText share(const std::string& value);

 private:
  const SharedText* m_outer;
};

}  // namespace orv
