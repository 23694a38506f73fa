// Who has to know which objects there are.
#pragma once

#include "platform/ORVExport.h"

namespace orv {

class KSLObject;

// Hears of every object that comes into a database or leaves it, until the database ends.
class ORV_API ObjectWatch {
 public:
  virtual ~ObjectWatch();
  // The object stands in its place.
  virtual void objectAdded(KSLObject& object) noexcept = 0;
  // The object is about to leave its place and end; it has no children any more.
  virtual void objectGoing(KSLObject& object) noexcept = 0;
};

}  // namespace orv
