// Hears of changes of an object's parameters.
#pragma once

#include "platform/ORVExport.h"

#include <string>

namespace orv {

class KSLObject;
class ParamDefinition;

// Told after the change; must not delete the object that it is told of. Never owned by what it observes; it must outlive its registration.
class ORV_API ObjectChangeNotify {
 public:
  virtual ~ObjectChangeNotify();
  // A parameter was set, unset or added.
  virtual void paramChanged(const KSLObject* object, const ParamDefinition* param) = 0;
  // A parameter is no longer set, or no longer there.
  virtual void paramDeleted(const KSLObject* object, const std::string& paramName) = 0;
};

}  // namespace orv
