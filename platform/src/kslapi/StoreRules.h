// What reading and validating KSL need of RULES: the kind of each type, as they stand in the tree, and its
// parameters, as who understands them has told.
#pragma once

#include "StoreTree.h"

#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace orv::store {

enum class Kind { unknown, object, singleton };

class Rules {
 public:
  explicit Rules(const Tree& tree) : m_tree(tree) {}

  // Rules of another store, asked when this tree has none. Not owned.
  void setFallback(const Rules* other)
  {
    m_fallback = other;
    ++m_changes;
  }

  Kind kindOf(std::string_view type) const;
  void define(const std::string& type, std::vector<std::string> params, bool takesAnyParam);
  // As defined.
  bool listsParam(std::string_view type, std::string_view param) const;
  std::vector<std::string> paramsOf(std::string_view type) const;

  // Forgets what was looked up; called for every change at or below /RULES, and when another validator knows more of them.
  void changed()
  {
    m_kinds.clear();
    ++m_changes;
  }
  // Moves on whenever something else may hold of a type.
  std::size_t changes() const { return m_changes + (m_fallback ? m_fallback->changes() : 0); }

  // The component of a header's type and name in its one canonical form: a singleton is its type alone, an
  // object has its name, which is the type when none is given.
  void appendComponent(std::string& path, std::string_view type, std::string_view name) const;

 private:
  struct Params {
    std::set<std::string, std::less<>> names;
    bool takesAny = false;
  };
  bool isDefined(std::string_view name, Kind kind) const;

  const Tree& m_tree;
  const Rules* m_fallback = nullptr;
  std::size_t m_changes = 0;
  mutable std::map<std::string, Kind, std::less<>> m_kinds;  // of types that were asked for, and are defined
  std::map<std::string, Params, std::less<>> m_params;
};

// True for "/RULES" and what lies below it.
bool isRulesPath(std::string_view path);
bool isRulesPath(const SharedText& path);

}  // namespace orv::store
