#include "Shell.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "database/ObjectDB.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "Completer.h"
#include "FileActions.h"
#include "Host.h"
#include "ObjectText.h"
#include "session/FileActions.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <csignal>
#include <iomanip>
#include <iostream>

namespace StringUtilities = orv::StringUtilities;

// One that begins with ".". The argument is what follows the word, trimmed.
struct Shell::OwnCommand {
  const char* word;
  const char* argument;  // as help shows it; empty for none
  bool takesObject;
  const char* help;
  void (Shell::*run)(const std::string& argument);
};

const std::vector<Shell::OwnCommand>& Shell::ownCommands()
{
  static const std::vector<OwnCommand> commands = {
      {".cancel", "", false, "drop the block that is being entered", &Shell::cancel},
      {".help", "", false, "show this list", &Shell::showHelp},
      {".history", "", false, "list what can be undone and redone, numbered", &Shell::showHistory},
      {".quit", "", false, "leave", &Shell::quit},
      {".redo", "[N]", false, "do the last step, or N steps, again", &Shell::redo},
      {".state", "[NAME,...]", true, "print the state text of objects, or of all", &Shell::showState},
      {".tree", "[NAME]", true, "show an object and what is below it, or all", &Shell::showTree},
      {".undo", "[N]", false, "take back the last step, or N steps", &Shell::undo},
  };
  return commands;
}

