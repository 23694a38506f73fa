#include "platform/ORVError.h"
#include "ExpressionProgram.h"

#include <algorithm>
#include <cmath>

namespace orv {

namespace {

using Value = ExpressionValue;
using Function = ExpressionFunction;
using Arguments = std::span<const ExpressionValue>;

double pureNumber(const Function& self, const Value& value)
{
  if (!value.dimensions.isDimensionless())
    throw ExpressionRefusal{
        _("function '%s' needs a pure number, not %s", self.name, describeDimensions(value.dimensions))};
  return value.number;
}

void requireEqualDimensions(const Function& self, Arguments arguments)
{
  for (const Value& value : arguments) {
    if (value.dimensions != arguments[0].dimensions)
      throw ExpressionRefusal{_("function '%s' cannot take %s together with %s", self.name,
                                describeDimensions(arguments[0].dimensions),
                                describeDimensions(value.dimensions))};
  }
}

Value computePlain(const Function& self, Arguments arguments)
{
  return {self.plain(pureNumber(self, arguments[0])), {}};
}

Value computeArc(const Function& self, Arguments arguments)
{
  double number = pureNumber(self, arguments[0]);
  if (number < -1 || number > 1)
    throw ExpressionRefusal{_("function '%s' needs a number from -1 to 1", self.name)};
  return {self.plain(number), {}};
}

Value computeLogarithm(const Function& self, Arguments arguments)
{
  double number = pureNumber(self, arguments[0]);
  if (number < 0)
    throw ExpressionRefusal{"logarithm of a negative number"};
  if (number == 0)
    throw ExpressionRefusal{"logarithm of zero"};
  return {self.plain(number), {}};
}

Value computeRoot(const Function&, Arguments arguments)
{
  if (arguments[0].number < 0)
    throw ExpressionRefusal{"square root of a negative number"};
  return {std::sqrt(arguments[0].number), arguments[0].dimensions.power(0.5)};
}

Value computeAbs(const Function&, Arguments arguments)
{
  return {std::abs(arguments[0].number), arguments[0].dimensions};
}

bool isLess(const Value& a, const Value& b)
{
  return a.number < b.number;
}

Value computeMin(const Function& self, Arguments arguments)
{
  requireEqualDimensions(self, arguments);
  return *std::min_element(arguments.begin(), arguments.end(), isLess);
}

Value computeMax(const Function& self, Arguments arguments)
{
  requireEqualDimensions(self, arguments);
  return *std::max_element(arguments.begin(), arguments.end(), isLess);
}

// The remainder of the division truncated toward zero, so it has the sign of the first argument.
Value computeMod(const Function& self, Arguments arguments)
{
  requireEqualDimensions(self, arguments);
  if (arguments[1].number == 0)
    throw ExpressionRefusal{"division by zero"};
  return {std::fmod(arguments[0].number, arguments[1].number), arguments[0].dimensions};
}

Value computeAtan2(const Function& self, Arguments arguments)
{
  requireEqualDimensions(self, arguments);
  return {std::atan2(arguments[0].number, arguments[1].number), {}};
}

using std::acos, std::asin, std::atan, std::ceil, std::cos, std::cosh, std::exp, std::floor, std::log,
    std::log10, std::sin, std::sinh, std::tan, std::tanh, std::trunc;

constexpr Function functions[] = {
    {"sin", 1, 1, computePlain, sin},
    {"cos", 1, 1, computePlain, cos},
    {"tan", 1, 1, computePlain, tan},
    {"asin", 1, 1, computeArc, asin},
    {"acos", 1, 1, computeArc, acos},
    {"atan", 1, 1, computePlain, atan},
    {"atan2", 2, 2, computeAtan2},
    {"sinh", 1, 1, computePlain, sinh},
    {"cosh", 1, 1, computePlain, cosh},
    {"tanh", 1, 1, computePlain, tanh},
    {"exp", 1, 1, computePlain, exp},
    {"log", 1, 1, computeLogarithm, log},
    {"log10", 1, 1, computeLogarithm, log10},
    {"sqrt", 1, 1, computeRoot},
    {"abs", 1, 1, computeAbs},
    {"min", 1, Function::any, computeMin},
    {"max", 1, Function::any, computeMax},
    {"mod", 2, 2, computeMod},
    {"int", 1, 1, computePlain, trunc},
    {"floor", 1, 1, computePlain, floor},
    {"ceil", 1, 1, computePlain, ceil},
};

}  // namespace

const ExpressionFunction* findExpressionFunction(std::string_view name)
{
  const Function* found = std::find_if(std::begin(functions), std::end(functions),
                                       [name](const Function& function) { return function.name == name; });
  return found == std::end(functions) ? nullptr : found;
}

std::string describeDimensions(const UnitDimensions& dimensions)
{
  return dimensions.isDimensionless() ? "a pure number" : "'" + dimensions.toUnits() + "'";
}

}  // namespace orv
