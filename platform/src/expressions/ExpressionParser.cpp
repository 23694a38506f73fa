#include "ExpressionParser.h"

#include "platform/ORVError.h"

#include <numbers>
#include <optional>

namespace orv {

namespace {

using Code = ExpressionProgram::Code;

struct BinaryOperator {
  char symbol;
  std::size_t level;  // of binding, loosest first
  Code code;
};

constexpr BinaryOperator binaryOperators[] = {
    {'+', 0, Code::add},
    {'-', 0, Code::subtract},
    {'*', 1, Code::multiply},
    {'/', 1, Code::divide},
};
constexpr std::size_t binaryLevels = 2;

std::optional<Code> binaryCode(const ExpressionToken& token, std::size_t level)
{
  for (const BinaryOperator& op : binaryOperators) {
    if (op.level == level && token.isSymbol(op.symbol))
      return op.code;
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

class ExpressionParser::Nesting {
 public:
  explicit Nesting(ExpressionParser& parser) : m_parser(parser)
  {
    if (m_parser.m_nesting == maxNesting)
      throw ExpressionFault{m_parser.m_token.position, _("nested more than %d deep", maxNesting)};
    ++m_parser.m_nesting;
  }
  ~Nesting() { --m_parser.m_nesting; }
  Nesting(const Nesting&) = delete;
  Nesting& operator=(const Nesting&) = delete;

 private:
  ExpressionParser& m_parser;
};

ExpressionProgram ExpressionParser::parse()
{
  advance();
  parseExpression();
  if (m_token.kind != ExpressionToken::end)
    failUnexpected();
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

void ExpressionParser::expectSymbol(char symbol)
{
  if (m_token.kind == ExpressionToken::end)
    throw ExpressionFault{m_token.position, _("syntax error, '%c' is missing", symbol)};
  if (!m_token.isSymbol(symbol))
    failUnexpected();
  advance();
}

void ExpressionParser::parseBinary(std::size_t level)
{
  if (level == binaryLevels) {
    parseSigned();
    return;
  }
  parseBinary(level + 1);
  while (std::optional<Code> code = binaryCode(m_token, level)) {
    std::size_t position = m_token.position;
    advance();
    parseBinary(level + 1);
    m_program.addStep({*code, position});
  }
}

bool ExpressionParser::parseSigned()
{
  bool negative = m_token.isSymbol('-');
  if (!negative && !m_token.isSymbol('+'))
    return parsePower();
  Nesting nesting(*this);
  std::size_t position = m_token.position;
  advance();
  bool onlyNumber = parseSigned();
  if (negative && onlyNumber)
    m_program.negateLastLiteral();
  else if (negative)
    m_program.addStep({Code::negate, position});
  return onlyNumber;
}

bool ExpressionParser::parsePower()
{
  bool onlyNumber = parsePrimary();
  if (!m_token.isSymbol('^'))
    return onlyNumber;
  Nesting nesting(*this);
  std::size_t position = m_token.position;
  advance();
  parseSigned();
  m_program.addStep({Code::power, position});
  return false;
}

bool ExpressionParser::parsePrimary()
{
  if (m_token.kind == ExpressionToken::number) {
    parseNumber();
    return true;
  }
  if (m_token.kind == ExpressionToken::name)
    parseName();
  else if (m_token.isSymbol('('))
    parseGroup();
  else
    failUnexpected();
  return false;
}

void ExpressionParser::parseNumber()
{
  ExpressionToken number = m_token;
  advance();
  if (m_token.kind != ExpressionToken::units) {
    m_program.addLiteral(number.position, number.value, {});
    return;
  }
  if (!UnitsConverter::isValid(m_token.text))
    throw ExpressionFault{m_token.position, _("unknown units '%s'", m_token.text)};
  m_program.addLiteral(number.position, number.value, m_token.text);
  advance();
}

void ExpressionParser::parseName()
{
  ExpressionToken name = m_token;
  advance();
  if (m_token.isSymbol('('))
    return parseCall(name);
  std::optional<double> value = constantValue(name.text);
  if (value)
    return m_program.addLiteral(name.position, *value, {});
  if (findExpressionFunction(name.text))
    throw ExpressionFault{name.position, _("function '%s' needs arguments in parentheses", name.text)};
  throw ExpressionFault{name.position, _("unknown name '%s'", name.text)};
}

void ExpressionParser::parseCall(const ExpressionToken& name)
{
  const ExpressionFunction* function = findExpressionFunction(name.text);
  if (!function)
    throw ExpressionFault{name.position, _("unknown function '%s'", name.text)};
  Nesting nesting(*this);
  std::size_t count = 0;
  do {
    advance();
    if (count == 0 && m_token.isSymbol(')'))
      break;
    parseExpression();
    ++count;
  } while (m_token.isSymbol(','));
  expectSymbol(')');
  if (count < function->minArguments || count > function->maxArguments)
    throw ExpressionFault{name.position, argumentFault(*function, count)};
  m_program.addStep({Code::call, name.position, count, function});
}

void ExpressionParser::parseGroup()
{
  Nesting nesting(*this);
  advance();
  parseExpression();
  expectSymbol(')');
}

}  // namespace orv