namespace {

void reportMistake(const std::string& message)
{
  orv::ErrorProgressReporter::instance()->reportError(
      orv::ErrorMsg("ksl", "shell", message, orv::errorType::ordinary));
}

// 0 for what is no number of steps.
std::size_t readCount(const std::string& text)
{
  if (text.empty())
    return 1;
  std::size_t count = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
  return error == std::errc() && end == text.data() + text.size() ? count : 0;
}

void printSteps(const std::vector<std::string>& steps, const char* title, bool newestLast)
{
  if (steps.empty())
    return;
  std::cout << title << '\n';
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const std::size_t index = newestLast ? i : steps.size() - 1 - i;
    std::cout << std::setw(5) << steps.size() - index << "  " << steps[index] << '\n';
  }
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
      m_steps(*orv::KSLInterface::instance())
{
  for (const OwnCommand& command : ownCommands())
    m_words.push_back(std::string(command.word) + (command.takesObject ? "@" : ""));
  const Completer completer(host.actions(), m_words);
  m_reader =
      makeLineReader([this, completer](std::string_view text) { return completer.complete(m_input, text); },
                     historyFileName());
  orv::KSLCoreAPI::instance()->recordKSLChanges(true);
  if (m_reader->isInteractive())
    std::signal(SIGINT, [](int) {});  // between a line and its command it has nothing to stop
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
  std::string line;
  while (!m_ended) {
    std::cout.flush();
    switch (m_reader->read(m_input.prompt(), line)) {
      case LineReader::Result::line:
        m_warned = false;
        takeLine(line);
        break;
      case LineReader::Result::interrupted:
        interrupt(line);
        break;
      case LineReader::Result::end:
        m_ended = mayEnd();
        break;
    }
  }
}

void Shell::takeLine(const std::string& line)
{
  if (!StringUtilities::trimmed(line).empty())
    m_reader->remember(line);
  const std::string_view trimmed = StringUtilities::trimmed(StringUtilities::withoutComment(line));
  const bool isOwn = !trimmed.empty() && trimmed.front() == '.';
  // A value may go on with a dot.
  if (isOwn && (!m_input.isContinued() || trimmed == ".cancel"))
    return runOwnCommand(std::string(trimmed));
  if (m_input.add(line))
    enterCommand();
}

void Shell::enterCommand()
{
  const Lines text = m_input.take();
  enter({text, {.name = orv::_("<entry %d>", ++m_entries)}}, commandTitle(text));
}

// False when an error was reported.
bool Shell::enter(const EnteredText& text, const std::string& name)
{
  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  bool good = false;
  m_autoSave.saveIfDue();  // a calculation may end the program
  m_calculations.takeCalculations();
  try {
    good = enterText(text);
  } catch (const orv::Interrupt&) {  // it was told; the shell goes on
  }
  const std::chrono::duration<double> time = Clock::now() - start;
  m_steps.follow(name);
  m_autoSave.saveIfDue();
  std::cout.flush();
  if (good)
    std::cerr << summaryText(*orv::KSLCoreAPI::instance()->getUpdateInfo(), m_calculations.takeCalculations(),
                             time.count());
  return good;
}

// Ctrl-C drops what is being entered; with nothing to drop, twice in a row ends the shell.
void Shell::interrupt(const std::string& dropped)
{
  if (!m_input.empty() || !dropped.empty()) {
    m_warned = false;
    return m_input.clear();
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
  if (!m_host.hasUnsavedWork())
    return true;
  std::string answer;
  switch (m_reader->read("There is unsaved work. Leave all the same? [y/N] ", answer)) {
    case LineReader::Result::interrupted:
      return false;
    case LineReader::Result::end:
      return true;
    case LineReader::Result::line:
      break;
  }
  return StringUtilities::toLower(answer).substr(0, 1) == "y";
}

// ------------------------------------------------------------------------------------------------------ own commands

void Shell::runOwnCommand(const std::string& line)
{
  const std::size_t blank = std::min(line.find_first_of(" \t"), line.size());
  const std::string word = line.substr(0, blank);
  const std::string argument = StringUtilities::removeWhitespace(line.substr(blank));
  for (const OwnCommand& command : ownCommands()) {
    if (word != command.word)
      continue;
    if (!argument.empty() && !*command.argument)
      return reportMistake(orv::_("%s takes no argument.", word));
    return (this->*command.run)(argument);
  }
  std::vector<std::string> words;
  for (const OwnCommand& command : ownCommands())
    words.emplace_back(command.word);
  orv::Diagnostic more = orv::oneOf(word, std::move(words));
  more.valid.clear();
  orv::ErrorProgressReporter::instance()->reportError(diagnosed(
      orv::data::notFound("ksl", "shell",
                          orv::_("There is no command '%s'. .help lists those that there are.", word)),
      std::move(more)));
}

void Shell::showHelp(const std::string&)
{
  for (const OwnCommand& command : ownCommands()) {
    const std::string usage = std::string(command.word) + ' ' + command.argument;
    std::cout << std::left << std::setw(20) << usage << std::right << command.help << '\n';
  }
  std::cout << "All else is KSL: blocks (TYPE: name ... END), entered with the END that closes them,\n"
               "and actions (> word argument, ...).\n";
}

void Shell::showTree(const std::string& argument)
{
  if (const orv::KSLObject* object = findObject(argument.empty() ? "/" : argument))
    std::cout << treeText(*object);
}

void Shell::showState(const std::string& argument)
{
  std::cout << stateText(argument.empty() ? "/" : argument);
}

void Shell::showHistory(const std::string&)
{
  if (m_steps.undoable().empty() && m_steps.redoable().empty())
    std::cout << "Nothing to undo or redo.\n";
  printSteps(m_steps.undoable(), "To be undone, the last one first to go:", true);
  printSteps(m_steps.redoable(), "To be redone, the first one first:", false);
}

void Shell::undo(const std::string& argument)
{
  moveInHistory(argument, "undo", "undone: ", &StepNames::undoable);
}

void Shell::redo(const std::string& argument)
{
  moveInHistory(argument, "redo", "redone: ", &StepNames::redoable);
}

void Shell::moveInHistory(const std::string& count, const char* action, const char* done,
                          const std::vector<std::string>& (StepNames::*steps)() const)
{
  const std::size_t wanted = readCount(count);
  const std::size_t there = (m_steps.*steps)().size();
  if (wanted == 0)
    return reportMistake(orv::_("'%s' is no number of steps.", count));
  if (there == 0)
    return reportMistake(orv::_("Nothing to %s.", action));
  if (wanted > there)
    return reportMistake(orv::_("There are only %d steps to %s. .history lists them.", there, action));
  const std::string command = std::string("> ") + action;
  for (std::size_t i = 0; i < wanted; ++i) {
    const std::string name = (m_steps.*steps)().back();
    std::cout << done << name << '\n';
    if (!enter({{command}, {.name = std::string(".") + action}}, command))
      return;
  }
}

void Shell::cancel(const std::string&)
{
  if (m_input.empty())
    return reportMistake(orv::_("No block is being entered."));
  m_input.clear();
}

void Shell::quit(const std::string&)
{
  m_ended = mayEnd();
}
