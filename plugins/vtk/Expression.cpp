#include "Expression.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "ExpressionValues.h"
#include "running.h"

#include <cctype>
#include <charconv>
#include <utility>
#include <vector>
#include <vtkCellData.h>
#include <vtkPointData.h>

namespace results {

struct ExpressionNode {
  enum class Kind { number, variable, negation, sum, difference, product, quotient, power, function };
  Kind kind = Kind::number;
  double number = 0;
  std::string text;  // units of a number; the name of a variable or function
  std::vector<std::unique_ptr<const ExpressionNode>> operands;
};

namespace {

using Node = ExpressionNode;
using NodePtr = std::unique_ptr<const Node>;

class Parser {
 public:
  // Adds the variables that are named.
  Parser(const std::string& text, std::vector<std::string>& variables, bool& hasDerivatives)
      : m_text(text),
        m_variables(variables),
        m_hasDerivatives(hasDerivatives)
  {}

  NodePtr parse()
  {
    NodePtr root = sum();
    if (skip() != '\0')
      refuse("An operator is missing");
    return root;
  }

 private:
  static constexpr int deepest = 200;

  [[noreturn]] void refuse(const std::string& what) const
  {
    const std::string rest = m_text.substr(std::min(m_at, m_text.size()));
    fail("defineVariable",
         orv::_("Expression '%s': %s at '%s'.", m_text, what, rest.empty() ? "the end" : rest));
  }
  char skip()
  {
    while (m_at < m_text.size() && std::isspace(static_cast<unsigned char>(m_text[m_at])))
      ++m_at;
    return m_at < m_text.size() ? m_text[m_at] : '\0';
  }
  bool take(char c)
  {
    if (skip() != c)
      return false;
    ++m_at;
    return true;
  }
  static NodePtr join(Node::Kind kind, NodePtr left, NodePtr right)
  {
    auto node = std::make_unique<Node>();
    node->kind = kind;
    node->operands.push_back(std::move(left));
    if (right)
      node->operands.push_back(std::move(right));
    return node;
  }

  NodePtr sum()
  {
    NodePtr left = term();
    while (true) {
      if (take('+'))
        left = join(Node::Kind::sum, std::move(left), term());
      else if (take('-'))
        left = join(Node::Kind::difference, std::move(left), term());
      else
        return left;
    }
  }
  NodePtr term()
  {
    NodePtr left = factor();
    while (true) {
      if (take('*'))
        left = join(Node::Kind::product, std::move(left), factor());
      else if (take('/'))
        left = join(Node::Kind::quotient, std::move(left), factor());
      else
        return left;
    }
  }
  NodePtr factor()
  {
    if (++m_depth > deepest)
      refuse("It is nested too deeply");
    NodePtr result;
    if (take('-')) {
      result = join(Node::Kind::negation, factor(), nullptr);
    } else {
      result = primary();
      if (take('^'))
        result = join(Node::Kind::power, std::move(result), factor());
    }
    --m_depth;
    return result;
  }
  NodePtr primary()
  {
    const char next = skip();
    if (take('(')) {
      NodePtr inner = sum();
      if (!take(')'))
        refuse("A ')' is missing");
      return inner;
    }
    if (std::isdigit(static_cast<unsigned char>(next)) || next == '.')
      return number();
    if (std::isalpha(static_cast<unsigned char>(next)) || next == '_' || next == '\'')
      return name();
    refuse("A value is missing");
  }
  NodePtr number()
  {
    auto node = std::make_unique<Node>();
    const char* const begin = m_text.data() + m_at;
    const auto [end, failure] = std::from_chars(begin, m_text.data() + m_text.size(), node->number);
    if (failure != std::errc())
      refuse("A number cannot be read");
    m_at += static_cast<std::size_t>(end - begin);
    if (take('[')) {
      const std::size_t close = m_text.find(']', m_at);
      if (close == std::string::npos)
        refuse("A ']' is missing");
      node->text = orv::StringUtilities::simplifyWhitespace(m_text.substr(m_at, close - m_at));
      m_at = close + 1;
    }
    return node;
  }
  std::string word()
  {
    if (take('\'')) {
      const std::size_t close = m_text.find('\'', m_at);
      if (close == std::string::npos)
        refuse("A quote is missing");
      std::string quoted = m_text.substr(m_at, close - m_at);
      m_at = close + 1;
      return quoted + component();
    }
    const std::size_t begin = m_at;
    while (m_at < m_text.size()
           && (std::isalnum(static_cast<unsigned char>(m_text[m_at])) || m_text[m_at] == '_'
               || m_text[m_at] == '.'))
      ++m_at;
    return m_text.substr(begin, m_at - begin);
  }
  // Behind a quoted name.
  std::string component()
  {
    if (m_at + 1 >= m_text.size() || m_text[m_at] != '.')
      return {};
    m_at += 2;
    return m_text.substr(m_at - 2, 2);
  }
  NodePtr name()
  {
    auto node = std::make_unique<Node>();
    const bool isQuoted = skip() == '\'';
    node->text = word();
    node->kind = Node::Kind::variable;
    if (isQuoted || !take('(')) {
      m_variables.push_back(node->text);
      return node;
    }
    node->kind = Node::Kind::function;
    m_hasDerivatives = m_hasDerivatives || isDerivative(node->text);
    do
      node->operands.push_back(sum());
    while (take(','));
    if (!take(')'))
      refuse("A ')' is missing");
    if (const int wanted = operandsOf(node->text); wanted != static_cast<int>(node->operands.size()))
      refuse(wanted == 0 ? orv::_("Function '%s' is not known", node->text)
                         : orv::_("Function '%s' takes %d values", node->text, wanted));
    return node;
  }

