// From a program back to text.
#include "platform/ORVUtilities.h"
#include "ExpressionProgram.h"

#include <cmath>
#include <utility>

namespace orv {

namespace {

using Code = ExpressionProgram::Code;
using Step = ExpressionProgram::Step;

// How tight the outermost operator of a text binds, loosest first; the levels of the parser.
enum Binding { comparison, sum, product, sign, power, primary };

struct Piece {
  std::string text;
  Binding binding;
  bool isLiteral = false;

  std::string take(int atLeast)
  {
    if (binding >= atLeast)
      return std::move(text);
    return text.insert(0, 1, '(').append(1, ')');
  }
};

struct Sign {
  const char* text;
  Binding binding;
  int left;  // how tight each side must bind at least
  int right;
};

Sign signOf(Code code)
{
  switch (code) {
    case Code::add:
      return {" + ", sum, sum, product};
    case Code::subtract:
      return {" - ", sum, sum, product};
    case Code::multiply:
      return {" * ", product, product, sign};
    case Code::divide:
      return {" / ", product, product, sign};
    case Code::power:
      return {"^", power, primary, sign};
    case Code::less:
      return {" < ", comparison, sum, sum};
    case Code::lessOrEqual:
      return {" <= ", comparison, sum, sum};
    case Code::greater:
      return {" > ", comparison, sum, sum};
    case Code::greaterOrEqual:
      return {" >= ", comparison, sum, sum};
    case Code::equal:
      return {" == ", comparison, sum, sum};
    default:
      return {" != ", comparison, sum, sum};
  }
}

Piece literalPiece(const ExpressionProgram::Literal& literal)
{
  std::string text = StringUtilities::toString(literal.number);
  if (!literal.units.empty())
    text.append(" [").append(literal.units).append("]");
  return {std::move(text), std::signbit(literal.number) ? sign : primary, true};
}

class Printer {
 public:
  void push(Piece piece) { m_stack.push_back(std::move(piece)); }

  // A sign before a number would become part of it.
  void negate()
  {
    Piece& top = m_stack.back();
    top.text = top.take(top.isLiteral ? primary + 1 : sign).insert(0, 1, '-');
    top.binding = sign;
    top.isLiteral = false;
  }

  void binary(Code code)
  {
    const Sign shape = signOf(code);
    const std::string right = m_stack.back().take(shape.right);
    m_stack.pop_back();
    Piece& left = m_stack.back();
    left.text = left.take(shape.left);
    left.text.append(shape.text).append(right);
    left.binding = shape.binding;
    left.isLiteral = false;
  }

  void call(std::string_view name, std::size_t count)
  {
    std::string text(name);
    text.append(1, '(');
    for (std::size_t i = m_stack.size() - count; i < m_stack.size(); ++i) {
      text.append(m_stack[i].text);
      if (i + 1 < m_stack.size())
        text.append(", ");
    }
    m_stack.resize(m_stack.size() - count);
    push({text.append(1, ')'), primary});
  }

  std::string result() { return std::move(m_stack.back().text); }

 private:
  std::vector<Piece> m_stack;
};

}  // namespace

std::string ExpressionProgram::print() const
{
  Printer printer;
  for (const Step& step : m_steps) {
    if (step.code == Code::literal)
      printer.push(literalPiece(m_literals[step.operand]));
    else if (step.code == Code::name)
      printer.push({m_names.texts[step.operand], primary});
    else if (step.code == Code::negate)
      printer.negate();
    else if (step.code == Code::call)
      printer.call(step.function->name, step.operand);
    else if (step.code == Code::unknownCall)
      printer.call(m_unknown.texts[step.unknown], step.operand);
    else
      printer.binary(step.code);
  }
  return printer.result();
}

}  // namespace orv
