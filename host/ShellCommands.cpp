// What the shell's own lines do.
#include "platform/ORVError.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "ErrorPrinter.h"
#include "FileActions.h"
#include "Host.h"
#include "ObjectText.h"
#include "ShellWords.h"
#include "TextEditor.h"
#include "Tools.h"
#include "session/FileActions.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <functional>
#include <iomanip>
#include <iostream>
#include <utility>

namespace StringUtilities = orv::StringUtilities;

const std::vector<Shell::OwnCommand>& Shell::ownCommands()
{
  static const std::vector<OwnCommand> commands = {
      {".cancel", "", "", "drop the block that is being entered", &Shell::cancel},
      {".describe", "[SUBJECT]", "@subject", "tell what a type, TYPE.PARAM, object or PATH.PARAM takes",
       &Shell::showDescription},
      {".edit", "[NAME]", "@object", "edit the last command, or an object, with $VISUAL or $EDITOR",
       &Shell::edit},
      {".get", "PATHS [PARAMS]", "@value", "print values, results included; --in UNIT, --format csv",
       &Shell::showValues},
      {".help", "", "", "show this list", &Shell::showHelp},
      {".history", "", "", "list what can be undone and redone, numbered", &Shell::showHistory},
      {".open", "FILE", "@file", "load a state file in place of what there is", &Shell::openFile},
      {".plan", "FILE ...", "@file", "tell what entering files would change", &Shell::showPlan},
      {".quit", "", "", "leave", &Shell::quit},
      {".read", "FILE", "@file", "enter a file of KSL, as one command", &Shell::readFile},
      {".redo", "[N]", "", "do the last step, or N steps, again", &Shell::redo},
      {".save", "[FILE]", "@file", "save everything in a state file", &Shell::saveFile},
      {".state", "[NAME,...]", "@object", "print the state text of objects, or of all", &Shell::showState},
      {".tree", "[NAME]", "@object", "show an object and what is below it, or all", &Shell::showTree},
      {".undo", "[N|NAME]", "@object",
       "take back the last step, N steps, or all to the one that changed NAME", &Shell::undo},
      {".why", "PATH[.PARAM]", "@value", "tell what an object is computed from, and what reached it last",
       &Shell::showReasons},
  };
  return commands;
}

namespace {

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

// What it throws is told, and is no end of the shell.
void tell(const std::function<void()>& work)
{
  try {
    work();
  } catch (const orv::Error& error) {
    orv::ErrorProgressReporter::instance()->reportError(error);
  }
}

// Runs what a subcommand does, on what there is now.
template <class Options>
void ask(const char* word, const std::string& argument, bool apart,
         const std::function<void(const Options&)>& answer)
{
  Options options;
  CLI::App command("", word);
  addQuestion(command, options);
  std::vector<std::string> arguments = argumentsIn(argument, apart);
  std::reverse(arguments.begin(), arguments.end());  // as the parser takes them
  try {
    command.parse(std::move(arguments));
  } catch (const CLI::CallForHelp&) {
    std::cout << command.help();
    return;
  } catch (const CLI::ParseError& error) {
    return reportMistake(std::string(word) + ": " + error.what());
  }
  tell([&] { answer(options); });
}

}  // namespace

const Shell::OwnCommand* Shell::findOwnCommand(std::string_view word)
{
  for (const OwnCommand& command : ownCommands())
    if (word == command.word)
      return &command;
  return nullptr;
}

