// What values name: objects, and expressions that are defined.
#pragma once

#include "CheckState.h"
#include "CheckedExpressions.h"
#include "CheckedLinks.h"

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orv {

class CheckedValues {
 public:
  using ObjectIndex = CheckedObjects::Index;
  using Index = SyntaxTree::Index;

  // Begins with the expressions that the database defines. The state outlives this.
  explicit CheckedValues(CheckState& state);

  // Whether a value of a parameter of such objects may name something.
  static bool mayName(const CheckedType& type, const CheckedParam& param, const std::string& value);
  // One that may, to be judged when what was defined takes effect; and that the parameter has one that does not.
  void note(Index node, ObjectIndex object, const CheckedParam& param, const std::string& value);
  void noteNone(ObjectIndex object, const CheckedParam& param);
  // An expression of this name.
  void noteDefinition(Index node, ObjectIndex object, const std::string& name, const std::string& value);
  // What was noted takes effect.
  void settle();
  // The text under way ends, and all of it has settled.
  void endText() { m_links.endText(); }
  // After the last text: what came too late for those that name it.
  void finish();
  // Likewise, for the names that are collected.
  void collectLater();

 private:
  using Expression = CheckedExpression;
  struct Pending {
    ObjectIndex object;
    Index node;
    const CheckedParam* param;
    std::string value;
  };
  // A place that names something, in a text that may be done with.
  struct Place {
    const SyntaxTree* tree;
    std::size_t text;
    Index node;
  };
  // A name in the definition of an expression, which may come before what it names.
  struct LaterUse {
    ObjectIndex object;
    std::string name;
    Place place;
  };
  // A name that may mean something else than an object, which may come later.
  struct TextUse {
    ObjectIndex object;
    const CheckedParam* param;
    std::string name;
    Place place;
    std::size_t number;  // of the item in the value
  };
  // An object that was not there when it was named.
  struct Missing {
    std::size_t finding;
    ObjectIndex object;
    const CheckedParam* param;
    std::string item;
    Place place;
    std::size_t number;  // of the item in the value
  };
  // Of a parameter: the expressions that its value names.
  struct User {
    std::string value;
    std::vector<std::string> names;
  };
  // A name of an expression that was not defined when it was used.
  struct MissingName {
    std::size_t finding;
    ObjectIndex object;
    std::string name;
    Place place;
  };

  std::vector<std::string> checkExpression(Index node, ObjectIndex object, const std::string& name,
                                           const std::string& value);
  void checkReference(const Pending& pending);
  void checkFormula(const Pending& pending);
  Place placeOf(Index node) const { return {m_state.tree, m_state.text, node}; }
  void addUse(ObjectIndex object, const std::string& name, const Place& place);
  void addUse(const TextUse& use);
  void noteOptional(const Pending& pending);
  void addMissing(const Pending& pending, const std::string& item, const std::string& name,
                  std::size_t number);
  void addMissingName(const Pending& pending, const std::string& name);
  CheckedObjects::Hit resolveVariable(ObjectIndex from, const std::string& name) const;
  CheckedObjects::Hit resolve(const Missing& missing) const;
  void addAmbiguous(const Pending& pending, const std::string& name,
                    const std::vector<ObjectIndex>& candidates);
  void checkNames(const Pending& pending);
  void checkName(const Pending& pending, const std::string& name, std::vector<ObjectIndex>& objects);
  std::vector<std::string> expressionNames() const;
  void checkUses(const std::string& top, const Pending* user);
  void checkCircles();
  void settleRemoval(Index node);
  const Expression* lostBy(const User& user, const std::set<std::string>& gone, std::string& name) const;
  bool isVariableObject(const std::string& name) const;
  void addMissingUse(const std::string& name, const Expression& expression, const std::string& used,
                     const Pending* user);
  void lookLater(const Missing& missing);
  void lookLater(const MissingName& missing);

  CheckState& m_state;
  CheckedExpressions m_expressions;  // those that are defined
  CheckedLinks m_links{m_state, m_expressions, [this](const std::string& name) {
                         const CheckedObjects::Hit hit = resolveVariable(CheckedObjects::root, name);
                         return hit.fits ? hit.object : CheckedObjects::none;
                       }};
  std::set<std::string> m_used;  // of these, by values
  bool m_definitionsChanged = false;
  std::set<ObjectIndex> m_definers;  // of expressions
  std::map<std::pair<ObjectIndex, const CheckedParam*>, User> m_users;
  std::vector<Pending> m_pending;
  std::vector<Missing> m_missing;
  std::vector<MissingName> m_missingNames;
  std::vector<LaterUse> m_uses;
  std::vector<TextUse> m_textUses;
};

}  // namespace orv
