#include "Expression.h"

#include "platform/ORVError.h"
#include "platform/ORVProgress.h"
#include "platform/ORVUtilities.h"
#include "ExpressionValues.h"
#include "running.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <string_view>
#include <utility>
#include <vtkCellData.h>
#include <vtkPointData.h>

namespace results {

struct ExpressionNode {
  enum class Kind { number, variable, negation, sum, difference, product, quotient, power, function };
  Kind kind = Kind::number;
  double number = 0;
  std::string text;                   // units of a number; the name of a variable or function
  std::vector<std::size_t> operands;  // where they stand
};

namespace {

using Node = ExpressionNode;

// Operators wait, on a stack of their own, for what binds more tightly.
class Parser {
 public:
  Parser(const std::string& text, std::vector<Node>& nodes) : m_text(text), m_nodes(nodes) {}

  void parse()
  {
    do
      operand();
    while (operatorBehind());
  }

 private:
  struct Waiting {
    Node::Kind kind;
    int rank;           // 0: a parenthesis that is open
    std::string name;   // of the function whose parenthesis it is
    std::size_t count;  // of its operands
  };

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

  // One operand, with what opens before it.
  void operand()
  {
    while (true) {
      const char next = skip();
      if (take('-'))
        m_waiting.push_back({Node::Kind::negation, 3, {}, 1});
      else if (take('('))
        m_waiting.push_back({Node::Kind::function, 0, {}, 1});
      else if (std::isdigit(static_cast<unsigned char>(next)) || next == '.')
        return number();
      else if (!std::isalpha(static_cast<unsigned char>(next)) && next != '_' && next != '\'')
        refuse("A value is missing");
      else if (!function())
        return;
    }
  }
  // What closes behind an operand, up to the operator or comma that asks for another one: false without.
  bool operatorBehind()
  {
    while (true) {
      if (binary(skip()))
        return true;
      while (!m_waiting.empty() && m_waiting.back().rank > 0)
        build();
      if (m_waiting.empty())
        break;
      Waiting& open = m_waiting.back();
      if (!open.name.empty() && take(',')) {
        ++open.count;
        return true;
      }
      if (!take(')'))
        refuse("A ')' is missing");
      close();
    }
    if (skip() != '\0')
      refuse("An operator is missing");
    return false;
  }
  bool binary(char c)
  {
    constexpr std::string_view known = "+-*/^";
    const std::size_t which = known.find(c);
    if (c == '\0' || which == std::string_view::npos)
      return false;
    using enum Node::Kind;
    constexpr Node::Kind kinds[] = {sum, difference, product, quotient, power};
    constexpr int ranks[] = {1, 1, 2, 2, 4};
    ++m_at;
    // Powers stand from right to left.
    while (!m_waiting.empty() && m_waiting.back().rank >= ranks[which] + (kinds[which] == power ? 1 : 0))
      build();
    m_waiting.push_back({kinds[which], ranks[which], {}, 2});
    return true;
  }
  // The last that waits, made of what was built last.
  void build()
  {
    Waiting made = std::move(m_waiting.back());
    m_waiting.pop_back();
    Node node{made.kind, 0, std::move(made.name), {}};
    const auto first = m_built.end() - static_cast<std::ptrdiff_t>(made.count);
    node.operands.assign(first, m_built.end());
    m_built.erase(first, m_built.end());
    add(std::move(node));
  }
  void add(Node node)
  {
    m_built.push_back(m_nodes.size());
    m_nodes.push_back(std::move(node));
  }
  void close()
  {
    const Waiting& open = m_waiting.back();
    if (open.name.empty())
      return m_waiting.pop_back();
    if (const int wanted = operandsOf(open.name); wanted != static_cast<int>(open.count))
      refuse(wanted == 0 ? orv::_("Function '%s' is not known", open.name)
                         : orv::_("Function '%s' takes %d values", open.name, wanted));
    build();
  }

