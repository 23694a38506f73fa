#include "CommandTable.h"

#include "platform/ORVUtilities.h"

#include <algorithm>

namespace {

OptionEntry entryOf(const CLI::Option& option)
{
  OptionEntry entry;
  for (const std::string& name : option.get_snames())
    entry.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames())
    entry.names.push_back("--" + name);
  entry.value = entry.names.empty() ? option.get_name(true) : option.get_type_name();
  if (option.get_items_expected_max() == 0)
    entry.value.clear();
  if (entry.value.find('|') != std::string::npos)
    entry.choices = orv::StringUtilities::stringToVector(entry.value, '|');
  entry.description = option.get_description();
  return entry;
}

CommandEntry entryOf(const CLI::App& app, const std::string& name)
{
  CommandEntry command{name, app.get_description(), {}, {}};
  for (const CLI::Option* option : app.get_options()) {
    const OptionEntry entry = entryOf(*option);
    (entry.names.empty() ? command.arguments : command.options).push_back(entry);
  }
  return command;
}

// For single quotes of a shell.
std::string quoted(const std::string& text)
{
  std::string out = "'";
  for (const char c : text)
    out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

std::string joined(const std::vector<std::string>& words, const char* between = " ")
{
  return orv::StringUtilities::vectorToString(words, std::string_view(between));
}

std::vector<std::string> optionNames(const CommandEntry& command)
{
  std::vector<std::string> names;
  for (const OptionEntry& option : command.options)
    names.insert(names.end(), option.names.begin(), option.names.end());
  return names;
}

std::vector<std::string> subcommands(const std::vector<CommandEntry>& table)
{
  std::vector<std::string> names;
  for (const CommandEntry& command : table)
    if (!command.name.empty())
      names.push_back(command.name);
  return names;
}

const OptionEntry* firstChoice(const CommandEntry& command)
{
  return command.arguments.empty() || command.arguments.front().choices.empty() ? nullptr
                                                                                : &command.arguments.front();
}

// ------------------------------------------------------------------------------------------------------------- bash

std::string bashValue(const OptionEntry& option)
{
  if (!option.choices.empty())
    return "COMPREPLY=($(compgen -W " + quoted(joined(option.choices)) + " -- \"$word\"))";
  if (option.isFolder())
    return "_ksl_files -d";
  return option.isFile() ? "_ksl_files -f" : "COMPREPLY=()";
}

std::string bashScript(const std::vector<CommandEntry>& table)
{
  std::string text =
      "# Completion of ksl in bash.\n_ksl_files() {\n  local IFS=$'\\n'\n  COMPREPLY+=($(compgen \"$1\" -- \"$word\"))\n}\n_ksl() {\n  local word=\"${COMP_WORDS[COMP_CWORD]}\" before=\"${COMP_WORDS[COMP_CWORD-1]}\"\n"
      "  local command= i\n  COMPREPLY=()\n  compopt -o filenames 2>/dev/null\n"
      "  for ((i = 1; i < COMP_CWORD; ++i)); do\n    case \"${COMP_WORDS[i]}\" in\n      "
      + joined(subcommands(table), "|") + ") command=\"${COMP_WORDS[i]}\"; break ;;\n    esac\n  done\n"
      "  case \"$command $before\" in\n";
  for (const CommandEntry& command : table)
    for (const OptionEntry& option : command.options)
      if (!option.value.empty())
        for (const std::string& name : option.names)
          text += "    " + quoted(command.name + " " + name) + ") " + bashValue(option) + "; return ;;\n";
  text += "  esac\n  case \"$command\" in\n";
  for (const CommandEntry& command : table) {
    std::vector<std::string> words = optionNames(command);
    const std::vector<std::string> more =
        command.name.empty() ? subcommands(table) : std::vector<std::string>();
    words.insert(words.end(), more.begin(), more.end());
    if (const OptionEntry* choice = firstChoice(command))
      words.insert(words.end(), choice->choices.begin(), choice->choices.end());
    const bool takesFiles = std::any_of(command.arguments.begin(), command.arguments.end(),
                                        [](const OptionEntry& argument) { return argument.isFile(); });
    text += "    " + quoted(command.name) + ") COMPREPLY=($(compgen -W " + quoted(joined(words))
            + " -- \"$word\")";
    text += takesFiles ? "); _ksl_files -f ;;\n" : ") ;;\n";
  }
  return text + "  esac\n}\ncomplete -F _ksl ksl\n";
}

// -------------------------------------------------------------------------------------------------------------- zsh

// A description must not end its bracket, nor its field.
std::string zshText(const std::string& text)
{
  std::string out;
  for (const char c : text) {
    if (c == '[' || c == ']' || c == ':' || c == '\\')
      out += '\\';
    out += c;
  }
  return out;
}

std::string zshAction(const OptionEntry& option)
{
  const std::string name = option.value.empty() ? "value" : zshText(option.value);
  if (!option.choices.empty())
    return ":value:(" + joined(option.choices) + ")";
  if (option.isFolder())
    return ":" + name + ":_files -/";
  return ":" + name + (option.isFile() ? ":_files" : ": ");
}

std::string zshScript(const std::vector<CommandEntry>& table)
{
  std::string text = "#compdef ksl\n# Completion of ksl in zsh.\n_ksl() {\n  local command=${words[(r)("
                     + joined(subcommands(table), "|") + ")]}\n  case \"$command\" in\n";
  for (const CommandEntry& command : table) {
    text += "    " + quoted(command.name) + ")\n      _arguments \\\n";
    for (const OptionEntry& option : command.options)
      for (const std::string& name : option.names)
        text += "        "
                + quoted("*" + name + "[" + zshText(option.description) + "]"
                         + (option.value.empty() ? "" : zshAction(option)))
                + " \\\n";
    if (command.name.empty()) {
      text += "        " + quoted("1:subcommand:(" + joined(subcommands(table)) + ")") + " ;;\n";
      continue;
    }
    // The subcommand is an argument to zsh as well. Of other arguments nothing is offered; a mere message would hide the
    // options.
    const OptionEntry rest = command.arguments.empty() ? OptionEntry{} : command.arguments.front();
    text += "        " + quoted("1: :()") + " "
            + quoted("*" + (rest.isFile() || !rest.choices.empty() ? zshAction(rest) : ": :()")) + " ;;\n";
  }
  // Found by the completion system, the file is the function; sourced, it says so.
  return text
         + "  esac\n}\nif [[ \"${funcstack[1]}\" == _ksl ]]; then\n  _ksl \"$@\"\nelse\n  compdef _ksl ksl\nfi\n";
}

// ------------------------------------------------------------------------------------------------------------- fish

std::string fishScript(const std::vector<CommandEntry>& table)
{
  const std::string names = joined(subcommands(table));
  std::string text = "# Completion of ksl in fish.\ncomplete -c ksl -f\n";
  for (const CommandEntry& command : table) {
    const std::string when = command.name.empty() ? "not __fish_seen_subcommand_from " + names
                                                  : "__fish_seen_subcommand_from " + command.name;
    if (!command.name.empty())
      text += "complete -c ksl -n " + quoted("not __fish_seen_subcommand_from " + names) + " -a "
              + command.name + " -d " + quoted(command.description) + "\n";
    const std::string head = "complete -c ksl -n " + quoted(when);
    for (const OptionEntry& option : command.options) {
      text += head;
      for (const std::string& name : option.names)
        text += name.compare(0, 2, "--") == 0 ? " -l " + name.substr(2) : " -s " + name.substr(1);
      if (!option.choices.empty())
        text += " -x -a " + quoted(joined(option.choices));
      else if (!option.value.empty())
        text += option.isFolder() ? " -x -a '(__fish_complete_directories)'"
                : option.isFile() ? " -r -F"
                                  : " -x";
      text += " -d " + quoted(option.description) + "\n";
    }
    for (const OptionEntry& argument : command.arguments)
      if (!argument.choices.empty())
        text += head + " -a " + quoted(joined(argument.choices)) + "\n";
      else if (argument.isFile())
        text += head + " -F\n";
  }
  return text;
}

// -------------------------------------------------------------------------------------------------------------- man

// A line that begins with a dot or a quote would be a request; hyphens of options are minus signs.
std::string roff(const std::string& text)
{
  std::string out;
  for (const char c : text) {
    if (c == '\\')
      out += "\\e";
    else if (c == '-')
      out += "\\-";
    else
      out += c;
  }
  return !out.empty() && (out.front() == '.' || out.front() == '\'') ? "\\&" + out : out;
}

std::string manOption(const OptionEntry& option)
{
  std::string names;
  for (const std::string& name : option.names)
    names += (names.empty() ? "\\fB" : ", \\fB") + roff(name) + "\\fR";
  if (names.empty())
    names = "\\fI" + roff(option.value) + "\\fR";
  else if (!option.value.empty())
    names += " \\fI" + roff(option.value) + "\\fR";
  return ".TP\n" + names + "\n" + roff(option.description) + "\n";
}

std::string synopsis(const CommandEntry& command)
{
  std::string text = "\\fBksl" + (command.name.empty() ? "" : " " + command.name) + "\\fR [\\fIoptions\\fR]";
  for (const OptionEntry& argument : command.arguments)
    text += " \\fI" + roff(argument.value) + "\\fR";
  return text;
}

}  // namespace

