// Takes references to an object out of the parameters that hold them.
#pragma once

namespace orv {

class DependentUpdates;
class KSLObject;

class DependentReferences {
 public:
  // As KSLObject::addToDependentUpdates. n log n in the tree below the object and in the texts of the parameters
  // that refer to it.
  static void report(const KSLObject& object, DependentUpdates* updates);
};

}  // namespace orv
