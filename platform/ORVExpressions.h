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

// Numbers with units in brackets ("2 [mm]"), + - * / ^, unary signs, parentheses, functions and the constants
// pi and e; docs/expressions.md has the grammar. Dimensions are checked.
class ORV_API ExpressionEvaluator {
 public:
  // The value of a text. Results carry SI base units, or none; a text that is one number with units keeps
  // them as written. Inside a computation "20 [C]" is the absolute temperature, 293.15 K. The result is
  // always finite.
  //
  // Throws data::invalid, class "ExpressionEvaluator", function "evalSingleValue", "Cannot evaluate '%s' for
  // parameter '%s' at column %d: %s." (without "for parameter '%s'" when the name is empty; it only helps the
  // message): the whole text, the first place at fault (in characters, from 1) and the reason. Linear in the
  // text; nesting of parentheses, signs and "^" beyond 256 is refused.
  static Quantity evalSingleValue(const std::string& text, const std::string& parameterName);
};

}  // namespace orv
