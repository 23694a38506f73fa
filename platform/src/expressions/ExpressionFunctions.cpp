#include "platform/ORVError.h"
#include "platform/ORVExpressionFunctions.h"
#include "ExpressionProgram.h"

#include <algorithm>
#include <cmath>

namespace orv {

namespace {

using Operand = ExpressionOperand;
using Function = ExpressionFunction;
using Operands = std::span<const ExpressionOperand>;

double pureNumber(const Function& self, const Operand& value)
{
  if (!value.dimensions.isDimensionless())
    throw ExpressionRefusal{
        _("function '%s' needs a pure number, not %s", self.name, describeDimensions(value.dimensions))};
  return value.number;
}

void requireEqualDimensions(const Function& self, Operands arguments)
{
  for (const Operand& value : arguments) {
    if (value.dimensions != arguments[0].dimensions)
      throw ExpressionRefusal{_("function '%s' cannot take %s together with %s", self.name,
                                describeDimensions(arguments[0].dimensions),
                                describeDimensions(value.dimensions))};
  }
}

Operand computePlain(const Function& self, Operands arguments)
{
  return {self.plain(pureNumber(self, arguments[0])), {}};
}

Operand computeArc(const Function& self, Operands arguments)
{
  double number = pureNumber(self, arguments[0]);
  if (number < -1 || number > 1)
    throw ExpressionUndefined{_("function '%s' needs a number from -1 to 1", self.name)};
  return {self.plain(number), {}};
}

Operand computeLogarithm(const Function& self, Operands arguments)
{
  double number = pureNumber(self, arguments[0]);
  if (number < 0)
    throw ExpressionUndefined{"logarithm of a negative number"};
  if (number == 0)
    throw ExpressionUndefined{"logarithm of zero"};
  return {self.plain(number), {}};
}

Operand computeRoot(const Function&, Operands arguments)
{
  const UnitDimensions dimensions = arguments[0].dimensions.power(0.5);
  if (arguments[0].number < 0)
    throw ExpressionUndefined{"square root of a negative number", dimensions};
  return {std::sqrt(arguments[0].number), dimensions};
}

Operand computeAbs(const Function&, Operands arguments)
{
  return {std::abs(arguments[0].number), arguments[0].dimensions, Operand::noFault, arguments[0].kind};
}

bool isLess(const Operand& a, const Operand& b)
{
  return a.number < b.number;
}

Operand chosenOf(const Operand& chosen, Operands arguments)
{
  Operand result = chosen;
  result.kind = commonKind(arguments);
  return result;
}

Operand computeMin(const Function& self, Operands arguments)
{
  requireEqualDimensions(self, arguments);
  return chosenOf(*std::min_element(arguments.begin(), arguments.end(), isLess), arguments);
}

Operand computeMax(const Function& self, Operands arguments)
{
  requireEqualDimensions(self, arguments);
  return chosenOf(*std::max_element(arguments.begin(), arguments.end(), isLess), arguments);
}

// The remainder of the division truncated toward zero, so it has the sign of the first argument.
Operand computeMod(const Function& self, Operands arguments)
{
  requireEqualDimensions(self, arguments);
  if (arguments[1].number == 0)
    throw ExpressionUndefined{"division by zero", arguments[0].dimensions};
  return {std::fmod(arguments[0].number, arguments[1].number), arguments[0].dimensions, Operand::noFault,
          arguments[0].kind};
}

Operand computeAtan2(const Function& self, Operands arguments)
{
  requireEqualDimensions(self, arguments);
  return {std::atan2(arguments[0].number, arguments[1].number), {}};
}

// Both branches are computed, so that their dimensions are checked; what is undefined in the one not chosen does
// not matter.
Operand computeIf(const Function& self, Operands arguments)
{
  const double condition = pureNumber(self, arguments[0]);
  requireEqualDimensions(self, arguments.subspan(1));
  return chosenOf(arguments[condition != 0 ? 1 : 2], arguments.subspan(1));
}

double plainMin(const double* arguments, std::size_t count)
{
  return *std::min_element(arguments, arguments + count);
}

double plainMax(const double* arguments, std::size_t count)
{
  return *std::max_element(arguments, arguments + count);
}

double plainMod(const double* arguments, std::size_t)
{
  return std::fmod(arguments[0], arguments[1]);
}

double plainAtan2(const double* arguments, std::size_t)
{
  return std::atan2(arguments[0], arguments[1]);
}

double plainIf(const double* arguments, std::size_t)
{
  return arguments[arguments[0] != 0 ? 1 : 2];
}

using std::acos, std::asin, std::atan, std::ceil, std::cos, std::cosh, std::exp, std::fabs, std::floor,
    std::log, std::log10, std::sin, std::sinh, std::tan, std::tanh, std::trunc;

constexpr Function functions[] = {
    {"sin", 1, 1, computePlain, sin},
    {"cos", 1, 1, computePlain, cos},
    {"tan", 1, 1, computePlain, tan},
    {"asin", 1, 1, computeArc, asin},
    {"acos", 1, 1, computeArc, acos},
    {"atan", 1, 1, computePlain, atan},
    {"atan2", 2, 2, computeAtan2, nullptr, plainAtan2},
    {"sinh", 1, 1, computePlain, sinh},
    {"cosh", 1, 1, computePlain, cosh},
    {"tanh", 1, 1, computePlain, tanh},
    {"exp", 1, 1, computePlain, exp},
    {"log", 1, 1, computeLogarithm, log},
    {"log10", 1, 1, computeLogarithm, log10},
    {"sqrt", 1, 1, computeRoot, sqrt},
    {"abs", 1, 1, computeAbs, fabs},
    {"min", 1, Function::any, computeMin, nullptr, plainMin},
    {"max", 1, Function::any, computeMax, nullptr, plainMax},
    {"mod", 2, 2, computeMod, nullptr, plainMod},
    {"if", 3, 3, computeIf, nullptr, plainIf},
    {"int", 1, 1, computePlain, trunc},
    {"floor", 1, 1, computePlain, floor},
    {"ceil", 1, 1, computePlain, ceil},
};

}  // namespace

ScaleKind literalKind(std::string_view units)
{
  return UnitsConverter::hasZeroPoint(units) ? ScaleKind::point : ScaleKind::given;
}

ScaleKind commonKind(std::span<const ExpressionOperand> values)
{
  ScaleKind kind = ScaleKind::open;
  for (const ExpressionOperand& value : values) {
    if (value.kind == ScaleKind::difference)
      return value.kind;
    kind = std::max(kind, value.kind);
  }
  return kind;
}

const ExpressionFunction* findExpressionFunction(std::string_view name)
{
  const Function* found = std::find_if(std::begin(functions), std::end(functions),
                                       [name](const Function& function) { return function.name == name; });
  return found == std::end(functions) ? nullptr : found;
}

std::vector<std::string> expressionFunctionNames()
{
  std::vector<std::string> names;
  for (const Function& function : functions)
    names.emplace_back(function.name);
  return names;
}

std::string describeDimensions(const UnitDimensions& dimensions)
{
  return dimensions.isDimensionless() ? "a pure number" : "'" + dimensions.toUnits() + "'";
}

}  // namespace orv
