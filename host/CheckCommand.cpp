#include "CheckCommand.h"

#include "platform/ORVError.h"
#include "platform/ORVSyntax.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"
#include "command/ActionFactory.h"
#include "actions/FileText.h"
#include "FileActions.h"
#include "Host.h"
#include "Libraries.h"
#include "StandardStreams.h"
#include "session/TextChecker.h"

#include <deque>
#include <memory>
#include <optional>
#include <utility>

using orv::CheckFinding;
using orv::SyntaxTree;

namespace {

struct Text {
  std::string name;  // as reports show it
  std::string file;  // empty for a text of the command line
  SyntaxTree tree;
};

// Escapes are undone where the head of a file says that there are some.
std::string plainText(std::string text)
{
  if (text.starts_with("\xEF\xBB\xBF"))
    text.erase(0, 3);
  if (!text.starts_with(orv::FileText::stateHead) && !text.starts_with(orv::FileText::sessionHead))
    return text;
  std::vector<std::string> lines = orv::StringUtilities::stringToVector(text, '\n');
  orv::FileText::undo(lines);
  return orv::StringUtilities::vectorToString(lines, '\n');
}

class Check {
 public:
  explicit Check(const CheckCommand::Options& options) : m_options(options)
  {
    for (const std::string& file : options.input.files)
      addText(file == "-" ? "<stdin>" : file, file,
              plainText(file == "-" ? readStandardInput() : orv::ORVFile::readAll(file)));
    for (const std::string& text : options.input.texts)
      addText("-e", {}, text);
  }

  const Definitions& definitions() const { return m_definitions; }

  std::vector<CheckFinding> findings(const Host& host) const
  {
    orv::TextChecker checker(host.actions().getActions());
    for (const Text& text : m_texts)
      checker.check(text.tree);
    return checker.finish();
  }

  const Text& textOf(const CheckFinding& finding) const { return m_texts[finding.text]; }

 private:
  // A file of definitions stands for itself, and is read as such.
  void addText(const std::string& name, const std::string& file, std::string text)
  {
    const bool isState = text.starts_with(orv::FileText::stateHead);
    const SyntaxTree::Reading reading = isState || m_options.input.updateMode != orv::kslUpdateDefault
                                            ? SyntaxTree::Reading::atEnd
                                            : SyntaxTree::Reading::command;
    SyntaxTree tree(std::move(text), reading);
    if (isLibrary(tree)) {
      m_definitions.add(file, tree);
      tree = SyntaxTree(tree.text(), SyntaxTree::Reading::library);
    }
    m_texts.push_back({name, file, std::move(tree)});
  }

  const CheckCommand::Options& m_options;
  std::deque<Text> m_texts;
  Definitions m_definitions;
};

// The line that a byte stands in, without its end.
std::string lineAt(const std::string& text, std::size_t offset)
{
  const std::size_t begin = offset == 0 ? 0 : text.rfind('\n', offset - 1) + 1;
  std::string line = text.substr(begin, text.find('\n', offset) - begin);
  if (!line.empty() && line.back() == '\r')
    line.pop_back();
  return line;
}

orv::ErrorMsg reportOf(const CheckFinding& finding, const Text& text)
{
  orv::Diagnostic place = orv::oneOf(finding.subject, finding.valid);
  const SyntaxTree::Position position = text.tree.position(finding.offset);
  place.source = text.name;
  place.line = position.line;
  place.column = position.column;
  place.length = finding.size;
  place.lineText = lineAt(text.tree.text(), finding.offset);
  place.object = finding.object;
  place.parameter = finding.parameter;
  for (const CheckFinding::Note& note : finding.notes) {
    const SyntaxTree::Position at = text.tree.position(note.offset);
    const bool isElsewhere = at.line != position.line;
    place.notes.push_back({isElsewhere ? at.line : 0, isElsewhere ? at.column : 0, note.message});
  }
  orv::ErrorMsg report = finding.error;
  report.setDiagnostic(std::make_shared<const orv::Diagnostic>(std::move(place)));
  return report;
}

}  // namespace

int CheckCommand::run(const Options& options)
{
  bool hasWarnings = false;
  const auto report = [&](const Host& host, const Check& texts) {
    for (const CheckFinding& finding : texts.findings(host)) {
      hasWarnings = hasWarnings || finding.error.getType() == orv::errorType::warning;
      orv::ErrorProgressReporter::instance()->reportError(reportOf(finding, texts.textOf(finding)));
    }
  };
  const int status = runReporting(options.input, [&] {
    const Check texts(options);
    TextOptions input = options.input;
    input.libraries = librariesFor(texts.definitions(), options.input.libraries);
    input.validate = true;
    withHost(input, [&](const Host& host) {
      if (options.load.empty() || enterText(loadStateText(options.load)))
        report(host, texts);
    });
  });
  return status == 0 && hasWarnings && options.denyWarnings ? 1 : status;
}
