// The expressions library: texts that are computed.
#pragma once

#include "platform/ORVUnits.h"

#include <string>

namespace orv {

// The text of an expression.
class ORV_API ExpressionDef {
 public:
  ExpressionDef() = default;
  explicit ExpressionDef(std::string text) : m_text(std::move(text)) {}
  const std::string& getText() const { return m_text; }
  bool operator==(const ExpressionDef&) const = default;

 private:
  std::string m_text;
};

// Numbers with units in brackets ("2 [mm]"), + - * / ^, unary minus, parentheses, functions and the constants pi and e;
// see docs/language.md for the grammar. Dimensions are checked.
class ORV_API ExpressionEvaluator {
 public:
  // The value of a text. The parameter's name only helps messages. Results carry SI base units, or none; a text that is
  // one number with units keeps them. Throws data::invalid, class "ExpressionEvaluator", function "evalSingleValue",
  // naming the text, the place and the reason. Linear in the text; nesting is limited (256) and then refused.
  static Quantity evalSingleValue(const std::string& text, const std::string& parameterName);
};

}  // namespace orv
