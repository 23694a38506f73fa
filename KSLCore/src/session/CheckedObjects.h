// The objects that texts define, as far as they have been read.
#pragma once

#include "CheckedTypes.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orv {

class CheckedObjects {
 public:
  using Index = std::uint32_t;
  static constexpr Index root = 0;
  static constexpr Index none = 0xFFFFFFFF;

  struct Object {
    const CheckedType* type = nullptr;  // null for the root
    std::string path;
    std::string name;
    Index parent = none;
    std::vector<Index> children;
    bool alive = true;
    std::string context;  // value of its context rule, when a text sets it
    bool hasContext = false;
    bool isProtected = false;
    std::size_t text = static_cast<std::size_t>(-1);  // that defines it first, and where
    std::size_t offset = 0;
  };

  // Begins with what the database holds.
  explicit CheckedObjects(CheckedTypes& types);

  // The object of this type and name in another, which is made unless it is there.
  Index define(Index parent, const CheckedType& type, std::string_view name);
  // With all that is in it.
  void remove(Index top);
  // A copy of the object with all that is in it, beside it or at another place.
  void copy(Index from, Index parent, const std::string& name);

  const Object& operator[](Index index) const { return m_objects[index]; }
  Object& operator[](Index index) { return m_objects[index]; }
  Index findPath(const std::string& path) const;  // none when there is none
  // As "> delete" finds it: a path, or a name at the top; of several that have it the first, and `ambiguous` says so.
  Index findNamed(const std::string& pathOrName, bool& ambiguous) const;

  // What an item of a reference means, seen from an object: see ReferenceResolver.
  struct Hit {
    Index object = none;
    bool fits = false;
    std::vector<Index> candidates;  // several
  };
  using Fits = std::function<bool(const CheckedType&)>;
  Hit resolve(Index from, std::string_view item, const std::string& remotePath, const Fits& fits) const;
  // The same, where the parameter says where to look, and what for.
  Hit resolve(Index from, std::string_view item, const ParamDefinition& param) const;
  // What a name in a formula means.
  Hit resolveInFormula(Index from, std::string_view name, const ParamDefinition& param) const;

 private:
  using Indices = std::vector<Index>;
  static std::size_t keyOf(Index parent, std::string_view name)
  {
    return std::hash<std::string_view>()(name) * 31 + parent;
  }
  Index add(Index parent, const CheckedType& type, std::string_view name, std::string path);
  void addNamed(Index from, std::string_view name, std::string_view type, Indices& out) const;
  Indices walk(Index start, std::string_view path) const;
  void step(Index from, std::string_view component, Indices& out) const;
  bool decides(Indices found, const Fits& fits, Hit& hit) const;

  CheckedTypes& m_types;
  std::deque<Object> m_objects;
  std::unordered_map<std::string_view, Index> m_paths;  // views into m_objects
  std::unordered_multimap<std::size_t, Index> m_names;  // by parent and name
};

}  // namespace orv
