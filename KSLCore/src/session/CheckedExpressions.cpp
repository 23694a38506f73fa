#include "CheckedExpressions.h"

#include <set>

namespace orv {

std::optional<std::pair<std::string, std::string>> findCircle(const CheckedExpressions& expressions,
                                                              std::size_t text)
{
  struct Step {
    CheckedExpressions::const_iterator at;
    std::size_t next;
  };
  std::set<std::string> done;
  std::set<std::string> above;  // names of the steps
  std::vector<Step> steps;
  const auto enter = [&](const std::string& name) {
    const auto found = expressions.find(name);
    if (found == expressions.end() || !done.insert(name).second)
      return;
    above.insert(name);
    steps.push_back({found, 0});
  };
  for (const auto& [top, unused] : expressions) {
    enter(top);
    while (!steps.empty()) {
      const auto& [name, expression] = *steps.back().at;
      if (steps.back().next == expression.uses.size()) {
        above.erase(name);
        steps.pop_back();
        continue;
      }
      const std::string& used = expression.uses[steps.back().next++];
      if (above.count(used) > 0 && expression.text == text)
        return std::pair(name, used);
      enter(used);
    }
  }
  return std::nullopt;
}

}  // namespace orv
