#include "ExpressionProgram.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace orv {

using Code = ExpressionProgram::Code;
using Step = ExpressionProgram::Step;

std::size_t argumentCount(const Step& step)
{
  switch (step.code) {
    case Code::literal:
    case Code::name:
      return 0;
    case Code::negate:
      return 1;
    case Code::call:
    case Code::unknownCall:
      return step.operand;
    case Code::add:
    case Code::subtract:
    case Code::multiply:
    case Code::divide:
    case Code::power:
    case Code::less:
    case Code::lessOrEqual:
    case Code::greater:
    case Code::greaterOrEqual:
    case Code::equal:
    case Code::notEqual:
      break;
  }
  return 2;
}

// -------------------------------------------------------------------------------------------------- building

std::uint32_t ExpressionProgram::Names::add(std::string_view name)
{
  constexpr std::size_t few = 16;  // then looking through them all is faster
  const auto next = static_cast<std::uint32_t>(texts.size());
  if (next < few) {
    const auto found = std::find(texts.begin(), texts.end(), name);
    if (found != texts.end())
      return static_cast<std::uint32_t>(found - texts.begin());
  } else {
    for (std::uint32_t i = static_cast<std::uint32_t>(places.size()); i < next; ++i)
      places.emplace(texts[i], i);
    const auto [place, isNew] = places.emplace(name, next);
    if (!isNew)
      return place->second;
  }
  texts.emplace_back(name);
  return next;
}

void ExpressionProgram::addLiteral(std::size_t position, double number, std::string_view units)
{
  m_steps.push_back({Code::literal, position, static_cast<std::uint32_t>(m_literals.size())});
  m_literals.push_back({number, std::string(units)});
}

void ExpressionProgram::addName(std::size_t position, std::string_view name)
{
  m_steps.push_back({Code::name, position, m_names.add(name)});
}

void ExpressionProgram::addUnknownCall(std::size_t position, std::string_view name, std::uint32_t arguments)
{
  m_steps.push_back({Code::unknownCall, position, arguments, nullptr, m_unknown.add(name)});
}

void ExpressionProgram::negateLastLiteral()
{
  m_literals.back().number = -m_literals.back().number;
}

ExpressionProgram::PlainStep ExpressionProgram::plainStep(const Step& step) const
{
  PlainStep plain{step.code, step.operand, {0}};
  if (step.code == Code::literal)
    plain.number = m_literals[step.operand].number;
  if (step.code != Code::call)
    return plain;
  plain.operand = step.function->plain ? 0 : step.operand;
  if (step.function->plain)
    plain.function = step.function->plain;
  else
    plain.ofAll = step.function->plainOfAll;
  return plain;
}

void ExpressionProgram::complete()
{
  bool withUnits = false;
  for (Literal& literal : m_literals) {
    literal.base.number = literal.number;
    if (literal.units.empty())
      continue;
    withUnits = true;
    literal.base.dimensions = UnitDimensions(literal.units);
    literal.base.kind = literalKind(literal.units);
    try {
      UnitsConverter::convertUnits(literal.units, literal.base.dimensions.toUnits(), literal.number,
                                   literal.base.number);
    } catch (const data::invalid&) {  // the units are known, so it is the number
      literal.tooLarge = true;
    }
  }
  std::size_t depth = 0;
  for (const Step& step : m_steps) {
    depth = depth + 1 - argumentCount(step);
    m_depth = std::max(m_depth, depth);
  }
  if (withUnits)
    return;
  m_plainSteps.reserve(m_steps.size());
  for (const Step& step : m_steps)
    m_plainSteps.push_back(plainStep(step));
}

