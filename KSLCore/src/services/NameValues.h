// The values of names, in one evaluation.
#pragma once

#include "platform/ORVExpressions.h"
#include "services/ExpressionCache.h"

#include <cstddef>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orv {

class KSLObject;
class ParamDefinition;

// Follows names through texts: other parameters of an object, named expressions, variables, as VariableNames finds
// them. Every text is evaluated once, what it uses before it, on a stack of its own: names may lead as far as memory
// allows. Values of expressions that depend on nothing but expressions are left in their cache.
class NameValues {
 public:
  // The value of a name in a text that stands in a parameter of the object; none when nothing has that name. Throws
  // what the texts throw that it leads to; data::notFound, class "VariableNames", function "valueOf", "More than one
  // object with name '%s' exists."; data::invalid, "Expression '%s' tries to use object '%s' as a variable.", and for
  // what is computed "Variable '%s' has no value: nothing is computed for it." and "Variable '%s' is out of date."; and
  // ksl::cyclicRef, "Tried to make object %s (%s) reference itself." (path, parameter), when a text leads back to
  // itself.
  std::optional<ExpressionValue> valueOf(const KSLObject& from, const std::string& parameter,
                                         const std::string& name, const ExpressionDef& expression);
  // REQUIRES: the expression is defined.
  ExpressionValue valueOf(ExpressionsKSLObject& expressions, const std::string& name);

 private:
  struct Node {
    const KSLObject* object = nullptr;
    std::string parameter;
    ExpressionsKSLObject* expressions =
        nullptr;  // of which it is one; null for a parameter of another object
    ExpressionDef expression;
    std::vector<Node*> uses;
    std::size_t next = 0;  // of the names of the expression
    ExpressionValue value;
    std::exception_ptr error;  // in place of a value
    enum { fresh, open, done } state = fresh;
    bool outside = false;  // leads, directly or not, to what is no expression
  };

  Node* find(const KSLObject& from, const std::string& parameter, const std::string& name,
             const ExpressionDef& expression);
  Node& nodeOf(const KSLObject& object, const std::string& parameter);
  void bringUpToDate(Node& start);
  bool begin(Node& node);
  static void read(Node& node);
  static void requireComputed(const KSLObject& object, const ParamDefinition& value);
  Node* nextUsed(Node& node);
  void use(Node& user, Node& used, std::vector<Node*>& open);
  static void compute(Node& node);
  static ExpressionValue computed(const Node& node);
  static void fail(Node& node);
  static void keep(Node& node);
  static const ExpressionValue& result(const Node& node);

  std::map<std::pair<const KSLObject*, std::string>, Node> m_nodes;
};

}  // namespace orv