  const std::string& m_text;
  std::vector<std::string>& m_variables;
  bool& m_hasDerivatives;
  std::size_t m_at = 0;
  int m_depth = 0;
};

Value evaluate(const Node& node, const Evaluation& in)
{
  std::vector<Value> values;
  for (const NodePtr& operand : node.operands)
    values.push_back(evaluate(*operand, in));
  switch (node.kind) {
    case Node::Kind::number:
      return in.number(node.number, node.text);
    case Node::Kind::variable:
      return in.variable(node.text);
    case Node::Kind::negation:
      return in.product(in.number(-1, ""), values[0]);
    case Node::Kind::sum:
      return in.sum(values[0], values[1], 1);
    case Node::Kind::difference:
      return in.sum(values[0], values[1], -1);
    case Node::Kind::product:
      return in.product(values[0], values[1]);
    case Node::Kind::quotient:
      return in.quotient(values[0], values[1]);
    case Node::Kind::power:
      return in.power(values[0], values[1]);
    case Node::Kind::function:
      return in.function(node.text, values);
  }
  return {};
}

}  // namespace

Expression::Expression(const std::string& text)
    : m_text(text),
      m_root(Parser(m_text, m_variables, m_hasDerivatives).parse())
{}

Expression::~Expression() = default;

void Expression::addTo(Mesh& mesh, const std::string& name) const
{
  const Evaluation onPoints(m_text, mesh.units, *mesh.cells, false);
  const Value result = evaluate(*m_root, onPoints);
  mesh.cells->GetPointData()->AddArray(onPoints.arrayOf(result, name));
  const Evaluation onCells(m_text, mesh.units, *mesh.cells, true);
  if (onCells.has(m_variables))
    mesh.cells->GetCellData()->AddArray(onCells.arrayOf(evaluate(*m_root, onCells), name));
  for (Region& region : mesh.regions) {
    if (!m_hasDerivatives) {  // which takes cells on both sides
      const Evaluation onFaces(m_text, mesh.units, *region.faces, false);
      const Evaluation onFaceCells(m_text, mesh.units, *region.faces, true);
      region.faces->GetPointData()->AddArray(onFaces.arrayOf(evaluate(*m_root, onFaces), name));
      if (onFaceCells.has(m_variables))
        region.faces->GetCellData()->AddArray(onFaceCells.arrayOf(evaluate(*m_root, onFaceCells), name));
    }
  }
  if (result.isKnown)
    mesh.units[name] = unitsOf(result);
}

}  // namespace results
