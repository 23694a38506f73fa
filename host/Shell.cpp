#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "FileActions.h"
#include "Host.h"
#include "ShellWords.h"
#include "Trace.h"
#include "session/FileActions.h"

#include <chrono>
#include <csignal>
#include <iostream>
#include <utility>

namespace StringUtilities = orv::StringUtilities;

namespace {

Lines linesOf(const std::string& text)
{
  return StringUtilities::stringToVector(text, '\n');
}

std::string textOf(const Lines& lines)
{
  return StringUtilities::vectorToString(lines, '\n');
}

// What people type who do not know that there are words with a dot.
std::string meantWord(std::string_view line)
{
  if (line == "help" || line == "?")
    return ".help";
  if (line == "exit" || line == "quit")
    return ".quit";
  return std::string(line);
}

}  // namespace

// ------------------------------------------------------------------------------------------------------------ lines

int Shell::run(const Options& options)
{
  bool leftWell = false;
  const int status = runWithHost(options.input, [&](Host& host) {
    Shell shell(host, options);
    const orv::ScopeGuard endRecording([] { enterText(endRecordingText()); });
    if (!shell.begin(options))
      return;
    shell.loop();
    shell.m_autoSave.endWell();
    leftWell = shell.m_reader->isInteractive();
  });
  return leftWell ? 0 : status;
}

Shell::Shell(Host& host, const Options& options)
    : m_host(host),
      m_autoSave(AutoSave::folderFor(options.load, {}, options.record), {options.load}),
      m_steps(*orv::KSLInterface::instance()),
      m_file(options.load)
{
  for (const OwnCommand& command : ownCommands())
    m_words.push_back({command.word, command.completed});
  const Completer completer(host.actions(), m_words);
  m_reader = makeLineReader([this, completer](std::string_view text) { return complete(completer, text); },
                            historyFileName());
  if (m_reader->isInteractive())
    std::signal(SIGINT, [](int) {});  // between a line and its command it has nothing to stop
}

// Several lines may be edited at once: those above the cursor are as if they were entered.
Completions Shell::complete(const Completer& completer, std::string_view beforeCursor) const
{
  const std::size_t end = beforeCursor.rfind('\n');
  if (end == std::string_view::npos)
    return completer.complete(m_input, beforeCursor);
  CommandInput input = m_input;
  for (const std::string& line : linesOf(std::string(beforeCursor.substr(0, end))))
    if (input.add(line))
      input.clear();
  Completions found = completer.complete(input, beforeCursor.substr(end + 1));
  found.start += end + 1;
  return found;
}

bool Shell::begin(const Options& options)
{
  if (!options.record.empty() && !enterText(startRecordingText(options.record)))
    return false;
  if (!options.load.empty()) {
    if (!enterText(loadStateText(options.load)))
      return false;
    m_host.setSaved();
    m_autoSave.forgetChanges();
    m_steps.follow("> readstate " + options.load);
  }
  if (!m_autoSave.leftover().empty())
    offerLeftover();
  m_autoSave.settleLeftover();
  if (m_reader->isInteractive())
    std::cout << "ksl " KSL_VERSION ". Tab completes; .help lists the shell's own commands.\n";
  return true;
}

// What is loaded is work that no file of the user's holds: it counts as unsaved.
void Shell::offerLeftover()
{
  const std::string& file = m_autoSave.leftover();
  const std::string lost =
      "The last session here did not end well; what was saved of it is in " + file + ".\n";
  std::string answer;
  if (!m_reader->isInteractive() || !orv::fileNameProblem(file, false).empty()) {
    std::cerr << lost;
    return;
  }
  std::cout << lost << std::flush;
  if (m_reader->read("Load it? [Y/n] ", answer) == LineReader::Result::line
      && StringUtilities::toLower(answer).substr(0, 1) != "n")
    enter({loadStateText(file)}, "> readstate " + file);
}

void Shell::loop()
{
  std::string text;
  while (!m_ended) {
    std::cout.flush();
    switch (m_reader->read(m_input.prompt(), text)) {
      case LineReader::Result::line:
        m_warned = false;
        takeLines(linesOf(text));
        break;
      case LineReader::Result::interrupted:
        interrupt(text);
        break;
      case LineReader::Result::end:
        m_ended = mayEnd();
        break;
    }
  }
}

