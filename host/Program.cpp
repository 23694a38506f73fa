// The command line: read here; the rest is left to the subcommands.
#include "Program.h"

#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"
#include "EvalCommand.h"
#include "ExplainCommand.h"
#include "FormatCommand.h"
#include "GraphCommand.h"
#include "Options.h"
#include "RunCommand.h"
#include "Shell.h"
#include "StandardStreams.h"
#include "SweepCommand.h"
#include "Tools.h"
#include "session/FileActions.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

// Shows "--state{/}", the parser's way to say that "/" is the value when none is given, as people write it.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_option_name(const CLI::Option* option, bool positional) const override
  {
    const std::string name = CLI::Formatter::make_option_name(option, positional);
    return name == "--state{/}" ? "--state[=PATH,...]" : name;
  }
};

void readTrace(const std::string& words, RunCommand::Options& options)
{
  const std::vector<std::pair<std::string, bool*>> traces = {
      {"notify", &options.traceNotifications}, {"changes", &options.traceChanges},
      {"errors", &options.input.traceErrors},  {"graph", &options.traceGraph},
      {"files", &options.traceFiles},          {"results", &options.traceResults}};
  for (const std::string& word : orv::StringUtilities::stringToVector(words, ','))
    *meaningOf<bool*>("--trace", word, traces) = true;
}

void addRecord(CLI::App& command, std::string& file)
{
  addFile(command, "--record", "Record what is entered in this session file, which must not exist", true,
          file);
}

// What is seen of it.
void addWatching(CLI::App& command, RunCommand::Options& options)
{
  addFile(command, "--save", "Save the state in this file at the end", true, options.save);
  // A flag, whose value needs a "=": it must not take a file that follows for its value.
  command.add_flag("--state{/}", options.state,
                   "Print the state text of all objects at the end, or of these");
  addOption(command, "--trace", "WORD,...",
            "Tell on standard error what goes on: notify, changes, errors, graph, files, results",
            [&options](const std::string& words) { readTrace(words, options); });
  command.add_flag("--timings", options.timings, "Tell on standard error what each command changed and took");
}

void addRun(CLI::App& app, RunCommand::Options& options)
{
  CLI::App* run =
      app.add_subcommand("run", "Enter KSL texts, each as one command, and show what becomes of them");
  addTexts(*run, options.input);
  addLoad(*run, options.load);
  addRecord(*run, options.record);
  run->add_flag("--autosave", options.autoSave,
                "Save AutoSaveState.qst as the shell does, beside the file of --load, --save or --record");
  addWatching(*run, options);
}

void addReplay(CLI::App& app, RunCommand::Options& options)
{
  CLI::App* replay =
      app.add_subcommand("replay", "Enter the commands of a session file, and show what becomes of them");
  addRules(*replay, options.input);
  addLoad(*replay, options.load);
  addFile(*replay, "FILE", "The session file", false, options.replay);
  replay->get_option("FILE")->required()->type_name("");
  CLI::Option* keep = replay->add_flag("--keep-whole", options.keepWhole,
                                       "Enter the whole commands of a session that was cut off");
  replay
      ->add_flag("--as-one", options.replayAsOne,
                 "Enter the session as one command: all of it is done, or nothing")
      ->excludes(keep);
  replay->add_flag("--write-files", options.writeFiles,
                   "Run recorded savestate actions, which are passed over otherwise");
  addWatching(*replay, options);
}

// A state must not take the place of the session that led to it.
void checkFiles(const RunCommand::Options& options)
{
  const auto isSaved = [&](const std::string& file) {
    return !file.empty() && !options.save.empty()
           && orv::ORVFile::getCanonicalName(file) == orv::ORVFile::getCanonicalName(options.save);
  };
  if (isSaved(options.record))
    throw CLI::ValidationError("--save", "--record names the same file");
  if (isSaved(options.replay))
    throw CLI::ValidationError("--save", "it is the session file");
}

CLI::App* addGraph(CLI::App& app, GraphCommand::Options& options)
{
  CLI::App* graph =
      app.add_subcommand("graph", "Enter KSL texts, then draw the objects and what is computed from what");
  addTexts(*graph, options.input);
  CLI::Option* dot = graph->add_flag("--dot")->description("Draw in the DOT language, as without an option");
  graph->add_flag("--svg", options.svg, "Draw an SVG picture; asks for Graphviz")->excludes(dot);
  return graph;
}

CLI::App* addEval(CLI::App& app, EvalCommand::Options& options)
{
  CLI::App* eval = app.add_subcommand("eval", "Compute an expression; one that begins with - goes behind --");
  eval->add_option("EXPR", options.expression, "Numbers with [units], names, functions; docs/expressions.md")
      ->required()
      ->type_name("");
  addOption(*eval, "--in", "UNIT", "Show the result in these units",
            [&options](const std::string& units) { options.units = units; });
  eval->add_flag("--difference", options.difference,
                 "Show it as a difference, where 10 K are 18 F; what an expression subtracts is one anyway")
      ->needs(eval->get_option("--in"));
  addLoad(*eval, options.state);
  addFormat(*eval, options.format);
  return eval;
}

