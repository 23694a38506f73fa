// Receives the state of a subtree of objects.
#pragma once

#include "platform/ORVExport.h"

namespace orv {

class KSLObject;
class ParamDefinition;

// Called by KSLObject::traverseState: begin, the object's parameters in name order, its children (begin … end
// each), end. Must not change the objects meanwhile.
class ORV_API KSLStateLogger {
 public:
  virtual ~KSLStateLogger();
  virtual void objectBegin(const KSLObject* object) = 0;
  virtual void parameter(const KSLObject* object, const ParamDefinition* param) = 0;
  virtual void objectEnd(const KSLObject* object) = 0;
};

}  // namespace orv
