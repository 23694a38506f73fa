// Objects that show what an expression gives.
#pragma once

#include "rules/GenericKSLObject.h"

#include <cstdint>
#include <string>

namespace orv {

// The objects of the types "EXPRESSION EVALUATOR" and "EXPRESSION PREVIEW". The parameter "Evaluated Expression" is
// a name or any other expression; its value goes to "Result" and "Result Units", internal parameters, whenever the
// text, anything that it uses or the unit system changes. The units are those of the parameter "User Units" when
// it has a value, else those that the unit system prefers for the dimension, else those of the value; a pure number
// has none. The number reads back as the same double. Own parameters are no variables here.
//
// An error empties both results and is thrown: what ExpressionEvaluator throws, or data::invalid, class
// "ExpressionEvaluatorKSLObject", function "evaluate", "Cannot show expression '%s' of object '%s' in units '%s'.
// %s" (the reason). A preview never throws it: its text becomes the result, and its units are "Error". Names that
// are missing are waited for then.
//
// RULES give the type a scheduler, and name it as the Local Type of "Evaluated Expression", whose type is
// "Expression"; without a scheduler the expression is evaluated by every update of the object.
class ORV_API ExpressionEvaluatorKSLObject : public GenericKSLObject {
 public:
  ExpressionEvaluatorKSLObject();
  ~ExpressionEvaluatorKSLObject() override;

  // Registers a fresh object as base type "ExpressionEvaluatorKSLObject". For the host, before the RULES are
  // processed.
  static void registerBaseType();

  void calculate(const std::string& schedulerType) override;
  void update() override;
  KSLObject* clone() const override;
  void initialize(const std::string& parentPath, const std::string& name) override;
  void initialize(const std::string& name) override;
  bool waitsWithoutError() const noexcept override { return isPreview(); }

 private:
  class UnitSystemWatch;

  // Evaluates all of them anew. Throws the first error of those that are no previews, and leaves the rest to
  // their next update.
  static void unitSystemChanged();
  bool isPreview() const { return typeIs("EXPRESSION PREVIEW"); }
  SchedulerObject* evaluatingScheduler() const;
  void evaluate();
  void showValue(const std::string& text);
  void show(const std::string& result, const std::string& units);

  std::uint64_t m_number = 0;  // among all that were initialised; 0: not yet
};

}  // namespace orv