CLI::App* addSweep(CLI::App& app, SweepCommand::Options& options)
{
  CLI::App* sweep =
      app.add_subcommand("sweep", "Run a model over many values, and print what is computed; docs/ksl.md");
  addFile(*sweep, "MODEL", "The file of the model", false, options.model);
  sweep->get_option("MODEL")->required()->type_name("");
  const auto add = [sweep](const char* name, const char* value, const char* help,
                           std::vector<std::string>& list) {
    addOption(*sweep, name, value, help, [&list](const std::string& text) { list.push_back(text); });
  };
  add("--set", "PATH.NAME=VALUES",
      "Values for a parameter: A, B, C [units] or A..B/N [units]; may be repeated", options.settings);
  sweep->get_option("--set")->required();
  add("--show", "PATH.NAME", "A parameter to print in place of all that was computed; may be repeated",
      options.shown);
  addOption(*sweep, "--pictures", "FOLDER", "Where what calculations write goes, a folder for each row",
            [&options](const std::string& folder) { options.pictures = folder; });
  addOption(*sweep, "--library", "PATH", "Read definitions from this file or directory; may be repeated",
            [&options](const std::string& path) { options.libraries.push_back(path); });
  sweep->add_flag("--json", options.json, "Print JSON rather than CSV");
  sweep->add_option("-j,--jobs", options.jobs, "How many threads to use; all cores without it")
      ->type_name("N");
  return sweep;
}

CLI::App* addFormatter(CLI::App& app, FormatCommand::Options& options)
{
  CLI::App* format = app.add_subcommand("fmt", "Put KSL files into the one style; docs/ksl.md");
  format
      ->add_option("FILE", options.files,
                   "Files to format; - is standard input, which goes to standard output")
      ->required()
      ->type_name("");
  format->add_flag("--check", options.check,
                   "Write nothing; name the files that are not in the style, with exit status 1");
  format->add_flag("--diff", options.diff, "Write nothing; show what would change");
  addFormat(*format, options.format);
  return format;
}

CLI::App* addExplain(CLI::App& app, std::string& text)
{
  CLI::App* explain =
      app.add_subcommand("explain", "Say what a report means, and what to do; docs/errors.md");
  explain->add_option("TEXT", text, "The report, or its message")->required()->type_name("");
  return explain;
}

// An option of the shell in front of a subcommand would be lost on it.
void refuseMisplaced(const CLI::App& app)
{
  const std::vector<CLI::App*> chosen = app.get_subcommands();
  for (const CLI::Option* option : app.get_options())
    if (!chosen.empty() && option->count() > 0)
      throw CLI::ValidationError(option->get_name(), "in front of '" + chosen.front()->get_name()
                                                         + "' it has no effect; write it behind");
}

// What an argument that nobody expected was meant to be, as a line; empty when nothing is close.
std::string suggestionFor(const CLI::App& app, const CLI::ParseError& error)
{
  const std::string message = error.what();
  const std::size_t colon = message.find(": ");
  if (dynamic_cast<const CLI::ExtrasError*>(&error) == nullptr || colon == std::string::npos)
    return {};
  const std::vector<CLI::App*> chosen = app.get_subcommands();
  std::vector<std::string> options;
  for (const CLI::Option* option : (chosen.empty() ? &app : chosen.front())->get_options())
    options.push_back(option->get_single_name());
  std::vector<std::string> commands;
  for (const CLI::App* command : app.get_subcommands(nullptr))
    commands.push_back(command->get_name());
  for (const std::string& word : orv::StringUtilities::stringToVector(message.substr(colon + 2), ' ')) {
    const std::size_t name = word.find_first_not_of('-');
    const bool isOption = name > 0 && name != std::string::npos;
    const std::string meant = orv::StringUtilities::closest(
        isOption ? word.substr(name, word.find('=') - name) : word, isOption ? options : commands);
    if (!meant.empty())
      return "Did you mean '" + (isOption ? (meant.size() == 1 ? "-" : "--") + meant : meant) + "'?\n";
  }
  return {};
}

}  // namespace

int runProgram(int argc, char** argv)
{
  secureStandardStreams();
  CLI::App app(
      "Defines and changes objects of a flow post-processor with KSL texts. Without a subcommand, as they "
      "are "
      "typed.",
      "ksl");
  app.set_version_flag("--version", "ksl " KSL_VERSION);
  app.require_subcommand(0, 1);
  app.formatter(std::make_shared<HelpFormatter>());
  Shell::Options shellOptions;
  RunCommand::Options runOptions;
  GraphCommand::Options graphOptions;
  addRules(app, shellOptions.input);
  addLoad(app, shellOptions.load);
  addRecord(app, shellOptions.record);
  addRun(app, runOptions);
  addReplay(app, runOptions);
  const CLI::App* graph = addGraph(app, graphOptions);
  EvalCommand::Options evalOptions;
  const CLI::App* eval = addEval(app, evalOptions);
  FormatCommand::Options formatOptions;
  const CLI::App* format = addFormatter(app, formatOptions);
  std::string report;
  const CLI::App* explain = addExplain(app, report);
  SweepCommand::Options sweepOptions;
  const CLI::App* sweep = addSweep(app, sweepOptions);
  const Tools tools(app);
  try {
    app.parse(argc, argv);
    refuseMisplaced(app);
    checkFiles(runOptions);
  } catch (const CLI::ParseError& error) {
    if (app.exit(error) == 0)
      return 0;
    std::cerr << suggestionFor(app, error);
    return wrongUsage;
  }
  if (eval->parsed())
    return EvalCommand::run(evalOptions);
  if (format->parsed())
    return FormatCommand::run(formatOptions);
  if (sweep->parsed())
    return SweepCommand::run(sweepOptions);
  if (explain->parsed())
    return ExplainCommand::run(report);
  if (const std::function<int()>* tool = tools.asked())
    return (*tool)();
  if (app.get_subcommands().empty())
    return Shell::run(shellOptions);
  return graph->parsed() ? GraphCommand::run(graphOptions) : RunCommand(std::move(runOptions)).run();
}
