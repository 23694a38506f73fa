#include "ExpressionProgram.h"

#include "platform/ORVError.h"
#include "ExpressionLexer.h"

#include <algorithm>
#include <cmath>

namespace orv {

namespace {

using Step = ExpressionProgram::Step;
using Code = ExpressionProgram::Code;

// Repeated powers could run to infinite exponents while the number itself stays 1.
constexpr double maxExponent = 1000;

ExpressionValue addOrSubtract(Code code, const ExpressionValue& left, const ExpressionValue& right)
{
  if (left.dimensions == right.dimensions) {
    double sum = code == Code::add ? left.number + right.number : left.number - right.number;
    return {sum, left.dimensions};
  }
  std::string leftUnits = describeDimensions(left.dimensions);
  std::string rightUnits = describeDimensions(right.dimensions);
  throw ExpressionRefusal{code == Code::add ? _("cannot add %s and %s", leftUnits, rightUnits)
                                            : _("cannot subtract %s from %s", rightUnits, leftUnits)};
}

ExpressionValue divide(const ExpressionValue& left, const ExpressionValue& right)
{
  if (right.number == 0)
    throw ExpressionRefusal{"division by zero"};
  return {left.number / right.number, left.dimensions / right.dimensions};
}

ExpressionValue power(const ExpressionValue& base, const ExpressionValue& exponent)
{
  if (!exponent.dimensions.isDimensionless())
    throw ExpressionRefusal{
        _("the exponent must be a pure number, not %s", describeDimensions(exponent.dimensions))};
  if (base.number == 0 && exponent.number < 0)
    throw ExpressionRefusal{"division by zero"};
  if (base.number < 0 && exponent.number != std::trunc(exponent.number))
    throw ExpressionRefusal{"a negative number has no power with a fraction as exponent"};
  return {std::pow(base.number, exponent.number), base.dimensions.power(exponent.number)};
}

ExpressionValue computeBinary(Code code, const ExpressionValue& left, const ExpressionValue& right)
{
  switch (code) {
    case Code::add:
    case Code::subtract:
      return addOrSubtract(code, left, right);
    case Code::multiply:
      return {left.number * right.number, left.dimensions * right.dimensions};
    case Code::divide:
      return divide(left, right);
    case Code::power:
      return power(left, right);
    case Code::literal:
    case Code::negate:
    case Code::call:
      break;
  }
  throw ExpressionRefusal{"not an operator of two values"};
}

ExpressionValue valueOf(const ExpressionProgram::Literal& literal)
{
  if (literal.units.empty())
    return {literal.number, {}};
  UnitDimensions dimensions(literal.units);
  double number = 0;
  try {
    UnitsConverter::convertUnits(literal.units, dimensions.toUnits(), literal.number, number);
  } catch (const data::invalid&) {  // the units are known, so it is the number
    throw ExpressionRefusal{"the number is too large in base units"};
  }
  return {number, dimensions};
}

void checkResult(const ExpressionValue& value)
{
  if (!std::isfinite(value.number))
    throw ExpressionRefusal{"the result is not finite"};
  auto isSane = [](double exponent) { return std::abs(exponent) <= maxExponent; };
  const auto& exponents = value.dimensions.exponents();
  if (!std::all_of(exponents.begin(), exponents.end(), isSane))
    throw ExpressionRefusal{"the units have too large an exponent"};
}

std::size_t argumentCount(const Step& step)
{
  switch (step.code) {
    case Code::literal:
      return 0;
    case Code::negate:
      return 1;
    case Code::call:
      return step.operand;
    case Code::add:
    case Code::subtract:
    case Code::multiply:
    case Code::divide:
    case Code::power:
      break;
  }
  return 2;
}

ExpressionValue compute(const Step& step, std::span<const ExpressionValue> arguments)
{
  if (step.code == Code::negate)
    return {-arguments[0].number, arguments[0].dimensions};
  if (step.code == Code::call)
    return step.function->compute(*step.function, arguments);
  return computeBinary(step.code, arguments[0], arguments[1]);
}

}  // namespace

void ExpressionProgram::addLiteral(std::size_t position, double number, std::string_view units)
{
  m_steps.push_back({Code::literal, position, m_literals.size()});
  m_literals.push_back({number, std::string(units)});
}

void ExpressionProgram::negateLastLiteral()
{
  m_literals.back().number = -m_literals.back().number;
}

const ExpressionProgram::Literal* ExpressionProgram::singleLiteral() const
{
  return m_steps.size() == 1 && m_steps.front().code == Code::literal ? &m_literals.front() : nullptr;
}

ExpressionValue ExpressionProgram::run() const
{
  std::vector<ExpressionValue> stack;
  for (const Step& step : m_steps) {
    try {
      std::size_t count = argumentCount(step);
      std::span<const ExpressionValue> arguments(stack.data() + (stack.size() - count), count);
      ExpressionValue result =
          step.code == Code::literal ? valueOf(m_literals[step.operand]) : compute(step, arguments);
      checkResult(result);
      stack.resize(stack.size() - count);
      stack.push_back(result);
    } catch (ExpressionRefusal& refusal) {
      throw ExpressionFault{step.position, std::move(refusal.reason)};
    }
  }
  return stack.back();
}

}  // namespace orv
