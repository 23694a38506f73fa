// A parsed expression: steps for a machine with a stack, in the order in which they run. Neither running nor
// freeing it nests, however long the text was.
#pragma once

#include "platform/ORVUnits.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

// A number in base units.
struct ExpressionValue {
  double number = 0;
  UnitDimensions dimensions;
};

// Why one step cannot be computed; the program adds the place.
struct ExpressionRefusal {
  std::string reason;
};

struct ExpressionFunction {
  // Gets as many values as the function takes. Throws ExpressionRefusal.
  using Compute = ExpressionValue (*)(const ExpressionFunction& self,
                                      std::span<const ExpressionValue> arguments);
  static constexpr std::size_t any = static_cast<std::size_t>(-1);

  std::string_view name;
  std::size_t minArguments;
  std::size_t maxArguments;
  Compute compute;
  double (*plain)(double) = nullptr;  // for those that map a pure number to another
};

// Null when there is no such function.
const ExpressionFunction* findExpressionFunction(std::string_view name);

// The dimensions as messages name them: "'m s^-1'" or "a pure number".
std::string describeDimensions(const UnitDimensions& dimensions);

class ExpressionProgram {
 public:
  enum class Code { literal, negate, add, subtract, multiply, divide, power, call };

  struct Literal {
    double number;
    std::string units;  // as written; recognized
  };
  struct Step {
    Code code;
    std::size_t position;                          // in the text, for messages
    std::size_t operand = 0;                       // index of the literal; number of arguments
    const ExpressionFunction* function = nullptr;  // for calls
  };

  void addLiteral(std::size_t position, double number, std::string_view units);
  void addStep(const Step& step) { m_steps.push_back(step); }
  // The sign before a number belongs to it: "-20 [C]" is 253.15 K, not -293.15 K.
  void negateLastLiteral();

  // The one literal that is the whole program, else null.
  const Literal* singleLiteral() const;
  // Throws ExpressionFault. The value is finite.
  ExpressionValue run() const;

 private:
  std::vector<Step> m_steps;
  std::vector<Literal> m_literals;
};

}  // namespace orv
