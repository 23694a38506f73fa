// Action lines: whether they will do, and what they do to the objects.
#pragma once

#include "actions/KSLCopyImpl.h"
#include "CheckState.h"

#include <set>
#include <string>
#include <vector>

namespace orv {

class CheckedActionLines {
 public:
  // With the words of actions that there are. The state outlives this.
  CheckedActionLines(CheckState& state, const std::vector<std::string>& actions)
      : m_state(state),
        m_actions(actions.begin(), actions.end())
  {}

  void check(SyntaxTree::Index node);

 private:
  using Index = SyntaxTree::Index;
  using ObjectIndex = CheckedObjects::Index;

  ObjectIndex findNamed(Index node, const std::string& name);
  void follow(Index node, const std::vector<std::string>& words);
  void followRulesInfo(Index node, const std::vector<std::string>& words);
  void noteMentions(Index node, const std::vector<std::string>& words);
  void followDelete(Index node, const std::vector<std::string>& words);
  void followCopy(Index node, const std::vector<std::string>& words);

  bool mayCopy(Index node, const KSLCopyImpl::Paths& paths, bool renames);
  ObjectIndex defineAbove(const KSLPath& path);

  CheckState& m_state;
  const std::set<std::string> m_actions;
};

}  // namespace orv
