// Variables made from others: "0.5 * Density * mag(U)^2".
//
// Numbers, with units in brackets; names of variables, in single quotes when they hold anything but letters, digits and
// "_"; components U.x, U.y, U.z; + - * / ^ and parentheses; mag dot cross grad div curl sqrt abs exp log sin cos min max.
// Units are checked where all that are added up or compared have some. Texts may be as long and as deep as they like.
#pragma once

#include "Ptr.h"

#include <cstddef>
#include <string>
#include <vector>
#include <vtkDoubleArray.h>

namespace results {

class Evaluation;
struct ExpressionNode;
struct Mesh;
struct Value;

class Expression {
 public:
  // Throws data::invalid, "Expression '%s': ... at '%s'.".
  explicit Expression(const std::string& text);
  ~Expression();
  // Adds the field to a mesh, where its variables stand. Throws data::invalid for a variable that the mesh does not have,
  // and for units or kinds of values that do not go together.
  void addTo(Mesh& mesh, const std::string& name) const;

 private:
  void arrange();
  Value evaluate(const Evaluation& in) const;
  Ptr<vtkDoubleArray> arrayOn(const Evaluation& in, const std::string& name, bool always) const;

  std::string m_text;
  std::vector<std::string> m_variables;  // that it names, each once
  bool m_hasDerivatives = false;
  std::vector<ExpressionNode> m_nodes;  // operands before what is made of them
  std::vector<std::size_t> m_order;     // in which they are evaluated
};

}  // namespace results
