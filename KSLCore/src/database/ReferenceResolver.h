// Finds the objects that names mean.
#pragma once

#include "database/NameQuestion.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

class KSLObject;
class ParamDefinition;

// Reads the items of one parameter's value, or the names in its formula. An item that starts with "/" is a path (of which the components
// may be bare names). Any other is sought in the object at the parameter's Remote Path, then seen from the
// parameter's object, then at the top level: the first place with a candidate decides, an object that can be
// meant. Where no place has one, the first object without what it takes is found, for somebody to say so.
class ReferenceResolver {
 public:
  struct Hit {
    KSLObject* object = nullptr;         // the one that is meant
    bool fits = false;                   // it is a candidate
    std::vector<KSLObject*> candidates;  // several, in the place that decides; then no object is meant
  };
  using Fits = std::function<bool(const KSLObject&)>;

  // `asked` gets all questions but those to the object itself.
  // Candidates have a scheduler of the parameter's Remote Type; for its default text, and for formulas, they are not the
  // object itself.
  ReferenceResolver(const KSLObject& from, const ParamDefinition& param, bool isDefault,
                    std::vector<NameQuestion>* asked = nullptr);
  // Without a Remote Path.
  ReferenceResolver(const KSLObject& from, Fits fits, std::vector<NameQuestion>* asked = nullptr);

  // Quotes around the item are taken off. An empty item names nothing. O(length), children of the same name
  // apart.
  Hit find(std::string_view item) const;
  // The same; most items are names as they stand, and need not be copied.
  Hit findItem(const std::string& item) const;
  // What is called so, of a name in a formula; not what has a component of this name.
  Hit findWhole(const std::string& name) const;
  // Whether names mean what is in the place, when no other place has it.
  bool looksIn(const std::string& place) const;

 private:
  using Objects = std::vector<KSLObject*>;
  Hit findInFormula(const std::string& name) const;
  Hit findName(const std::string& name) const;
  Hit findAbsolute(const std::string& path) const;
  Objects objectsAt(const KSLObject& place, const std::string& name) const;
  Objects walk(const KSLObject& start, std::string_view path) const;
  void step(const KSLObject& from, std::string_view component, Objects& out) const;
  bool decides(Objects found, Hit& hit) const;
  bool searchUp(const std::string& path, Hit& hit) const;
  bool isCandidate(const KSLObject& object) const;

  const KSLObject& m_from;
  const Fits m_fits;
  const bool m_isFormula = false;
  const bool m_isDefault = false;
  std::vector<NameQuestion>* m_asked;      // may be null
  const KSLObject* m_container = nullptr;  // at the Remote Path, if that leads anywhere
};

}  // namespace orv
