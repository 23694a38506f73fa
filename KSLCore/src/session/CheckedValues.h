// What values name: objects, and expressions that are defined.
#pragma once

#include "CheckState.h"
#include "CheckedExpressions.h"
#include "CheckedLinks.h"

#include <set>
#include <string>
#include <vector>

namespace orv {

class CheckedValues {
 public:
  using ObjectIndex = CheckedObjects::Index;
  using Index = SyntaxTree::Index;

  // Begins with the expressions that the database defines. The state outlives this.
  explicit CheckedValues(CheckState& state);

  // A value that may name something, to be judged when what was defined takes effect; one that is the default, or a keyword.
  void note(Index node, ObjectIndex object, const CheckedParam& param, const std::string& value);
  void noteDefault(ObjectIndex object, const CheckedParam& param);
  // An expression of this name.
  void noteDefinition(Index node, ObjectIndex object, const std::string& name, const std::string& value);
  // What was noted takes effect.
  void settle();
  // The text under way ends, and all of it has settled.
  void endText() { m_links.endText(); }
  // After the last text: what came too late for those that name it.
  void finish();

 private:
  using Expression = CheckedExpression;
  struct Pending {
    ObjectIndex object;
    Index node;
    const CheckedParam* param;
    std::string value;  // empty for the default
  };
  // An object that was not there when it was named.
  struct Missing {
    std::size_t finding;
    ObjectIndex object;
    const CheckedParam* param;
    std::string item;
  };

  std::vector<std::string> checkExpression(Index node, ObjectIndex object, const std::string& name,
                                           const std::string& value);
  void checkReference(const Pending& pending);
  void addMissing(const Pending& pending, const std::string& item, const std::string& name);
  void addAmbiguous(const Pending& pending, const std::string& name,
                    const std::vector<ObjectIndex>& candidates);
  void checkNames(const Pending& pending);
  void checkName(const Pending& pending, const std::string& name, std::vector<ObjectIndex>& objects);
  std::vector<std::string> expressionNames() const;
  void checkUses(const std::string& top, const Pending* user);
  void checkCircles();
  bool isVariableObject(const std::string& name) const;
  void addMissingUse(const std::string& name, const Expression& expression, const std::string& used,
                     const Pending* user);
  void lookLater(const Missing& missing);

  CheckState& m_state;
  CheckedLinks m_links{m_state};
  CheckedExpressions m_expressions;  // those that are defined
  std::set<std::string> m_used;      // of these, by values
  bool m_definitionsChanged = false;
  std::vector<Pending> m_pending;
  std::vector<Missing> m_missing;
};

}  // namespace orv
