// A parsed expression: steps for a machine with a stack, in the order in which they run. Neither running nor
// printing nor freeing it nests, however long the text was.
//
// There are two machines. The first knows numbers only: it runs when nothing in the program has units, and gives
// up without a reason as soon as a number is not finite. The second checks dimensions and says what is wrong.
#pragma once

#include "platform/ORVExpressions.h"
#include "platform/ORVUnits.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orv {

// What the second machine computes with: a number in base units.
struct ExpressionOperand {
  static constexpr std::size_t noFault = static_cast<std::size_t>(-1);

  double number = 0;
  UnitDimensions dimensions;
  // Why there is no number, as an index; the number is NaN then. "if" may still drop such a value, so dimensions
  // are computed on: they must fit in both branches.
  std::size_t fault = noFault;
  ScaleKind kind = ScaleKind::open;
};

// Why one step cannot be computed at all; the program adds the place.
struct ExpressionRefusal {
  std::string reason;
};

// Why a step gives no number, and what dimensions it would have.
struct ExpressionUndefined {
  std::string reason;
  UnitDimensions dimensions = {};
};

struct ExpressionFunction {
  // Gets as many values as the function takes. Throws ExpressionRefusal and ExpressionUndefined. Where a number
  // is NaN only the dimensions count, and nothing is undefined.
  using Compute = ExpressionOperand (*)(const ExpressionFunction& self,
                                        std::span<const ExpressionOperand> arguments);
  static constexpr std::size_t any = static_cast<std::size_t>(-1);

  std::string_view name;
  std::size_t minArguments;
  std::size_t maxArguments;
  Compute compute;
  // For pure numbers: of one argument, or else of all. What is undefined gives no finite number.
  double (*plain)(double) = nullptr;
  double (*plainOfAll)(const double* arguments, std::size_t count) = nullptr;
};

// Of a number written with these units.
ScaleKind literalKind(std::string_view units);
// Of one of these values, whichever it is: a difference when one of them is.
ScaleKind commonKind(std::span<const ExpressionOperand> values);

// Null when there is no such function.
const ExpressionFunction* findExpressionFunction(std::string_view name);

// The dimensions as messages name them: "'m s^-1'" or "a pure number".
std::string describeDimensions(const UnitDimensions& dimensions);

class ExpressionProgram {
 public:
  enum class Code : std::uint8_t {
    literal,
    name,
    negate,
    add,
    subtract,
    multiply,
    divide,
    power,
    less,
    lessOrEqual,
    greater,
    greaterOrEqual,
    equal,
    notEqual,
    call,
    unknownCall
  };

  struct Literal {
    double number = 0;
    std::string units;  // as written; recognized
    ExpressionOperand base = {};
    bool tooLarge = false;  // in base units
  };
  struct Step {
    Code code;
    std::size_t position;                          // in the text, for messages
    std::uint32_t operand = 0;                     // index of the literal or name; number of arguments
    const ExpressionFunction* function = nullptr;  // for calls
    std::uint32_t unknown = 0;                     // for unknown calls: index of the function's name
  };

  void addLiteral(std::size_t position, double number, std::string_view units);
  void addName(std::size_t position, std::string_view name);
  void addUnknownCall(std::size_t position, std::string_view name, std::uint32_t arguments);
  void addStep(const Step& step) { m_steps.push_back(step); }
  // The sign before a number belongs to it: "-20 [C]" is 253.15 K, not -293.15 K.
  void negateLastLiteral();
  // To be called when all steps are there.
  void complete();

  const std::vector<std::string>& names() const { return m_names.texts; }
  const std::vector<std::string>& unknownFunctions() const { return m_unknown.texts; }
  std::string print() const;
  bool isSameTree(const ExpressionProgram& other) const;
  // REQUIRES: no unknown functions, and a value for each name. Throws ExpressionFault. The value is finite.
  ExpressionValue run(std::span<const ExpressionValue* const> values) const;

 private:
  struct Names {
    std::vector<std::string> texts;
    std::unordered_map<std::string, std::uint32_t> places;  // when they are many
    std::uint32_t add(std::string_view name);
  };

  // What the first machine reads of a step.
  struct PlainStep {
    Code code;
    std::uint32_t operand;  // index of the name; number of arguments, 0 for `function`
    union {
      double number;                                // of literals
      double (*function)(double);                   // of calls with one argument
      double (*ofAll)(const double*, std::size_t);  // of other calls
    };
  };

  PlainStep plainStep(const Step& step) const;
  bool runPlain(std::span<const ExpressionValue* const> values, double& result) const;
  ExpressionOperand runChecked(std::span<const ExpressionValue* const> values) const;

  std::vector<Step> m_steps;
  std::vector<Literal> m_literals;
  Names m_names;
  Names m_unknown;
  std::size_t m_depth = 0;              // of the stack
  std::vector<PlainStep> m_plainSteps;  // none when a literal has units
};

// How many values a step takes from the stack.
std::size_t argumentCount(const ExpressionProgram::Step& step);

}  // namespace orv
