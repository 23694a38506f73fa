// The machine that checks dimensions and says what is wrong.
#include "platform/ORVError.h"
#include "ExpressionLexer.h"
#include "ExpressionProgram.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace orv {

namespace {

using Code = ExpressionProgram::Code;
using Step = ExpressionProgram::Step;
using Operand = ExpressionOperand;

// Repeated powers could run to infinite exponents while the number itself stays 1.
constexpr double maxExponent = 1000;

// In K it cannot be told whether a temperature or a difference is meant. Two of them are taken for temperatures, but
// "30 [C] - 5 [K]" is 25 C.
ScaleKind kindOfRest(ScaleKind left, ScaleKind right)
{
  if (right <= ScaleKind::difference)
    return std::max(left, right);
  return left == ScaleKind::point && right == ScaleKind::given ? left : ScaleKind::difference;
}

// A multiple is of the same kind.
ScaleKind kindOfProduct(const Operand& left, const Operand& right)
{
  if (right.dimensions.isDimensionless())
    return left.kind;
  return left.dimensions.isDimensionless() ? right.kind : ScaleKind::open;
}

Operand addOrSubtract(Code code, const Operand& left, const Operand& right)
{
  if (left.dimensions == right.dimensions) {
    if (code == Code::add)
      return {left.number + right.number, left.dimensions, Operand::noFault, std::max(left.kind, right.kind)};
    return {left.number - right.number, left.dimensions, Operand::noFault, kindOfRest(left.kind, right.kind)};
  }
  std::string leftUnits = describeDimensions(left.dimensions);
  std::string rightUnits = describeDimensions(right.dimensions);
  throw ExpressionRefusal{code == Code::add ? _("cannot add %s and %s", leftUnits, rightUnits)
                                            : _("cannot subtract %s from %s", rightUnits, leftUnits)};
}

Operand divide(const Operand& left, const Operand& right)
{
  const UnitDimensions dimensions = left.dimensions / right.dimensions;
  if (right.number == 0)
    throw ExpressionUndefined{"division by zero", dimensions};
  const ScaleKind kind = right.dimensions.isDimensionless() ? left.kind : ScaleKind::open;
  return {left.number / right.number, dimensions, Operand::noFault, kind};
}

Operand raised(const Operand& base, const Operand& exponent)
{
  if (!exponent.dimensions.isDimensionless())
    throw ExpressionRefusal{
        _("the exponent must be a pure number, not %s", describeDimensions(exponent.dimensions))};
  if (std::isnan(exponent.number) && base.dimensions.isDimensionless())
    return {exponent.number, {}};
  const UnitDimensions dimensions = base.dimensions.power(exponent.number);
  if (base.number == 0 && exponent.number < 0)
    throw ExpressionUndefined{"division by zero", dimensions};
  if (base.number < 0 && exponent.number != std::trunc(exponent.number))
    throw ExpressionUndefined{"a negative number has no power with a fraction as exponent", dimensions};
  return {std::pow(base.number, exponent.number), dimensions};
}

bool holds(Code comparison, double left, double right)
{
  switch (comparison) {
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
    default:
      return left != right;
  }
}

Operand compare(Code comparison, const Operand& left, const Operand& right)
{
  if (left.dimensions != right.dimensions)
    throw ExpressionRefusal{_("cannot compare %s with %s", describeDimensions(left.dimensions),
                              describeDimensions(right.dimensions))};
  return {holds(comparison, left.number, right.number) ? 1.0 : 0.0, {}};
}

Operand compute(const Step& step, std::span<const Operand> arguments)
{
  switch (step.code) {
    case Code::negate:
      return {-arguments[0].number, arguments[0].dimensions, Operand::noFault, arguments[0].kind};
    case Code::add:
    case Code::subtract:
      return addOrSubtract(step.code, arguments[0], arguments[1]);
    case Code::multiply:
      return {arguments[0].number * arguments[1].number, arguments[0].dimensions * arguments[1].dimensions,
              Operand::noFault, kindOfProduct(arguments[0], arguments[1])};
    case Code::divide:
      return divide(arguments[0], arguments[1]);
    case Code::power:
      return raised(arguments[0], arguments[1]);
    case Code::call:
      return step.function->compute(*step.function, arguments);
    case Code::less:
    case Code::lessOrEqual:
    case Code::greater:
    case Code::greaterOrEqual:
    case Code::equal:
    case Code::notEqual:
      return compare(step.code, arguments[0], arguments[1]);
    case Code::literal:
    case Code::name:
    case Code::unknownCall:
      break;
  }
  throw ExpressionRefusal{"not an operator"};
}

// One run: the stack, and the faults that are not errors yet.
class CheckedRun {
 public:
  explicit CheckedRun(std::size_t depth) { m_stack.reserve(depth); }

