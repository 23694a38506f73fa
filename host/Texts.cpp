#include "Texts.h"

#include "platform/ORVError.h"
#include "platform/ORVOutputFiles.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"
#include "command/FileText.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "CommandWatch.h"
#include "ErrorPrinter.h"
#include "Host.h"
#include "StandardStreams.h"
#include "Team.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <memory>

namespace {

// The ends of lines as the library has them.
std::string withPlainEnds(std::string text)
{
  if (text.find('\r') == std::string::npos)
    return text;
  Lines lines = orv::StringUtilities::stringToVector(text, '\n');
  for (std::string& line : lines)
    if (!line.empty() && line.back() == '\r')
      line.pop_back();
  return orv::StringUtilities::vectorToString(lines, '\n');
}

// The last line of a file ends; a text has ends between its lines only.
std::string textOfFile(const std::string& file)
{
  std::string text = orv::ORVFile::readAll(file);
  if (text.ends_with('\n'))
    text.pop_back();
  return text;
}

// Escapes are undone where the head of a file says that there are some.
std::string readText(const std::string& file)
{
  std::string text = file == "-" ? withPlainEnds(readStandardInput()) : textOfFile(file);
  if (!orv::FileText::mayBeEscaped(text))
    return text;
  Lines lines = orv::StringUtilities::stringToVector(text, '\n');
  orv::FileText::undo(lines);
  return orv::StringUtilities::vectorToString(lines, '\n');
}

void flushOutput()
{
  if (!std::cout.flush())
    throw orv::file::error("ksl", "flushOutput", orv::_("Cannot write to standard output."));
}

constexpr int interrupted = 130;  // as shells tell that a program ended by SIGINT

// Counts the errors that pass on their way to the sink before.
class ErrorCounter : public orv::ErrorSink {
 public:
  ErrorCounter() : m_next(orv::ErrorProgressReporter::instance()->setSink(this)) {}
  ~ErrorCounter() override { orv::ErrorProgressReporter::instance()->setSink(m_next); }
  ErrorCounter(const ErrorCounter&) = delete;
  ErrorCounter& operator=(const ErrorCounter&) = delete;

  void report(const orv::ErrorMsg& error) override
  {
    m_count += error.getType() != orv::errorType::warning;
    m_next->report(error);
  }
  void inform(std::string_view text) override { m_next->inform(text); }
  std::size_t count() const { return m_count; }

 private:
  orv::ErrorSink* m_next;
  std::size_t m_count = 0;
};

}  // namespace

bool isBlank(const std::string& text)
{
  return text.find_first_not_of('\n') == std::string::npos;
}

Texts readTexts(const TextOptions& options)
{
  Texts texts;
  for (const std::string& file : options.files)
    texts.push_back({readText(file), {.name = file == "-" ? "<stdin>" : file}});
  for (std::size_t i = 0; i < options.texts.size(); ++i)
    texts.push_back({withPlainEnds(options.texts[i]),
                     {.name = "-e" + (i == 0 ? std::string() : orv::StringUtilities::toString(i + 1))}});
  return texts;
}

int runWithTexts(const TextOptions& options, const std::function<void(const Texts&)>& work)
{
  return runWithHost(options, [&](const Host&) {
    Texts texts = readTexts(options);
    std::erase_if(texts, [](const EnteredText& text) { return isBlank(text.text); });
    work(texts);
  });
}

void withHost(const TextOptions& options, const std::function<void(Host&)>& work)
{
  std::unique_ptr<Host> owned;
  const auto up = [&] { owned = std::make_unique<Host>(options.libraries, options.validate); };
  if (Team* team = Team::current())
    team->begin(options.libraries, options.validate, up);
  else
    up();
  Host& host = *owned;
  orv::KSLCoreAPI* api = orv::KSLCoreAPI::instance();
  api->setExternalKslUpdateMode(options.updateMode);
  api->setValidationEnabled(options.validate);
  work(host);
  flushOutput();
  if (options.endsProgram)
    (void)owned.release();
}

int runWithHost(const TextOptions& options, const std::function<void(Host&)>& work)
{
  return runReporting(options, [&] { withHost(options, work); });
}

int runReporting(const TextOptions& options, const std::function<void()>& work)
{
  ErrorPrinter printer(options.format);
  printer.setTracing(options.traceErrors);
  orv::ErrorProgressReporter* reporter = orv::ErrorProgressReporter::instance();
  try {
    work();
  } catch (const orv::Interrupt&) {
    return interrupted;
  } catch (const orv::Error& error) {
    reporter->reportError(error);
  } catch (const std::exception& exception) {
    reporter->reportError(orv::ErrorMsg("ksl", "run", exception.what(), orv::errorType::system));
  }
  return printer.errorCount() > 0 ? 1 : 0;
}

namespace {

template <class Enter>
bool runCommand(const TeamCommand& command, Enter enter)
{
  const ErrorCounter errors;
  CommandWatch watch;
  if (Team* team = Team::current())
    team->follow(command, [&] { enter(*orv::KSLCoreAPI::instance()); });
  else
    enter(*orv::KSLCoreAPI::instance());
  CommandWatch::eraseLine();
  if (const std::size_t changes = orv::KSLInterface::instance()->getLastRecoverySize())
    ErrorPrinter::remark(orv::_("rolled back %d changes", changes));
  for (const std::string& file : orv::OutputFiles::instance()->written())
    ErrorPrinter::remark("wrote " + file);
  if (CommandWatch::requested()) {
    if (!watch.stopped())
      ErrorPrinter::remark("interrupted when the command was done");
    throw orv::Interrupt("ksl", "enterText", orv::_("Interrupted."));
  }
  return errors.count() == 0;
}

}  // namespace

bool enterText(const EnteredText& text)
{
  const orv::kslUpdateMode mode = orv::KSLCoreAPI::instance()->getExternalKslUpdateMode();
  return runCommand({.text = text.text, .source = text.source, .mode = mode},
                    [&](orv::KSLCoreAPI& api) { api.externalProcessText(text.text, text.source); });
}

bool enterText(const orv::SessionFile::Command& command, const std::string& file)
{
  const std::string text = orv::StringUtilities::vectorToString(command.lines, '\n');
  const auto saysNothing = [](const std::string& line) {
    return orv::StringUtilities::trimmed(orv::StringUtilities::withoutComment(line)).empty();
  };
  const auto first = std::find_if_not(command.lines.begin(), command.lines.end(), saysNothing);
  const auto before = static_cast<std::size_t>(first - command.lines.begin());
  const orv::TextSource source{.name = file, .firstLine = command.line - std::min(before, command.line - 1)};
  const TeamCommand shared{.text = text,
                           .source = source,
                           .mode = command.mode,
                           .isFromSession = true,
                           .folder = orv::ORVFile::getPath(file)};
  return runCommand(shared, [&](orv::KSLCoreAPI& api) { api.processKSL(text, command.mode, source); });
}
