// The expressions library: texts that are computed.
#pragma once

#include "platform/ORVUnits.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv {

class ExpressionProgram;
struct ExpressionFault;

// Whether a number is a point on a scale or the distance of two, which counts in units with a zero point of
// their own, "C" and "F" and gauge pressures. A sum is of the stronger kind of its two, the later here;
// docs/expressions.md has the rules.
enum class ScaleKind : std::uint8_t {
  open,        // computed from other dimensions, and may be either
  difference,  // of two points
  given,       // with units that have no zero point, "K": a point, but beside "C" an amount
  point        // with units that have one
};

// What an expression gives: the quantity as people are told it, and the same in base units, to go on computing
// with. (The units of a quantity may have fractions as exponents, which no text of units can be read from.)
class ORV_API ExpressionValue {
 public:
  ExpressionValue() = default;
  explicit ExpressionValue(double pureNumber) : m_quantity(pureNumber), m_number(pureNumber) {}
  ExpressionValue(double number, const UnitDimensions& dimensions, ScaleKind kind = ScaleKind::open);
  // Throws as UnitsConverter does.
  explicit ExpressionValue(Quantity quantity);

  const Quantity& getQuantity() const { return m_quantity; }
  double getNumber() const { return m_number; }  // in base units
  const UnitDimensions& getDimensions() const { return m_dimensions; }
  ScaleKind getKind() const { return m_kind; }  // a difference is one for the quantity too
  // Has no units at all, not even of an angle.
  bool isPlain() const { return m_plain; }

 private:
  Quantity m_quantity;
  double m_number = 0;
  UnitDimensions m_dimensions;
  ScaleKind m_kind = ScaleKind::open;
  bool m_plain = true;
};

// Numbers with units in brackets ("2 [mm]"), names, + - * / ^, comparisons, signs, parentheses, functions and
// the constants pi and e; docs/expressions.md has the grammar. Dimensions are checked. Results carry SI base
// units, or none; a text that is one number with units, or one name, keeps them as written. Inside a
// computation "20 [C]" is the absolute temperature, 293.15 K, and what is left when one temperature is
// subtracted from another is a difference, which the quantity keeps. Results are always finite.
//
// Errors of this library are of type 4 and class "ExpressionEvaluator", with function "evalSingleValue":
//   data::invalid   "Cannot evaluate '%s' for parameter '%s' at column %d: %s." (without "for parameter '%s'"
//                   when the parameter's name is empty): the whole text, the first place at fault (in
//                   characters, from 1) and the reason
//   data::notFound  "Expression '%s' depends on a variable '%s' which does not exist.", and the same with
//                   "function" for one that is not known

// The text of an expression, and once it is parsed what it says.
class ORV_API ExpressionDef {
 public:
  ExpressionDef() = default;
  explicit ExpressionDef(std::string text) : m_text(std::move(text)) {}
  const std::string& getText() const { return m_text; }
  bool operator==(const ExpressionDef& other) const { return m_text == other.m_text; }

  // Reads the text, once; copies made later share the result. Linear in the text, whatever its shape;
  // parentheses, signs and "^" nested more than 1,000 deep are refused. Throws data::invalid as above; the
  // name of the parameter only helps the message.
  void parse(const std::string& parameterName = {});
  bool isParsed() const { return m_program != nullptr; }

  // REQUIRES for all below: isParsed().

  // The names used, and the functions called that nobody knows, each once, in the order of the text.
  const std::vector<std::string>& getNames() const;
  const std::vector<std::string>& getUnknownFunctions() const;
  // The same expression with the fewest parentheses; it parses to the same tree.
  std::string print() const;
  bool isSameTree(const ExpressionDef& other) const;
  // The value, given those of the names in the order of getNames(). Throws as above. Linear in the text.
  ExpressionValue evaluate(const std::vector<const ExpressionValue*>& values,
                           const std::string& parameterName = {}) const;

  // A text with another name wherever the one stands; a text that cannot be read stays as it is. REQUIRES: isName(to).
  static std::string renamed(const std::string& text, std::string_view from, std::string_view to);

  // Whether a text can name something in an expression: a letter followed by letters, digits, "_", "." and
  // single blanks; no constant and no function.
  static bool isName(std::string_view text);
  // False only for a text, a list perhaps, that surely uses no names and calls nothing: numbers, with units or without,
  // and what is computed of them. Most are, and need not be parsed to know that.
  static bool mayUseNames(std::string_view text) noexcept;

 private:
  std::string m_text;
  std::shared_ptr<const ExpressionProgram> m_program;  // null before it is parsed
};

// Knows what names stand for.
class ORV_API ExpressionResolver {
 public:
  virtual ~ExpressionResolver();
  // The value of a name in an expression that stands in the parameter named (may be empty); none when there
  // is nothing of that name. What it throws passes through the evaluation.
  virtual std::optional<ExpressionValue> valueOf(const std::string& name, const ExpressionDef& expression,
                                                 const std::string& parameterName) = 0;

  // The one in force; null when nobody knows names. Not owned. `install` returns the one before.
  static ExpressionResolver* installed() noexcept;
  static ExpressionResolver* install(ExpressionResolver* resolver) noexcept;
};

class ORV_API ExpressionEvaluator {
 public:
  // The value of a text; names are looked up by the resolver installed. Throws as described above. Linear in
  // the text, and what the look-ups cost.
  static Quantity evalSingleValue(const std::string& text, const std::string& parameterName);
  static ExpressionValue evaluate(const std::string& text, const std::string& parameterName);
};

}  // namespace orv