  void push(Operand operand, std::size_t position)
  {
    const auto isSane = [](double exponent) { return std::abs(exponent) <= maxExponent; };
    const auto& exponents = operand.dimensions.exponents();
    const bool sane = std::all_of(exponents.begin(), exponents.end(), isSane);
    if (!sane && operand.dimensions.isDimensionless())  // an angle, which may be raised to any power
      operand.dimensions = {};
    else if (!sane)
      throw ExpressionFault{position, "the units have too large an exponent"};
    if (operand.fault == Operand::noFault && !std::isfinite(operand.number))
      note(operand, position, "the result is not finite");
    m_stack.push_back(operand);
  }
  void pushUndefined(std::size_t position, std::string reason, const UnitDimensions& dimensions)
  {
    Operand operand{0, dimensions};
    note(operand, position, std::move(reason));
    push(operand, position);
  }
  void apply(const Step& step);
  Operand result();

 private:
  void note(Operand& operand, std::size_t position, std::string reason)
  {
    operand.fault = m_faults.size();
    operand.number = std::numeric_limits<double>::quiet_NaN();
    m_faults.push_back({position, std::move(reason)});
  }

  std::vector<Operand> m_stack;
  std::vector<ExpressionFault> m_faults;
};

void CheckedRun::apply(const Step& step)
{
  const std::size_t count = argumentCount(step);
  const std::span<const Operand> arguments(m_stack.data() + (m_stack.size() - count), count);
  const auto isFaulty = [](const Operand& operand) { return operand.fault != Operand::noFault; };
  const auto faulty = std::find_if(arguments.begin(), arguments.end(), isFaulty);
  const std::size_t fault = faulty == arguments.end() ? Operand::noFault : faulty->fault;
  const bool exponentDecides = step.code == Code::power && isFaulty(arguments[1]);
  if (exponentDecides && !arguments[0].dimensions.isDimensionless())
    throw m_faults[fault];  // the dimensions cannot be known
  try {
    Operand result = compute(step, arguments);
    const bool chosen = step.function && step.function->name == "if" && !isFaulty(arguments[0]);
    if (!chosen && fault != Operand::noFault) {
      result.fault = fault;
      result.number = std::numeric_limits<double>::quiet_NaN();
    }
    m_stack.resize(m_stack.size() - count);
    push(result, step.position);
  } catch (ExpressionRefusal& refusal) {
    throw ExpressionFault{step.position, std::move(refusal.reason)};
  } catch (ExpressionUndefined& undefined) {
    m_stack.resize(m_stack.size() - count);
    pushUndefined(step.position, std::move(undefined.reason), undefined.dimensions);
    if (fault != Operand::noFault)
      m_stack.back().fault = fault;  // what went wrong first is told
  }
}

Operand CheckedRun::result()
{
  const Operand& top = m_stack.back();
  if (top.fault != Operand::noFault)
    throw m_faults[top.fault];
  return top;
}

}  // namespace

ExpressionOperand ExpressionProgram::runChecked(std::span<const ExpressionValue* const> values) const
{
  CheckedRun run(m_depth);
  for (const Step& step : m_steps) {
    if (step.code == Code::name) {
      const ExpressionValue& value = *values[step.operand];
      run.push({value.getNumber(), value.getDimensions(), Operand::noFault, value.getKind()}, step.position);
    } else if (step.code != Code::literal) {
      run.apply(step);
    } else if (const Literal& literal = m_literals[step.operand]; literal.tooLarge) {
      run.pushUndefined(step.position, "the number is too large in base units", literal.base.dimensions);
    } else {
      run.push(literal.base, step.position);
    }
  }
  return run.result();
}

}  // namespace orv