bool ExpressionProgram::isSameTree(const ExpressionProgram& other) const
{
  const auto isSame = [&](const Step& a, const Step& b) {
    if (a.code != b.code || a.function != b.function || argumentCount(a) != argumentCount(b))
      return false;
    if (a.code == Code::name)
      return m_names.texts[a.operand] == other.m_names.texts[b.operand];
    if (a.code == Code::unknownCall)
      return m_unknown.texts[a.unknown] == other.m_unknown.texts[b.unknown];
    if (a.code != Code::literal)
      return true;
    const Literal& left = m_literals[a.operand];
    const Literal& right = other.m_literals[b.operand];
    return left.number == right.number && std::signbit(left.number) == std::signbit(right.number)
           && left.units == right.units;
  };
  return std::equal(m_steps.begin(), m_steps.end(), other.m_steps.begin(), other.m_steps.end(), isSame);
}

// --------------------------------------------------------------------------------------------------- running

ExpressionValue ExpressionProgram::run(std::span<const ExpressionValue* const> values) const
{
  if (m_steps.size() == 1 && m_steps.front().code == Code::name)
    return *values.front();
  double plain = 0;
  if (!m_plainSteps.empty() && runPlain(values, plain))
    return ExpressionValue(plain);
  if (m_steps.size() == 1) {
    const Literal& literal = m_literals.front();
    if (!literal.tooLarge)
      return ExpressionValue(Quantity(literal.number, literal.units));
  }
  const ExpressionOperand result = runChecked(values);
  return {result.number, result.dimensions, result.kind};
}

namespace {

double plainBinary(Code code, double left, double right)
{
  switch (code) {
    case Code::add:
      return left + right;
    case Code::subtract:
      return left - right;
    case Code::multiply:
      return left * right;
    case Code::divide:
      return left / right;
    case Code::power:
      return std::pow(left, right);
    case Code::less:
      return left < right;
    case Code::lessOrEqual:
      return left <= right;
    case Code::greater:
      return left > right;
    case Code::greaterOrEqual:
      return left >= right;
    case Code::equal:
      return left == right;
    case Code::notEqual:
      return left != right;
    case Code::literal:
    case Code::name:
    case Code::negate:
    case Code::call:
    case Code::unknownCall:
      break;
  }
  return std::numeric_limits<double>::quiet_NaN();
}

// The numbers of a run, without a trip to the heap for most.
class NumberStack {
 public:
  explicit NumberStack(std::size_t depth)
  {
    if (depth > m_few.size()) {
      m_many.resize(depth);
      m_bottom = m_many.data();
    }
  }
  double* bottom() { return m_bottom; }

 private:
  std::array<double, 32> m_few;
  std::vector<double> m_many;
  double* m_bottom = m_few.data();
};

}  // namespace

// False when a number on the way is not finite, or a value has units.
bool ExpressionProgram::runPlain(std::span<const ExpressionValue* const> values, double& result) const
{
  NumberStack stack(m_depth);
  double* top = stack.bottom();  // behind the last
  double check = 0;              // becomes NaN with the first number that is not finite
  for (const PlainStep& step : m_plainSteps) {
    switch (step.code) {
      case Code::literal:
        *top++ = step.number;
        continue;
      case Code::name: {
        const ExpressionValue& value = *values[step.operand];
        if (!value.isPlain())
          return false;
        *top++ = value.getNumber();
        continue;
      }
      case Code::negate:
        top[-1] = -top[-1];
        continue;
      case Code::add:
        --top;
        top[-1] += top[0];
        break;
      case Code::subtract:
        --top;
        top[-1] -= top[0];
        break;
      case Code::multiply:
        --top;
        top[-1] *= top[0];
        break;
      case Code::divide:
        --top;
        top[-1] /= top[0];
        break;
      case Code::call:
        if (step.operand == 0) {
          top[-1] = step.function(top[-1]);
        } else {
          top -= step.operand;
          *top = step.ofAll(top, step.operand);
          ++top;
        }
        break;
      case Code::power:
      case Code::less:
      case Code::lessOrEqual:
      case Code::greater:
      case Code::greaterOrEqual:
      case Code::equal:
      case Code::notEqual:
      case Code::unknownCall:
        --top;
        top[-1] = plainBinary(step.code, top[-1], top[0]);
        break;
    }
    check += top[-1] * 0;
  }
  result = top[-1];
  return check == 0;
}

}  // namespace orv
