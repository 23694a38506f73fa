// Takes references to an object out of the parameters that hold them.
#pragma once

namespace orv {

class DependentUpdates;
class KSLObject;

class DependentReferences {
 public:
  // As KSLObject::addToDependentUpdates. Linear in the texts of the parameters that refer to the object.
  static void report(const KSLObject& object, DependentUpdates* updates);
};

}  // namespace orv
