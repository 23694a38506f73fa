// Takes references to an object out of the parameters that hold them.
#pragma once

namespace orv {

class Dependent;
class DependentUpdates;
class KSLObject;

class ReferenceRemoval {
 public:
  // As KSLObject::addToDependentUpdates. n log n in the tree below the object and in the texts of the parameters
  // that refer to it.
  static void report(const KSLObject& object, DependentUpdates* updates);

 private:
  static void reportOne(const KSLObject& top, const Dependent& dependent, DependentUpdates& updates);
};

}  // namespace orv
