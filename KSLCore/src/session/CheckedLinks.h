// Which objects are computed from which, as far as texts say; for circles among them.
#pragma once

#include "CheckState.h"
#include "CheckedExpressions.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace orv {

// Keeps what parameters name that may be part of a circle: those from whose kind of data the rules lead back to what they
// are computed from. Few types have any, and others cost nothing here.
class CheckedLinks {
 public:
  using Object = CheckedObjects::Index;

  // The object that a name stands for in an expression; CheckedObjects::none for other names.
  using FindVariable = std::function<Object(const std::string&)>;

  // The state and the expressions outlive this.
  CheckedLinks(CheckState& state, const CheckedExpressions& expressions, FindVariable findVariable)
      : m_state(state),
        m_expressions(expressions),
        m_findVariable(std::move(findVariable))
  {}

  // What a parameter names now, by the statement at this node of the text under way: objects and named expressions, or the
  // names in a formula; and what its default does.
  void set(Object object, const CheckedParam& param, SyntaxTree::Index node, std::vector<Object> targets,
           std::vector<std::string> names = {});
  // An expression has another definition.
  void define(const std::string& name)
  {
    if (m_usesNames)
      m_newNames.insert(name);
  }
  void setToDefault(Object object, const CheckedParam& param);
  // Adds a finding for each circle that has come since the last call, as entering reports it. Costs what the objects that
  // are newly linked are computed from, unless nothing is computed from them; what would cost more than the text is long
  // waits for its end, and is told then if the circle is still there.
  void addCircles();
  void endText();

 private:
  // A calculation: an object, and what of it is computed; or an expression, by its name.
  using Node = std::pair<Object, std::string_view>;
  struct Named {
    std::size_t text;
    SyntaxTree::Index node;
    std::vector<Object> targets;
    std::vector<std::string> names;
    bool isDefault;
  };
  // From a calculation to one that it is computed from.
  struct Edge {
    Node to;
    const CheckedParam* param;  // null within an object
  };
  struct Step {
    Node node;
    std::vector<Edge> edges;
    std::size_t next = 0;
    const Edge& taken() const { return edges[next - 1]; }
  };
  using Key = std::pair<Object, const CheckedParam*>;

  static constexpr std::size_t creditOfText = 10000;
  static constexpr std::size_t creditOfCommand = 10;

  static std::vector<std::string_view> sourcesIn(const CheckedType& target, const CheckedParam& param);
  std::vector<std::string> sourcesOf(const CheckedParam& param) const;
  void findKinds();
  bool mayCircle(const CheckedParam& param);
  const std::vector<const CheckedParam*>& circularOf(const CheckedType& type);
  std::vector<Object> targetsOf(Object object, const CheckedParam& param) const;
  std::vector<Object> targetsIn(Object object, const CheckedParam& param,
                                const std::vector<std::string>& names) const;
  std::vector<Object> defaultTargets(Object object, const CheckedParam& param) const;
  void addVariable(Object target, const CheckedParam* param, std::vector<Edge>& edges) const;
  const CheckedExpression* expressionAt(const Node& node) const;
  std::vector<Edge> edgesOfExpression(const CheckedExpression& expression) const;
  std::vector<Edge> edgesOf(const Node& node);
  std::string nameOf(const Node& node) const;
  std::optional<SyntaxTree::Index> statementOf(const Step& step) const;
  bool search(const std::string& name, std::set<Node>& done);
  bool isToBeSearched(const Key& key) const;
  bool search(const Node& start, std::set<Node>& done);
  void addCircle(const std::vector<Step>& steps, const Node& again);

  CheckState& m_state;
  const CheckedExpressions& m_expressions;
  FindVariable m_findVariable;
  std::map<Key, Named> m_named;
  std::set<Object> m_used;  // something is computed from these
  std::vector<Key> m_news;
  std::vector<Key> m_postponed;
  std::set<std::string> m_newNames;  // of expressions
  std::set<std::string> m_postponedNames;
  bool m_usesFormulas = false;          // whose names may come to mean objects
  bool m_usesNames = false;             // expressions are, by parameters that are kept here
  std::set<SyntaxTree::Index> m_told;   // that close circles, of this text
  std::size_t m_credit = creditOfText;  // how many calculations may be looked at before the end of the text
  std::map<std::string, std::set<std::string>> m_kinds;  // of data, and those that are computed from them
  std::vector<std::string> m_valueKinds;                 // that expressions may use
  std::unordered_map<const CheckedType*, std::vector<const CheckedParam*>> m_circular;
};

}  // namespace orv
