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
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
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

// Escapes are undone where the head of a text says that there are some.
std::string readable(std::string text)
{
  if (!orv::FileText::mayBeEscaped(text))
    return text;
  Lines lines = orv::StringUtilities::stringToVector(text, '\n');
  orv::FileText::undo(lines);
  return orv::StringUtilities::vectorToString(lines, '\n');
}

// The last line of a file ends; a text has ends between its lines only.
std::string textOfFile(std::string text)
{
  if (text.ends_with('\n'))
    text.pop_back();
  return readable(std::move(text));
}

// Texts beyond this size are let go of while they run: what others take is no matter beside what a program takes.
constexpr std::size_t largestKept = std::size_t{1} << 20;

// A file that is open stays what it is, also when another takes its place. What is none, a pipe say, is read once.
std::shared_ptr<orv::ORVStream> openAgain(const std::string& file, const std::string& text)
{
  std::error_code unknown;
  if (text.size() <= largestKept || !std::filesystem::is_regular_file(file, unknown))
    return nullptr;
  auto stream = std::make_shared<orv::ORVStream>();
  try {
    stream->open(file, orv::ORVStream::Mode::read);
  } catch (const orv::file::error&) {
    return nullptr;
  }
  return stream;
}

EnteredText readText(const std::string& file)
{
  if (file == "-")
    return {readable(withPlainEnds(readStandardInput())), {.name = "<stdin>"}};
  EnteredText text{textOfFile(orv::ORVFile::readAll(file)), {.name = file}};
  text.file = openAgain(file, text.text);
  return text;
}

// Tells a text from what has become of it.
std::uint64_t digestOf(std::string_view text) noexcept
{
  constexpr std::uint64_t factor = 0x9e3779b97f4a7c15U;
  std::uint64_t lanes[] = {text.size(), 1, 2, 3};
  const char* at = text.data();
  const char* const end = at + text.size();
  for (; end - at >= 32; at += 32) {
    std::uint64_t words[4];
    std::memcpy(words, at, sizeof words);
    lanes[0] = (lanes[0] + words[0]) * factor;
    lanes[1] = (lanes[1] + words[1]) * factor;
    lanes[2] = (lanes[2] + words[2]) * factor;
    lanes[3] = (lanes[3] + words[3]) * factor;
  }
  for (; at != end; ++at)
    lanes[0] = (lanes[0] + static_cast<unsigned char>(*at)) * factor;
  return lanes[0] ^ lanes[1] >> 1 ^ lanes[2] >> 2 ^ lanes[3] >> 3;
}

class FileKeeper final : public orv::TextKeeper {
 public:
  explicit FileKeeper(EnteredText& text) : m_text(text) {}

  void letGo() noexcept override
  {
    m_digest = digestOf(m_text.text);
    std::string().swap(m_text.text);
  }
  std::string readAgain() override
  {
    std::string text;
    try {
      text = textOfFile(m_text.file->readAll());
    } catch (const orv::file::error&) {
      return {};
    }
    return digestOf(text) == m_digest ? text : std::string();
  }

 private:
  EnteredText& m_text;
  std::uint64_t m_digest = 0;
};

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
    texts.push_back(readText(file));
  for (std::size_t i = 0; i < options.texts.size(); ++i)
    texts.push_back({withPlainEnds(options.texts[i]),
                     {.name = "-e" + (i == 0 ? std::string() : orv::StringUtilities::toString(i + 1))}});
  return texts;
}

int runWithTexts(const TextOptions& options, const std::function<void(Texts&)>& work)
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

bool enterOnce(EnteredText& text)
{
  if (!text.file || Team::current())
    return enterText(text);
  FileKeeper keeper(text);
  text.source.keeper = &keeper;
  const orv::ScopeGuard end([&text] {
    text.source.keeper = nullptr;
    text.file.reset();
  });
  return enterText(text);
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
