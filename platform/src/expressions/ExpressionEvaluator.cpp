#include "platform/ORVError.h"
#include "platform/ORVExpressions.h"
#include "ExpressionParser.h"

#include <algorithm>

namespace orv {

namespace {

// In characters, from 1.
std::size_t columnOf(std::string_view text, std::size_t position)
{
  auto isCharacterStart = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
  std::string_view before = text.substr(0, position);
  return static_cast<std::size_t>(std::count_if(before.begin(), before.end(), isCharacterStart)) + 1;
}

data::invalid makeError(const std::string& text, const std::string& parameter, const ExpressionFault& fault)
{
  std::string where = parameter.empty() ? std::string() : _(" for parameter '%s'", parameter);
  return data::invalid("ExpressionEvaluator", "evalSingleValue",
                       _("Cannot evaluate '%s'%s at column %d: %s.", text, where,
                         columnOf(text, fault.position), fault.reason));
}

Quantity evaluate(std::string_view text)
{
  ExpressionProgram program = ExpressionParser(text).parse();
  if (const ExpressionProgram::Literal* literal = program.singleLiteral())
    return Quantity(literal->number, literal->units);
  ExpressionValue value = program.run();
  return Quantity(value.number, value.dimensions.toUnits());
}

}  // namespace

Quantity ExpressionEvaluator::evalSingleValue(const std::string& text, const std::string& parameterName)
{
  try {
    return evaluate(text);
  } catch (const ExpressionFault& fault) {
    throw makeError(text, parameterName, fault);
  }
}

}  // namespace orv