bool OptionEntry::isFile() const
{
  return value == "FILE" || value == "PATH";
}

std::vector<CommandEntry> commandTable(const CLI::App& app)
{
  std::vector<CommandEntry> table{entryOf(app, {})};
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
    table.push_back(entryOf(*command, command->get_name()));
  return table;
}

std::string completionScript(const CLI::App& app, Shells shell)
{
  const std::vector<CommandEntry> table = commandTable(app);
  return shell == Shells::bash  ? bashScript(table)
         : shell == Shells::zsh ? zshScript(table)
                                : fishScript(table);
}

std::string manualPage(const CLI::App& app)
{
  const std::vector<CommandEntry> table = commandTable(app);
  std::string text =
      ".TH KSL 1\n.SH NAME\nksl \\- " + roff("define and change objects with KSL texts") + "\n.SH SYNOPSIS\n";
  for (const CommandEntry& command : table)
    text += synopsis(command) + "\n.br\n";
  text += ".SH DESCRIPTION\n" + roff(app.get_description()) + "\n";
  for (const CommandEntry& command : table) {
    text += command.name.empty()
                ? std::string(".SH OPTIONS\n")
                : ".SH \"" + roff("ksl " + command.name) + "\"\n" + roff(command.description) + "\n";
    for (const std::vector<OptionEntry>* entries : {&command.arguments, &command.options})
      for (const OptionEntry& entry : *entries)
        text += manOption(entry);
  }
  return text + ".SH \"EXIT STATUS\"\n"
         + roff(
             "0 good; 1 an error was reported, or files differ; 2 wrong usage, of diff an "
             "error; 130 stopped by Ctrl-C.")
         + "\n";
}
