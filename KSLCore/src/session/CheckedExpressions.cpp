#include "CheckedExpressions.h"

#include <algorithm>
#include <set>

namespace orv {

namespace {

using Place = CheckedExpressions::const_iterator;

// Goes through the expressions as they were when this one of the text, or none yet, had been read.
class CircleSearch {
 public:
  CircleSearch(const CheckedExpressions& expressions, std::size_t text, SyntaxTree::Index last)
      : m_expressions(expressions),
        m_text(text),
        m_last(last)
  {}

  // Whether uses lead back to where they come from, by an expression of the text.
  bool finds()
  {
    for (Place at = m_expressions.begin(); at != m_expressions.end(); ++at)
      if (walk(at, [this](std::size_t from) { return isOfText(from); }))
        return true;
    return false;
  }
  // Whether what is used leads to the name.
  bool leadsTo(const std::string& used, const std::string& name)
  {
    if (used == name)
      return true;
    m_above.insert(name);
    const bool found = walk(m_expressions.find(used), [](std::size_t) { return true; });
    m_steps.clear();
    m_above.clear();
    return found;
  }

 private:
  struct Step {
    Place at;
    std::size_t next;
  };

  void enter(Place at)
  {
    const bool isThere =
        at != m_expressions.end() && (at->second.text != m_text || at->second.node <= m_last);
    if (!isThere || !m_done.insert(at->first).second)
      return;
    m_above.insert(at->first);
    m_steps.push_back({at, 0});
  }
  // Depth first, until a name that is above is met again and `counts`, which is given the step of that name.
  template <class Counts>
  bool walk(Place start, Counts counts)
  {
    enter(start);
    while (!m_steps.empty()) {
      Step& step = m_steps.back();
      if (step.next == step.at->second.uses.size()) {
        m_above.erase(step.at->first);
        m_steps.pop_back();
        continue;
      }
      const std::string& used = step.at->second.uses[step.next++];
      if (m_above.count(used) == 0)
        enter(m_expressions.find(used));
      else if (counts(stepOf(used)))
        return true;
    }
    return false;
  }
  std::size_t stepOf(const std::string& name) const
  {
    std::size_t i = m_steps.size();
    while (i > 0 && m_steps[i - 1].at->first != name)
      --i;
    return i == 0 ? 0 : i - 1;
  }
  bool isOfText(std::size_t from) const
  {
    return std::any_of(m_steps.begin() + static_cast<std::ptrdiff_t>(from), m_steps.end(),
                       [this](const Step& step) { return step.at->second.text == m_text; });
  }

  const CheckedExpressions& m_expressions;
  const std::size_t m_text;
  const SyntaxTree::Index m_last;
  std::set<std::string> m_done;
  std::set<std::string> m_above;  // names of the steps, and what is sought
  std::vector<Step> m_steps;
};

// In the order in which they stand there.
std::vector<Place> expressionsOf(const CheckedExpressions& expressions, std::size_t text)
{
  std::vector<Place> places;
  for (Place at = expressions.begin(); at != expressions.end(); ++at)
    if (at->second.text == text)
      places.push_back(at);
  std::sort(places.begin(), places.end(), [](Place a, Place b) { return a->second.node < b->second.node; });
  return places;
}

}  // namespace

std::optional<std::pair<std::string, std::string>> findCircle(const CheckedExpressions& expressions,
                                                              std::size_t text)
{
  const std::vector<Place> places = expressionsOf(expressions, text);
  const auto isClosedAt = [&](Place last) {
    return CircleSearch(expressions, text, last->second.node).finds();
  };
  if (places.empty() || !isClosedAt(places.back()))
    return std::nullopt;
  const auto closing =
      *std::partition_point(places.begin(), places.end() - 1, [&](Place last) { return !isClosedAt(last); });
  CircleSearch back(expressions, text, closing->second.node);
  for (const std::string& used : closing->second.uses)
    if (back.leadsTo(used, closing->first))
      return std::pair(closing->first, used);
  return std::nullopt;
}

}  // namespace orv
