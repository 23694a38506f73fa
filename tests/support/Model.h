// The objects as a tree of texts: what store and database have in common.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace orv {

// Siblings of one type keep their order; the order between types, and that of parameters, is not looked at.
struct ModelNode {
  std::string component;  // "A:a", "VIEW"; empty for the root
  std::map<std::string, std::string> params;
  std::map<std::string, std::vector<ModelNode>> children;  // by type

  // Siblings in the order of their names: deleted objects come back behind the others.
  ModelNode sorted() const;
  std::string toText(const std::string& indent = {}) const;
  bool operator==(const ModelNode&) const = default;
};

// The text store's data without its RULES, and the database's objects with the parameters that have been set; without
// what calculations may set behind the store's back: parameters of type Internal, and internal ones that refer.
ModelNode readStore();
ModelNode readDatabase();

}  // namespace orv
