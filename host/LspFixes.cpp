#include "LspFixes.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "TypeText.h"

#include <algorithm>
#include <utility>

using orv::CheckFinding;
using orv::SyntaxTree;

namespace {

constexpr std::size_t mostFindings = 1000;  // of a text; nobody reads more
constexpr std::size_t mostFixes = 12;       // of what could stand instead

bool isWarning(const CheckFinding& finding)
{
  return finding.error.getType() == orv::errorType::warning;
}

// What could stand there, and what was meant, as the finding or the error that it is says.
std::pair<std::vector<std::string>, std::string> choiceFor(const CheckFinding& finding)
{
  if (!finding.valid.empty())
    return {finding.valid, orv::oneOf(finding.subject, finding.valid).suggestion};
  const auto& more = finding.error.getDiagnostic();
  return more ? std::pair(more->valid, more->suggestion) : std::pair<std::vector<std::string>, std::string>();
}

std::string messageOf(const CheckFinding& finding)
{
  std::string message = finding.error.getMessage();
  const auto [valid, meant] = choiceFor(finding);
  if (!meant.empty())
    message += "\nDid you mean '" + meant + "'?";
  if (!valid.empty() && valid.size() <= mostFixes)
    message += "\nallowed: " + orv::StringUtilities::vectorToString(valid, ", ");
  return message;
}

LspJson diagnosticOf(const LspDocument& document, const CheckFinding& finding)
{
  constexpr int errorSeverity = 1;
  constexpr int warningSeverity = 2;
  LspJson diagnostic{{"range", rangeOf(document.text, finding.offset, finding.size)},
                     {"severity", isWarning(finding) ? warningSeverity : errorSeverity},
                     {"source", "ksl"},
                     {"code", finding.error.getType()},
                     {"message", messageOf(finding)}};
  for (const CheckFinding::Note& note : finding.notes)
    diagnostic["relatedInformation"].push_back(
        {{"location", locationOf(document, note.offset, 0)}, {"message", note.message}});
  return diagnostic;
}

class Fixes {
 public:
  explicit Fixes(const LspDocument& document) : m_document(document) {}

  void add(const CheckFinding& finding)
  {
    const std::string_view written =
        std::string_view(m_document.text.text()).substr(finding.offset, finding.size);
    auto [valid, meant] = choiceFor(finding);
    if (valid.size() > mostFixes)
      valid.clear();
    if (!meant.empty() && std::find(valid.begin(), valid.end(), meant) == valid.end())
      valid.push_back(meant);
    const std::size_t at = written.find(subjectOf(finding));
    for (const std::string& text : at == std::string_view::npos ? std::vector<std::string>() : valid)
      addChange(finding, "Change to '" + text + "'", finding.offset + at, subjectOf(finding).size(), text,
                text == meant);
    if (orv::StringUtilities::toLower(written.substr(0, 3)) == "end" && written != "END")
      addChange(finding, "Change to 'END'", finding.offset, finding.size, "END", true);
    addEnd(finding);
  }

  LspJson take() { return std::move(m_actions); }

 private:
  static std::string subjectOf(const CheckFinding& finding)
  {
    const auto& more = finding.error.getDiagnostic();
    return finding.valid.empty() && more ? more->subject : finding.subject;
  }

  // Where the block ends that was left open.
  void addEnd(const CheckFinding& finding)
  {
    const SyntaxTree& tree = m_document.text.tree();
    const SyntaxTree::Index header = tree.at(finding.offset);
    if (header == SyntaxTree::none || !(tree[header].faults & SyntaxTree::leftOpen))
      return;
    const SyntaxTree::Node last = tree[tree[header].last];
    const std::size_t behind = last.offset + last.size;
    const std::string_view source = tree.source(header);
    const std::string indent(source.substr(0, std::min(source.find_first_not_of(" \t"), source.size())));
    const bool isOnNewLine = behind > 0 && m_document.text.text()[behind - 1] == '\n';
    addChange(finding, "Close the block with END", behind, 0, (isOnNewLine ? "" : "\n") + indent + "END\n",
              true);
  }

  void addChange(const CheckFinding& finding, const std::string& title, std::size_t offset, std::size_t size,
                 const std::string& text, bool isPreferred)
  {
    LspJson action{
        {"title", title},
        {"kind", "quickfix"},
        {"diagnostics", {diagnosticOf(m_document, finding)}},
        {"edit", {{"changes", {{m_document.uri, {editOf(m_document.text, offset, size, text)}}}}}}};
    if (isPreferred)
      action["isPreferred"] = true;
    m_actions.push_back(std::move(action));
  }

  const LspDocument& m_document;
  LspJson m_actions = LspJson::array();
};

}  // namespace

LspJson diagnosticsOf(const LspDocument& document)
{
  LspJson list = LspJson::array();
  for (const CheckFinding& finding : document.findings)
    if (list.size() < mostFindings)
      list.push_back(diagnosticOf(document, finding));
  return list;
}

LspJson fixesFor(const LspDocument& document, std::size_t begin, std::size_t end)
{
  Fixes fixes(document);
  for (const CheckFinding& finding : document.findings)
    if (finding.offset <= end && begin <= finding.offset + finding.size)
      fixes.add(finding);
  return fixes.take();
}
