// Variables made from others: "0.5 * Density * mag(U)^2".
//
// Numbers, with units in brackets; names of variables, in single quotes when they hold anything but letters, digits and
// "_"; components U.x, U.y, U.z; + - * / ^ and parentheses; mag dot cross grad div curl sqrt abs exp log sin cos min max.
// Units are checked where all that are added up or compared have some.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace results {

struct Mesh;
struct ExpressionNode;

class Expression {
 public:
  // Throws data::invalid, "Expression '%s': ... at '%s'.".
  explicit Expression(const std::string& text);
  ~Expression();
  // Adds the field to a mesh, where its variables stand. Throws data::invalid for a variable that the mesh does not have,
  // and for units or kinds of values that do not go together.
  void addTo(Mesh& mesh, const std::string& name) const;

 private:
  std::string m_text;
  std::vector<std::string> m_variables;  // that it names
  bool m_hasDerivatives = false;
  std::unique_ptr<const ExpressionNode> m_root;
};

}  // namespace results
