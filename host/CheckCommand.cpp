#include "CheckCommand.h"

#include "platform/ORVError.h"
#include "platform/ORVSyntax.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"
#include "command/ActionFactory.h"
#include "command/FileText.h"
#include "FileActions.h"
#include "Host.h"
#include "Libraries.h"
#include "StandardStreams.h"
#include "session/TextChecker.h"

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <tuple>
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
    for (std::size_t i = 0; i < options.input.texts.size(); ++i)
      addText("-e" + (i == 0 ? std::string() : orv::StringUtilities::toString(i + 1)), {},
              options.input.texts[i]);
  }

  const Definitions& definitions() const { return m_definitions; }
  // One that cannot be read, which was told: the others are checked without it. False when it is none of these.
  bool drop(const std::string& library) { return m_definitions.drop(library); }

  std::vector<CheckFinding> findings(const Host& host) const
  {
    orv::TextChecker checker(host.actions().getActions());
    for (const Text& text : m_texts)
      checker.check(text.tree);
    std::vector<CheckFinding> findings = checker.finish();
    std::erase_if(findings, [this](const CheckFinding& finding) { return wasDropped(textOf(finding)); });
    return findings;
  }

  const Text& textOf(const CheckFinding& finding) const { return m_texts[finding.text]; }

 private:
  bool wasDropped(const Text& text) const
  {
    return text.tree.reading() == SyntaxTree::Reading::library && !m_definitions.has(text.file);
  }

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

// Reports of a library's files go by the names that they were given here, and are made once however often it is read.
class NamesAsGiven : public orv::ErrorSink {
 public:
  explicit NamesAsGiven(const std::vector<std::string>& files)
      : m_next(orv::ErrorProgressReporter::instance()->setSink(this))
  {
    for (const std::string& file : files)
      m_names[canonicalName(file)] = file;
  }
  ~NamesAsGiven() override { orv::ErrorProgressReporter::instance()->setSink(m_next); }
  NamesAsGiven(const NamesAsGiven&) = delete;
  NamesAsGiven& operator=(const NamesAsGiven&) = delete;

  void report(const orv::ErrorMsg& error) override
  {
    const auto place = error.getDiagnostic();
    if (place && !m_seen.emplace(place->source, place->line, place->column, error.getMessage()).second)
      return;
    const auto name = place && !m_names.empty() ? m_names.find(canonicalName(place->source)) : m_names.end();
    if (name == m_names.end())
      return m_next->report(error);
    orv::Diagnostic renamed = *place;
    renamed.source = name->second;
    orv::ErrorMsg report = error;
    report.setDiagnostic(std::make_shared<const orv::Diagnostic>(std::move(renamed)));
    m_next->report(report);
  }
  void inform(std::string_view text) override { m_next->inform(text); }

 private:
  std::map<std::string, std::string> m_names;  // by canonical ones
  std::set<std::tuple<std::string, std::size_t, std::size_t, std::string>> m_seen;
  orv::ErrorSink* m_next;
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

using Report = std::function<void(const Host&, const Check&)>;

// False when a file of definitions could not be read, and was dropped.
bool checked(const CheckCommand::Options& options, Check& texts, const Report& report)
{
  TextOptions input = options.input;
  input.libraries = librariesFor(texts.definitions(), options.input.libraries);
  input.validate = true;
  try {
    withHost(input, [&](const Host& host) {
      if (options.load.empty() || enterText(loadStateText(options.load)))
        report(host, texts);
    });
  } catch (const orv::Interrupt&) {
    throw;
  } catch (const orv::Error& error) {
    orv::ErrorProgressReporter::instance()->reportError(error);
    return !error.getDiagnostic() || !texts.drop(error.getDiagnostic()->source);
  }
  return true;
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
    Check texts(options);
    const NamesAsGiven names(texts.definitions().files);
    while (!checked(options, texts, report)) {}
  });
  return status == 0 && hasWarnings && options.denyWarnings ? 1 : status;
}
