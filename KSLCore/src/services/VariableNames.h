// What names in expressions stand for.
#pragma once

#include "platform/ORVExpressions.h"
#include "rules/ExpressionNames.h"

#include <optional>
#include <string>

namespace orv {

// A name is, in this order: another parameter of the object that holds the expression, a named expression, an
// object of the category "variable", whose value is that of its parameter "Value" (seen from the object, else at
// the top level). In force from construction to destruction.
class VariableNames : public ExpressionNames {
 public:
  VariableNames();
  ~VariableNames() override;
  VariableNames(const VariableNames&) = delete;
  VariableNames& operator=(const VariableNames&) = delete;

  Uses namesIn(const KSLObject& object, const ParamDefinition& param, const std::string& text) const override;
  Variable findVariable(const KSLObject& from, const std::string& name) const override;
  // There are no locations and no functions besides those of the language.
  KSLObject* findLocation(const KSLObject& from, const std::string& name) const override;
  KSLObject* findFunction(const KSLObject& from, const std::string& name) const override;
  // Expressions and previews may have waited for it.
  void variableMade() const override;

  // Whether a name in the text of one of the object's parameters stands for another of its parameters: never for
  // the parameter itself, so that "Chord = Chord" takes the value of an expression of that name.
  static bool isLocal(const KSLObject& object, const std::string& parameter, const std::string& name);
  // The value of such a parameter. ksl::cyclicRef, class "VariableNames", "Tried to make object %s (%s)
  // reference itself." (path, parameter) when parameters lead back to one that is being read; data::invalid when
  // they lead too deep.
  static ExpressionValue localValue(const KSLObject& object, const std::string& name);
  // The value of an object; none when there is none of that name. data::invalid, "Expression '%s' tries to use
  // object '%s' as a variable.".
  static std::optional<ExpressionValue> objectValue(const KSLObject& from, const std::string& name,
                                                    const ExpressionDef& expression);
  // The object itself, whether it can be used or not.
  static Variable findObject(const KSLObject& from, const std::string& name);
};

}  // namespace orv
