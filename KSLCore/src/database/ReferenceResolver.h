// Finds the objects that references name.
#pragma once

#include <string>
#include <string_view>

namespace orv {

class KSLObject;
class ParamDefinition;

// Reads the items of one parameter's value. An item that starts with "/" is a path (of which the components
// may be bare names). Any other is sought in the object at the parameter's Remote Path, then seen from the
// parameter's object, then at the top level: the first place with a hit decides.
class ReferenceResolver {
 public:
  struct Hit {
    KSLObject* object = nullptr;
    bool ambiguous = false;  // several objects in the place that decides; then there is no object
  };

  ReferenceResolver(const KSLObject& from, const ParamDefinition& param);

  // Quotes around the item are taken off. An empty item names nothing. O(length), children of the same name
  // apart.
  Hit find(std::string_view item) const;

 private:
  Hit findAbsolute(const std::string& path) const;
  static Hit walk(const KSLObject& start, std::string_view path);
  Hit searchUp(std::string_view path) const;

  const KSLObject& m_from;
  const KSLObject* m_container = nullptr;  // at the Remote Path, if that leads anywhere
};

}  // namespace orv
