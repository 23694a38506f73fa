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

// The first circle among them that this text closes, as entering it meets them: the name whose definition does so, the last
// of the circle, and one that it uses and that leads back to it. Linear in the expressions when there is none, else by the
// logarithm of those of the text more.
std::optional<std::pair<std::string, std::string>> findCircle(const CheckedExpressions& expressions,
                                                              std::size_t text);

}  // namespace orv
