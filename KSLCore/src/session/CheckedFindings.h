// What is told of texts, and where in them it is.
#pragma once

#include "session/TextChecker.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

class CheckedFindings {
 public:
  // The text that is looked at next; it outlives its findings' making.
  void begin(const SyntaxTree& tree, std::size_t number)
  {
    m_tree = &tree;
    m_text = number;
  }
  // Placed on the subject where a leaf of this kind holds it, else on the first such leaf, else on the statement. Good
  // until the next is added.
  CheckFinding& add(ErrorMsg error, SyntaxTree::Index node, SyntaxTree::LeafKind leaf, std::string subject);
  // What the library would refuse for its syntax; the likeliest cause of a count of END that is off is the place.
  void addSyntax(const std::function<bool(std::string_view)>& isType);

  std::size_t size() const { return m_findings.size(); }
  CheckFinding& operator[](std::size_t index) { return m_findings[index]; }
  // By text and place.
  std::vector<CheckFinding> take();

 private:
  void place(CheckFinding& finding, SyntaxTree::Index node, SyntaxTree::LeafKind kind) const;
  void explain(CheckFinding& finding, const std::vector<SyntaxNote>& causes) const;

  const SyntaxTree* m_tree = nullptr;
  std::size_t m_text = 0;
  std::vector<CheckFinding> m_findings;
};

}  // namespace orv
