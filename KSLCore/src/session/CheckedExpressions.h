// The named expressions that texts define.
#pragma once

#include "platform/ORVSyntax.h"
#include "CheckedObjects.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orv {

// What it uses must be there once somebody uses it.
struct CheckedExpression {
  std::size_t text = static_cast<std::size_t>(-1);  // that defines it, and where
  SyntaxTree::Index node = 0;
  CheckedObjects::Index object = 0;
  std::string value = {};
  std::vector<std::string> uses = {};
};
using CheckedExpressions = std::map<std::string, CheckedExpression>;

// The first circle that is found among them: a name that this text defines, and one that it uses and that leads back to
// it. Linear in the expressions.
std::optional<std::pair<std::string, std::string>> findCircle(const CheckedExpressions& expressions,
                                                              std::size_t text);

}  // namespace orv
