// What names in expressions stand for.
#pragma once

#include "platform/ORVExpressions.h"
#include "rules/ExpressionNames.h"

#include <memory>
#include <string>
#include <vector>

namespace orv {

class ExpressionsKSLObject;

// A name is, in this order: another parameter of the object that holds the expression, a named expression, an
// object of the category "variable", whose value is that of its parameter "Value" (seen from the object, else at
// the top level). In force from construction to destruction: until then names have values, too.
class VariableNames : public ExpressionNames {
 public:
  VariableNames();
  ~VariableNames() override;
  VariableNames(const VariableNames&) = delete;
  VariableNames& operator=(const VariableNames&) = delete;

  Uses namesIn(const KSLObject& object, const ParamDefinition& param, const std::string& text) const override;
  Variable findVariable(const KSLObject& from, const std::string& name,
                        std::vector<NameQuestion>& asked) const override;
  // There are no locations and no functions besides those of the language.
  KSLObject* findLocation(const KSLObject& from, const std::string& name) const override;
  KSLObject* findFunction(const KSLObject& from, const std::string& name) const override;

  // Whose value an object that is a variable has.
  static constexpr const char* valueParameter = "Value";
  // Whether calculations of its object leave a parameter's value: nobody sets it, and setting it marks nothing.
  static bool isComputed(const ParamDefinition& param);
  // Whether a name in the text of one of the object's parameters stands for another of its parameters: never for
  // the parameter itself, so that "Chord = Chord" takes the value of an expression of that name, and never for one that
  // is computed, perhaps from this very text.
  static bool isLocal(const KSLObject& object, const std::string& parameter, const std::string& name);
  // Whose expressions count, seen from an object; null when there are none.
  static ExpressionsKSLObject* expressionsFor(const KSLObject& from);
  // The object itself, whether it can be used or not.
  static Variable findObject(const KSLObject& from, const std::string& name,
                             std::vector<NameQuestion>* asked = nullptr);

 private:
  class Resolver;
  std::unique_ptr<Resolver> m_resolver;
};

}  // namespace orv
