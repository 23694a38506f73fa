// What the RULES in a tree say that reading and validating KSL need: the kind of each type and its
// parameters.
#pragma once

#include "StoreTree.h"

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace orv::store {

enum class Kind { unknown, object, singleton };

class Rules {
 public:
  explicit Rules(const Tree& tree) : m_tree(tree) {}

  // Rules of another store, asked when this tree has none. Not owned.
  void setFallback(const Rules* other) { m_fallback = other; }

  Kind kindOf(std::string_view type) const;
  // Whether the type's definition or one of its contexts lists the parameter.
  bool listsParam(std::string_view type, std::string_view param) const;

  // Forgets what was looked up; called for every change at or below /RULES.
  void changed() { m_types.clear(); }

  // The component of a header's type and name in its one canonical form: a singleton is its type alone, an
  // object has its name, which is the type when none is given.
  void appendComponent(std::string& path, std::string_view type, std::string_view name) const;

 private:
  struct Type {
    Kind kind = Kind::unknown;
    bool hasParams = false;  // params is filled
    bool takesAny = false;
    std::set<std::string, std::less<>> params;
  };
  Type* findType(std::string_view name) const;  // null for a type that nobody defined
  const Node* definition(std::string_view name, Kind kind) const;

  const Tree& m_tree;
  const Rules* m_fallback = nullptr;
  mutable std::map<std::string, Type, std::less<>> m_types;
};

// True for "/RULES" and what lies below it.
bool isRulesPath(std::string_view path);

}  // namespace orv::store