void Shell::runOwnCommand(const std::string& line)
{
  const std::size_t blank = std::min(line.find_first_of(" \t"), line.size());
  const std::string word = line.substr(0, blank);
  const std::string argument(StringUtilities::trimmed(std::string_view(line).substr(blank)));
  if (const OwnCommand* command = findOwnCommand(word)) {
    const std::string wanted = command->argument;
    if (!argument.empty() && wanted.empty())
      return reportMistake(orv::_("%s takes no argument.", word));
    if (argument.empty() && !wanted.empty() && !wanted.starts_with('['))
      return reportMistake(orv::_("%s takes %s.", word, wanted));
    return (this->*command->run)(argument);
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

// -------------------------------------------------------------------------------------------------------- looking

void Shell::showHelp(const std::string&)
{
  for (const OwnCommand& command : ownCommands()) {
    const std::string usage = std::string(command.word) + ' ' + command.argument;
    std::cout << std::left << std::setw(22) << usage << std::right << command.help << '\n';
  }
  std::cout
      << "All else is KSL: blocks (TYPE: name ... END), entered with the END that closes them,\n"
         "and actions (> word argument, ...). .describe lists the types, and .describe CUT tells of one.\n";
}

void Shell::showTree(const std::string& argument)
{
  if (const orv::KSLObject* object = findObject(argument.empty() ? "/" : unquotedArgument(argument)))
    std::cout << treeText(*object);
}

void Shell::showState(const std::string& argument)
{
  std::cout << stateText(argument.empty() ? "/" : unquotedArgument(argument));
}

void Shell::showValues(const std::string& argument)
{
  ask<GetCommand::Options>(".get", argument, false, GetCommand::print);
}

void Shell::showDescription(const std::string& argument)
{
  ask<DescribeCommand::Options>(".describe", argument, false, DescribeCommand::print);
}

void Shell::showPlan(const std::string& argument)
{
  ask<PlanCommand::Options>(".plan", argument, true, PlanCommand::print);
}

void Shell::showReasons(const std::string& argument)
{
  ask<WhyCommand::Options>(".why", argument, false, [this](const WhyCommand::Options& options) {
    WhyCommand::print(options.subject, m_record, options.query.format);
  });
}

// ---------------------------------------------------------------------------------------------------------- files

void Shell::readFile(const std::string& argument)
{
  const std::string file = unquotedArgument(argument);
  tell([&] {
    TextOptions options;
    options.files = {file};
    if (file == "-")
      throw orv::file::error("ksl", "shell", orv::_("Standard input is read already."));
    for (const EnteredText& text : readTexts(options))
      if (!isBlank(text.text))
        enter(text, ".read " + file);
  });
}

void Shell::openFile(const std::string& argument)
{
  const std::string file = unquotedArgument(argument);
  if (const std::string problem = orv::fileNameProblem(file, false); !problem.empty())
    return reportMistake(orv::_("A file name here %s.", problem));
  if (!mayLeaveWork() || !enter({{orv::loadStateText(file)}, {.name = ".open"}}, ".open " + file))
    return;
  m_host.setSaved();
  m_autoSave.forgetChanges();
  m_file = file;
}

void Shell::saveFile(const std::string& argument)
{
  const std::string file = argument.empty() ? m_file : unquotedArgument(argument);
  if (file.empty())
    return reportMistake(orv::_("%s takes %s.", ".save", "FILE when none was opened or saved before"));
  if (mayOverwrite(file))
    saveIn(file);
}

// A file that the work did not come from, and did not go to before.
bool Shell::mayOverwrite(const std::string& file)
{
  std::error_code unknown;
  if (file == m_file || !m_reader->isInteractive() || !std::filesystem::exists(file, unknown))
    return true;
  return answersYes(file + " is there already. Write over it? [y/N] ");
}

bool Shell::saveIn(const std::string& file)
{
  if (const std::string problem = orv::fileNameProblem(file, true); !problem.empty()) {
    reportMistake(orv::_("A file name here %s.", problem));
    return false;
  }
  if (!enter({{orv::saveStateText(file)}, {.name = ".save"}}, ".save " + file))
    return false;
  m_file = file;
  ErrorPrinter::remark("saved " + file);
  return true;
}

// --------------------------------------------------------------------------------------------------------- editing

namespace {

// What brings the objects of a list to what they are, wherever they stand.
std::string textFor(const std::string& list)
{
  std::string text;
  for (const std::string& item : StringUtilities::stringToVector(list, ',')) {
    const orv::KSLObject* object = findObject(item);
    if (!object)
      continue;
    std::string headers;
    std::string ends;
    for (const orv::KSLObject* above = object->getParentObject(); above && !above->getPath().empty();
         above = above->getParentObject()) {
      headers.insert(0, above->getTypeNameString() + "\n");
      ends += "END\n";
    }
    text += headers;
    object->appendState(text, orv::externalParams);
    text += ends;
  }
  return text;
}

}  // namespace

// What is taken out of an object's text stays as it is: the text is entered.
void Shell::edit(const std::string& argument)
{
  if (!m_reader->isInteractive())
    return reportMistake(orv::_("There is no terminal to edit on."));
  const std::string text = argument.empty() ? StringUtilities::vectorToString(m_last, '\n') + "\n"
                                            : textFor(unquotedArgument(argument));
  if (argument.empty() && m_last.empty())
    return reportMistake(orv::_("No command was entered yet."));
  if (text.empty())
    return;  // there is no such object, which was told
  tell([&] {
    const std::string edited = editedText(text);
    if (edited == text)
      return ErrorPrinter::remark("nothing was changed");
    m_input.clear();
    Lines lines = StringUtilities::stringToVector(edited, '\n');
    while (!lines.empty() && lines.back().empty())
      lines.pop_back();
    takeLines(lines);
  });
}

// ------------------------------------------------------------------------------------------------------------ steps

void Shell::showHistory(const std::string&)
{
  if (m_steps.undoable().empty() && m_steps.redoable().empty())
    std::cout << "Nothing to undo or redo.\n";
  printSteps(m_steps.undoable(), "To be undone, the last one first to go:", true);
  printSteps(m_steps.redoable(), "To be redone, the first one first:", false);
}

// By a name, all steps go up to the one: those behind it may build on it.
void Shell::undo(const std::string& argument)
{
  const bool isCount = argument.find_first_not_of("0123456789") == std::string::npos;
  if (isCount)
    return moveInHistory(argument, "undo", "undone: ", &StepNames::undoable);
  const std::size_t count = m_steps.undosTo(unquotedArgument(argument));
  if (count == 0)
    return reportMistake(
        orv::_("No step is called '%s' or has changed such an object.", unquotedArgument(argument)));
  moveInHistory(StringUtilities::toString(count), "undo", "undone: ", &StepNames::undoable);
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
  dropInput();
}

void Shell::quit(const std::string&)
{
  m_ended = mayEnd();
}