  void number()
  {
    Node node;
    const char* const begin = m_text.data() + m_at;
    const auto [end, failure] = std::from_chars(begin, m_text.data() + m_text.size(), node.number);
    if (failure != std::errc())
      refuse("A number cannot be read");
    m_at += static_cast<std::size_t>(end - begin);
    if (take('[')) {
      const std::size_t close = m_text.find(']', m_at);
      if (close == std::string::npos)
        refuse("A ']' is missing");
      node.text = orv::StringUtilities::simplifyWhitespace(m_text.substr(m_at, close - m_at));
      m_at = close + 1;
    }
    add(std::move(node));
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
  // Whether it opens one; else the name is a variable's.
  bool function()
  {
    const bool isQuoted = skip() == '\'';
    std::string name = word();
    if (isQuoted || !take('(')) {
      add({Node::Kind::variable, 0, std::move(name), {}});
      return false;
    }
    m_waiting.push_back({Node::Kind::function, 0, std::move(name), 1});
    return true;
  }

  const std::string& m_text;
  std::vector<Node>& m_nodes;
  std::vector<Waiting> m_waiting;
  std::vector<std::size_t> m_built;  // what is no operand of anything yet
  std::size_t m_at = 0;
};

Value apply(const Node& node, const std::vector<Value>& values, const Evaluation& in)
{
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

Expression::Expression(const std::string& text) : m_text(text)
{
  Parser(m_text, m_nodes).parse();
  for (const Node& node : m_nodes) {
    if (node.kind == Node::Kind::variable)
      m_variables.push_back(node.text);
    m_hasDerivatives = m_hasDerivatives || (node.kind == Node::Kind::function && isDerivative(node.text));
  }
  std::sort(m_variables.begin(), m_variables.end());
  m_variables.erase(std::unique(m_variables.begin(), m_variables.end()), m_variables.end());
  arrange();
}

Expression::~Expression() = default;

// What takes more values at a time comes before its neighbour: however deep a text is, the values that wait are no more
// than the logarithm of its length.
void Expression::arrange()
{
  std::vector<int> needs(m_nodes.size(), 1);
  std::vector<std::vector<std::size_t>> operands(m_nodes.size());
  for (std::size_t i = 0; i < m_nodes.size(); ++i) {
    operands[i] = m_nodes[i].operands;
    std::stable_sort(operands[i].begin(), operands[i].end(),
                     [&](std::size_t a, std::size_t b) { return needs[a] > needs[b]; });
    for (std::size_t k = 0; k < operands[i].size(); ++k)
      needs[i] = std::max(needs[i], needs[operands[i][k]] + static_cast<int>(k));
  }
  std::vector<std::size_t> path{m_nodes.size() - 1};
  std::vector<std::size_t> done(m_nodes.size(), 0);
  while (!path.empty()) {
    const std::size_t node = path.back();
    if (done[node] < operands[node].size()) {
      path.push_back(operands[node][done[node]++]);
    } else {
      m_order.push_back(node);
      path.pop_back();
    }
  }
}

Value Expression::evaluate(const Evaluation& in) const
{
  std::vector<Value> values(m_nodes.size());
  std::vector<Value> operands;
  for (const std::size_t at : m_order) {
    orv::Progress::step();
    operands.clear();
    for (const std::size_t operand : m_nodes[at].operands)
      operands.push_back(std::exchange(values[operand], {}));
    values[at] = apply(m_nodes[at], operands, in);
  }
  return std::move(values.back());
}

// Null where its variables do not stand.
Ptr<vtkDoubleArray> Expression::arrayOn(const Evaluation& in, const std::string& name, bool always) const
{
  return always || in.has(m_variables) ? in.arrayOf(evaluate(in), name) : nullptr;
}

namespace {

// In place of a variable of that name which the file has.
void put(vtkDataSetAttributes& fields, const Ptr<vtkDoubleArray>& array, const std::string& name)
{
  fields.RemoveArray(name.c_str());
  if (array)
    fields.AddArray(array);
}

}  // namespace

void Expression::addTo(Mesh& mesh, const std::string& name) const
{
  const Evaluation onPoints(m_text, mesh.units, *mesh.cells, false);
  const Evaluation onCells(m_text, mesh.units, *mesh.cells, true);
  const Value result = evaluate(onPoints);
  const Ptr<vtkDoubleArray> ofCells = arrayOn(onCells, name, false);
  mesh.cells->GetPointData()->AddArray(onPoints.arrayOf(result, name));
  put(*mesh.cells->GetCellData(), ofCells, name);
  for (Region& region : mesh.regions) {
    // Derivatives, and what is made of them, take cells on both sides.
    const Evaluation onFaces(m_text, mesh.units, *region.faces, false);
    const Evaluation onFaceCells(m_text, mesh.units, *region.faces, true);
    const Ptr<vtkDoubleArray> points =
        m_hasDerivatives ? nullptr : arrayOn(onFaces, name, m_variables.empty());
    const Ptr<vtkDoubleArray> faces = points ? arrayOn(onFaceCells, name, false) : nullptr;
    put(*region.faces->GetPointData(), points, name);
    put(*region.faces->GetCellData(), faces, name);
  }
  mesh.units.erase(name);
  if (result.isKnown)
    mesh.units[name] = unitsOf(result);
}

}  // namespace results
