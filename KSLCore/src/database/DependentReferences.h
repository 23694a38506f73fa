// Takes references to an object out of the parameters that hold them.
#pragma once

namespace orv {

class DependentUpdates;
class KSLObject;
class ParamDefinition;

class DependentReferences {
 public:
  // As KSLObject::addToDependentUpdates. n log n in the tree below the object and in the texts of the parameters
  // that refer to it.
  static void report(const KSLObject& object, DependentUpdates* updates);

  // Whether names in the parameter's text are variables. Who is no expression refers to objects, if to anything.
  static bool isExpression(const ParamDefinition& param);
};

}  // namespace orv
