#include "FormatCommand.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVSourceText.h"
#include "platform/ORVSyntax.h"
#include "platform/ORVSystem.h"
#include "ErrorPrinter.h"
#include "StatementDiff.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <memory>

namespace {

using orv::SyntaxTree;

// Of a file: who sees so many mends some before reading more. Causes come with the likeliest first.
constexpr std::size_t mostReports = 20;

struct Closer {
  void operator()(std::FILE* file) const
  {
    if (file != stdin)
      std::fclose(file);
  }
};

// Every byte, CR too: what is not changed is not touched.
std::string readBytes(const std::string& name)
{
  errno = 0;
  const std::unique_ptr<std::FILE, Closer> file(name == "-" ? stdin : std::fopen(name.c_str(), "rb"));
  std::string text;
  char buffer[1 << 16];
  while (const std::size_t count = file ? std::fread(buffer, 1, sizeof buffer, file.get()) : 0)
    text.append(buffer, count);
  if (!file || std::ferror(file.get()))
    throw orv::file::error("ksl", "fmt",
                           orv::_("Cannot read file '%s': %s.", name, orv::Error::getSystemError()));
  return text;
}

class FileFormatter {
 public:
  FileFormatter(const FormatCommand::Options& options, const std::string& name)
      : m_options(options),
        m_name(name),
        m_text(shownName(), readBytes(name), SyntaxTree::Reading::command, {}),
        m_tree(m_text.tree())
  {}

  // False when the file is at fault, or not in the style and only to be checked.
  bool format()
  {
    if (m_tree.isFaulty()) {
      report();
      return false;
    }
    const std::vector<std::string> statements = orv::formatKSLStatements(m_tree);
    std::string text;
    for (const std::string& statement : statements)
      text += statement;
    const bool inStyle = text == m_tree.text();
    if (m_options.diff && !inStyle)
      std::cout << statementDiff(m_tree, statements, shownName());
    if (m_options.check && !inStyle && !m_options.diff)
      std::cout << shownName() << '\n';
    if (!m_options.check && !m_options.diff)
      write(text, inStyle);
    return inStyle || !m_options.check;
  }

 private:
  std::string shownName() const { return m_name == "-" ? "<stdin>" : m_name; }

  void write(const std::string& text, bool inStyle) const
  {
    if (m_name == "-")
      std::cout << text;
    else if (!inStyle)
      orv::ORVFile::replace(m_name, text);
  }

  void report() const
  {
    const std::vector<SyntaxTree::Report> reports = m_tree.reports();
    const std::size_t shown = std::min<std::size_t>(reports.size(), mostReports);
    for (std::size_t i = 0; i < shown; ++i) {
      orv::Diagnostic place;
      if (reports[i].node == SyntaxTree::none)
        m_text.placeEnds(place);
      else
        m_text.placeBytes(place, reports[i].offset, reports[i].size);
      orv::ErrorProgressReporter::instance()->reportError(
          diagnosed(orv::ksl::invalid("ksl", "fmt", reports[i].message), std::move(place)));
    }
    if (shown < reports.size())
      ErrorPrinter::remark(orv::_("%s: %d more errors", shownName(), reports.size() - shown));
  }

  const FormatCommand::Options& m_options;
  const std::string& m_name;
  const orv::SourceText m_text;
  const SyntaxTree& m_tree;
};

}  // namespace

int FormatCommand::run(const Options& options)
{
  const ErrorPrinter printer(options.format);
  orv::ErrorProgressReporter* reporter = orv::ErrorProgressReporter::instance();
  bool good = true;
  for (const std::string& file : options.files) {
    try {
      good = FileFormatter(options, file).format() && good;
    } catch (const orv::Error& error) {
      reporter->reportError(error);
    }
  }
  if (!std::cout.flush())
    reporter->reportError(orv::file::error("ksl", "fmt", "Cannot write to standard output."));
  return good && printer.errorCount() == 0 ? 0 : 1;
}
