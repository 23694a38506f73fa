// Texts that have to be said in full, or to follow an object to its new name.
#pragma once

#include "platform/ORVKSLAPI.h"
#include "rules/Relocation.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace orv {

class GenericKSLObject;
class KSLObject;
class NameIndex;
class NameLink;
class ParamDefinition;

// For one update. Default texts are never rewritten.
class NameRewriter {
 public:
  // The relocation is not owned and may be null.
  NameRewriter(const NameIndex& index, const Relocation* relocation)
      : m_index(index),
        m_relocation(relocation)
  {}

  // As LinkTransaction has them.
  void requireName() const;
  bool follow(const KSLObject& going);
  KSLChangeList rewrites();

 private:
  struct Followed {
    std::string before;                                      // the text of which these are the items
    std::vector<std::pair<std::string, std::string>> items;  // and the paths that they are to lead to
    std::string text;                                        // of an expression or a formula
  };
  void followIn(const NameLink& link, const KSLObject& going);
  void followInFormula(const NameLink& link, const KSLObject& going);
  bool isUsed(const NameLink& definition) const;
  bool canName(const NameLink& link, const std::string& name) const;
  bool canNameInFormula(const NameLink& link, const KSLObject& object, const std::string& name) const;
  bool means(const NameLink& link, const KSLObject& object, const std::string& name) const;
  std::vector<NameLink*> usersOf(const KSLObject& object) const;
  std::string relocated(const std::string& path) const;
  std::vector<std::string> itemsInFull(const NameLink& link) const;
  std::vector<std::string> itemsOfCopy(const NameLink& link) const;
  static void rewrite(GenericKSLObject& holder, const ParamDefinition& param, const std::string& text,
                      KSLChangeList& changes);

  const NameIndex& m_index;
  const Relocation* const m_relocation;
  std::map<std::pair<std::string, std::string>, Followed> m_followed;  // by path and parameter
};

}  // namespace orv