// After a command that is refused the others wait: they come back with it.
bool Shell::takeLines(const Lines& lines)
{
  for (std::size_t i = 0; i < lines.size() && !m_ended; ++i)
    if (!takeLine(lines[i]))
      return bringBack({lines.begin() + static_cast<std::ptrdiff_t>(i) + 1, lines.end()});
  return true;
}

bool Shell::takeLine(const std::string& line)
{
  const std::string word = meantWord(StringUtilities::trimmed(StringUtilities::withoutComment(line)));
  // A value may go on with a dot.
  if (word.starts_with('.') && (!m_input.isContinued() || word == ".cancel")) {
    m_reader->remember(line);
    runOwnCommand(word);
    return true;
  }
  return !m_input.add(line) || enterCommand();
}

bool Shell::enterCommand()
{
  m_last = m_input.take();
  m_reader->remember(textOf(m_last));
  return enter({textOf(m_last), {.name = orv::_("<entry %d>", ++m_entries)}}, commandTitle(m_last));
}

// False when an error was reported.
bool Shell::enter(const EnteredText& text, const std::string& name)
{
  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  const std::size_t before = m_record.log().entries().size();
  bool good = false;
  m_autoSave.saveIfDue();  // a calculation may end the program
  m_record.beginCommand(name);
  try {
    good = enterText(text);
  } catch (const orv::Interrupt&) {  // it was told; the shell goes on
  }
  const std::chrono::duration<double> time = Clock::now() - start;
  m_steps.follow(name);
  m_autoSave.saveIfDue();
  std::cout.flush();
  if (good) {
    m_record.endCommand();
    std::cerr << summaryText(*orv::KSLCoreAPI::instance()->getUpdateInfo(),
                             m_record.log().entries().size() - before, time.count());
  }
  return good;
}

// The command that was refused, to be edited, with what was typed or pasted behind it. One line is soon typed again.
bool Shell::bringBack(const Lines& rest)
{
  Lines lines = m_last;
  lines.insert(lines.end(), rest.begin(), rest.end());
  if (lines.size() < 2 || !m_reader->isInteractive() || m_reader->bringBack(textOf(lines)))
    return false;
  const std::string left =
      rest.empty() ? "" : StringUtilities::toString(rest.size()) + " lines behind it were not entered. ";
  m_last = std::move(lines);
  std::cerr << left << ".edit brings it back.\n";
  return false;
}

// What was typed of a command can still be found in the history.
void Shell::dropInput()
{
  if (const Lines lines = m_input.take(); !lines.empty())
    m_reader->remember(textOf(lines));
}

// Ctrl-C drops what is being entered; with nothing to drop, twice in a row ends the shell.
void Shell::interrupt(const std::string& dropped)
{
  if (!m_input.empty() || !dropped.empty()) {
    m_warned = false;
    return dropInput();
  }
  if (m_warned)
    throw orv::Interrupt("ksl", "shell", orv::_("Interrupted."));
  m_warned = true;
  std::cerr << "Ctrl-C again, Ctrl-D or .quit leaves.\n";
}

// What a file leaves open is entered, so that the library says what is missing.
bool Shell::mayEnd()
{
  if (!m_reader->isInteractive()) {
    if (!m_input.empty())
      enterCommand();
    return true;
  }
  return mayLeaveWork();
}

// A terminal that is gone gives no answer.
bool Shell::mayLeaveWork()
{
  if (!m_reader->isInteractive() || !m_host.hasUnsavedWork())
    return true;
  const std::string where = m_file.empty() ? "" : " in " + m_file;
  std::string answer;
  switch (m_reader->read("There is unsaved work. Save it" + where + "? [y]es, [n]o, [c]ancel: ", answer)) {
    case LineReader::Result::interrupted:
      return false;
    case LineReader::Result::end:
      return true;
    case LineReader::Result::line:
      break;
  }
  answer = StringUtilities::toLower(answer).substr(0, 1);
  if (answer != "y")
    return answer == "n";
  std::string file = m_file;
  if (file.empty() && m_reader->read("File: ", file) != LineReader::Result::line)
    return false;
  file = unquotedArgument(std::string(StringUtilities::trimmed(file)));
  return !file.empty() && mayOverwrite(file) && saveIn(file);
}

bool Shell::answersYes(const std::string& question)
{
  std::string answer;
  return m_reader->read(question, answer) == LineReader::Result::line
         && StringUtilities::toLower(answer).starts_with('y');
}
