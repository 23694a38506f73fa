#include "CheckedFindings.h"

#include <algorithm>
#include <utility>

namespace orv {

CheckFinding& CheckedFindings::add(ErrorMsg error, SyntaxTree::Index node, SyntaxTree::LeafKind leaf,
                                   std::string subject)
{
  CheckFinding& finding = m_findings.emplace_back();
  finding.error = std::move(error);
  finding.text = m_text;
  finding.subject = std::move(subject);
  place(finding, node, leaf);
  return finding;
}

void CheckedFindings::place(CheckFinding& finding, SyntaxTree::Index node, SyntaxTree::LeafKind kind) const
{
  finding.offset = (*m_tree)[node].offset;
  finding.size = 0;
  std::vector<SyntaxTree::Leaf> leaves;
  m_tree->leaves(node, leaves);
  bool found = false;
  for (const SyntaxTree::Leaf& leaf : leaves) {
    if (leaf.kind != kind)
      continue;
    const std::string_view text = std::string_view(m_tree->text()).substr(leaf.offset, leaf.size);
    const std::size_t at = finding.subject.empty() ? std::string_view::npos : text.find(finding.subject);
    if (at == std::string_view::npos && found)
      continue;
    found = true;
    finding.offset = leaf.offset + (at == std::string_view::npos ? 0 : at);
    finding.size = at == std::string_view::npos ? leaf.size : finding.subject.size();
    if (at != std::string_view::npos)
      return;
  }
}

void CheckedFindings::addSyntax(const std::function<bool(std::string_view)>& isType)
{
  const std::vector<SyntaxTree::Report> reports = m_tree->reports();
  const std::vector<SyntaxNote> causes = explainEnds(*m_tree, isType);
  for (const SyntaxTree::Report& report : reports) {
    CheckFinding& finding = m_findings.emplace_back();
    const bool isCount = report.node == SyntaxTree::none;
    finding.error = ErrorMsg(isCount ? "KSLInterface" : "KSLAPI", isCount ? "preParseKSL" : "loadKSLData",
                             report.message, errorType::ordinary);
    finding.text = m_text;
    finding.offset = report.offset;
    finding.size = report.size;
    if (isCount)
      explain(finding, causes);
  }
}

// The likeliest cause is the place.
void CheckedFindings::explain(CheckFinding& finding, const std::vector<SyntaxNote>& causes) const
{
  constexpr std::size_t most = 5;
  for (const SyntaxNote& cause : causes) {
    if (finding.notes.empty()) {
      finding.offset = cause.offset;
      finding.size = cause.size;
    }
    finding.notes.push_back({cause.offset, cause.message});
    if (cause.reason == SyntaxNote::Reason::leftOpen && cause.next != SyntaxTree::none)
      finding.notes.push_back({(*m_tree)[cause.next].offset, _("The next one begins here.")});
    if (finding.notes.size() >= most)
      return;
  }
}

std::vector<CheckFinding> CheckedFindings::take()
{
  std::stable_sort(m_findings.begin(), m_findings.end(), [](const CheckFinding& a, const CheckFinding& b) {
    return std::pair(a.text, a.offset) < std::pair(b.text, b.offset);
  });
  return std::move(m_findings);
}

}  // namespace orv
