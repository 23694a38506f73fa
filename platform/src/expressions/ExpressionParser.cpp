#include "ExpressionParser.h"

#include "platform/ORVError.h"

#include <numbers>
#include <optional>
#include <string>
#include <utility>

namespace orv {

namespace {

using Code = ExpressionProgram::Code;

constexpr int loosest = 0;
constexpr int comparisonLevel = 0;
constexpr int signLevel = 3;
constexpr int powerLevel = 4;

struct BinaryOperator {
  Code code;
  int level;
};

std::optional<BinaryOperator> binaryOperator(const ExpressionToken& token)
{
  if (token.kind != ExpressionToken::symbol)
    return std::nullopt;
  const bool withEquals = token.text.size() == 2 && token.text[1] == '=';
  if (token.text.size() != 1 && !withEquals)
    return std::nullopt;
  switch (token.text.front()) {
    case '+':
      return BinaryOperator{Code::add, 1};
    case '-':
      return BinaryOperator{Code::subtract, 1};
    case '*':
      return BinaryOperator{Code::multiply, 2};
    case '/':
      return BinaryOperator{Code::divide, 2};
    case '^':
      return BinaryOperator{Code::power, powerLevel};
    case '<':
      return BinaryOperator{withEquals ? Code::lessOrEqual : Code::less, comparisonLevel};
    case '>':
      return BinaryOperator{withEquals ? Code::greaterOrEqual : Code::greater, comparisonLevel};
    case '=':
      if (withEquals)
        return BinaryOperator{Code::equal, comparisonLevel};
      break;
    case '!':
      if (withEquals)
        return BinaryOperator{Code::notEqual, comparisonLevel};
      break;
  }
  return std::nullopt;
}

std::optional<double> constantValue(std::string_view name)
{
  if (name == "pi")
    return std::numbers::pi;
  if (name == "e")
    return std::numbers::e;
  return std::nullopt;
}

std::string argumentFault(const ExpressionFunction& function, std::size_t count)
{
  if (function.maxArguments == ExpressionFunction::any)
    return _("function '%s' takes at least %d argument(s), not %d", function.name, function.minArguments,
             count);
  return _("function '%s' takes %d argument(s), not %d", function.name, function.minArguments, count);
}

}  // namespace

ExpressionProgram ExpressionParser::parse()
{
  advance();
  bool operandNext = true;
  while (operandNext || m_token.kind != ExpressionToken::end)
    operandNext = operandNext ? readOperand() : readOperator();
  finish();
  m_program.complete();
  return std::move(m_program);
}

void ExpressionParser::failUnexpected() const
{
  switch (m_token.kind) {
    case ExpressionToken::end:
      throw ExpressionFault{m_token.position, "syntax error, the text ends too early"};
    case ExpressionToken::units:
      throw ExpressionFault{m_token.position, _("syntax error at units '[%s]'", m_token.text)};
    case ExpressionToken::number:
    case ExpressionToken::name:
    case ExpressionToken::symbol:
      break;
  }
  throw ExpressionFault{m_token.position, _("syntax error at '%s'", m_token.text)};
}

// --------------------------------------------------------------------------------------------- what is open

bool ExpressionParser::nests(const Open& open) const
{
  return open.kind != Kind::binary || open.code == Code::power;
}

void ExpressionParser::push(const Open& open)
{
  if (nests(open) && ++m_nesting > maxNesting)
    throw ExpressionFault{open.position, _("nested more than %d deep", maxNesting)};
  m_open.push_back(open);
}

ExpressionParser::Open ExpressionParser::pop()
{
  const Open open = m_open.back();
  m_open.pop_back();
  m_nesting -= nests(open);
  return open;
}

void ExpressionParser::reduce(int level)
{
  while (!m_open.empty() && m_open.back().level >= level) {
    const Open open = pop();
    if (open.code != Code::literal)
      m_program.addStep({open.code, open.position});
  }
}

void ExpressionParser::finish()
{
  reduce(loosest);
  if (!m_open.empty())
    throw ExpressionFault{m_token.position, _("syntax error, '%c' is missing", ')')};
}

// ------------------------------------------------------------------------------------------------- operands

bool ExpressionParser::readOperand()
{
  if (m_token.kind == ExpressionToken::number) {
    readNumber();
    return false;
  }
  if (m_token.kind == ExpressionToken::name)
    return readName();
  if (m_token.isSymbol('('))
    push({Kind::group, Code::literal, loosest - 1, m_token.position});
  else if (m_token.isSymbol('-'))
    push({Kind::sign, Code::negate, signLevel, m_token.position});
  else if (m_token.isSymbol('+'))
    push({Kind::sign, Code::literal, signLevel, m_token.position});
  else
    failUnexpected();
  advance();
  return true;
}

void ExpressionParser::readNumber()
{
  const ExpressionToken number = m_token;
  advance();
  if (m_token.kind == ExpressionToken::units) {
    if (std::string reason = UnitsConverter::whyInvalid(m_token.text); !reason.empty()) {
      reason.pop_back();  // its full stop: the message brings one
      throw ExpressionFault{m_token.position, std::move(reason)};
    }
    m_program.addLiteral(number.position, number.value, m_token.text);
    advance();
  } else {
    m_program.addLiteral(number.position, number.value, {});
  }
  if (m_token.isSymbol('^'))
    return;
  while (!m_open.empty() && m_open.back().kind == Kind::sign) {
    if (pop().code == Code::negate)
      m_program.negateLastLiteral();
  }
}

bool ExpressionParser::readName()
{
  const ExpressionToken name = m_token;
  advance();
  if (m_token.isSymbol('('))
    return openCall(name);
  if (const std::optional<double> value = constantValue(name.text))
    m_program.addLiteral(name.position, *value, {});
  else if (findExpressionFunction(name.text))
    throw ExpressionFault{name.position, _("function '%s' needs arguments in parentheses", name.text)};
  else
    m_program.addName(name.position, name.text);
  return false;
}

bool ExpressionParser::openCall(const ExpressionToken& name)
{
  const ExpressionFunction* function = findExpressionFunction(name.text);
  push({Kind::call, Code::call, loosest - 1, name.position, 0, function, name.text});
  advance();
  if (!m_token.isSymbol(')'))
    return true;
  advance();
  closeCall(pop());
  return false;
}

// ------------------------------------------------------------------------------------------------ operators

bool ExpressionParser::readOperator()
{
  if (m_token.isSymbol(')'))
    return closeParenthesis();
  if (m_token.isSymbol(','))
    return nextArgument();
  const std::optional<BinaryOperator> op = binaryOperator(m_token);
  if (!op)
    failUnexpected();
  const bool rightAssociative = op->level == powerLevel;
  reduce(rightAssociative ? powerLevel + 1 : std::max(op->level, comparisonLevel + 1));
  if (op->level == comparisonLevel && !m_open.empty() && m_open.back().level == comparisonLevel)
    throw ExpressionFault{m_token.position, "a comparison of a comparison needs parentheses"};
  push({Kind::binary, op->code, op->level, m_token.position});
  advance();
  return true;
}

bool ExpressionParser::closeParenthesis()
{
  reduce(loosest);
  if (m_open.empty())
    failUnexpected();
  Open open = pop();
  advance();
  if (open.kind == Kind::call) {
    ++open.arguments;
    closeCall(open);
  }
  return false;
}

bool ExpressionParser::nextArgument()
{
  reduce(loosest);
  if (m_open.empty() || m_open.back().kind != Kind::call)
    failUnexpected();
  ++m_open.back().arguments;
  advance();
  return true;
}

void ExpressionParser::closeCall(const Open& call)
{
  if (!call.function)
    return m_program.addUnknownCall(call.position, call.name, call.arguments);
  if (call.arguments < call.function->minArguments || call.arguments > call.function->maxArguments)
    throw ExpressionFault{call.position, argumentFault(*call.function, call.arguments)};
  m_program.addStep({Code::call, call.position, call.arguments, call.function});
}

}  // namespace orv
