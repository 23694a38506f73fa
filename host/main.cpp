// ksl, the command-line host: reads the command line and leaves the rest to the subcommands.
#include "platform/ORVUtilities.h"
#include "EvalCommand.h"
#include "GraphCommand.h"
#include "RunCommand.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <utility>

namespace {

constexpr int wrongUsage = 2;

// Shows "--state{/}", the parser's way to say that "/" is the value when none is given, as people write it.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_option_name(const CLI::Option* option, bool positional) const override
  {
    const std::string name = CLI::Formatter::make_option_name(option, positional);
    return name == "--state{/}" ? "--state[=PATH,...]" : name;
  }
};

// An option that takes one value each time it is given.
template <class Take>
void addOption(CLI::App& app, const char* name, const char* valueName, const char* help, Take take)
{
  app.add_option_function<std::string>(name, take, help)->trigger_on_parse()->type_name(valueName);
}

// The library takes its places as one list; see KSLAPI::readNamedLibraries.
void readLibrary(const std::string& path, TextOptions& options)
{
  if (path.empty() || path.find(',') != std::string::npos)
    throw CLI::ValidationError("--library", "a path must not be empty or hold a ','");
  options.libraries.push_back(path);
}

void readUpdateMode(const std::string& word, TextOptions& options)
{
  if (word == "at-end")
    options.updateMode = orv::kslUpdateAtEnd;
  else if (word == "default")
    options.updateMode = orv::kslUpdateDefault;
  else if (word == "no-action")
    options.updateMode = orv::kslUpdateNoAction;
  else
    throw CLI::ValidationError("--update-mode", "'" + word + "' is none of at-end, default, no-action");
}

void readTrace(const std::string& words, RunCommand::Options& options)
{
  for (const std::string& word : orv::StringUtilities::stringToVector(words, ',')) {
    if (word == "notify")
      options.traceNotifications = true;
    else if (word == "errors")
      options.input.traceErrors = true;
    else if (word == "changes")
      options.traceChanges = true;
    else if (word == "graph")
      options.traceGraph = true;
    else
      throw CLI::ValidationError("--trace", "'" + word + "' is none of notify, changes, errors, graph");
  }
}

// What is entered, and how; the same for all subcommands.
void addTexts(CLI::App& command, TextOptions& options)
{
  command.add_option("FILE", options.files, "Files to enter, in order; - is standard input")->type_name("");
  addOption(command, "-e", "TEXT", "Enter this text after the files; may be repeated",
            [&options](const std::string& text) { options.texts.push_back(text); });
  addOption(command, "--library", "PATH",
            "Read definitions from this file or directory in place of the built-in ones; may be repeated",
            [&options](const std::string& path) { readLibrary(path, options); });
  addOption(command, "--update-mode", "MODE",
            "When definitions take effect: at-end, default (after each block), no-action",
            [&options](const std::string& word) { readUpdateMode(word, options); });
  command.add_flag("--validate", options.validate,
                   "Check types and parameter names before anything is changed");
}

void addRun(CLI::App& app, RunCommand::Options& options)
{
  CLI::App* run =
      app.add_subcommand("run", "Enter KSL texts, each as one command, and show what becomes of them");
  addTexts(*run, options.input);
  // A flag, whose value needs a "=": it must not take a file that follows for its value.
  run->add_flag("--state{/}", options.state, "Print the state text of all objects at the end, or of these");
  addOption(*run, "--trace", "WORD,...",
            "Tell on standard error what goes on: notify, changes, errors, graph",
            [&options](const std::string& words) { readTrace(words, options); });
  run->add_flag("--timings", options.timings, "Tell on standard error what each command changed and took");
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
  addOption(*eval, "--load", "FILE", "Load this state first, for its named expressions",
            [&options](const std::string& file) { options.state = file; });
  return eval;
}

}  // namespace

int main(int argc, char** argv)
{
  CLI::App app("Defines and changes objects of a flow post-processor with KSL texts.", "ksl");
  app.set_version_flag("--version", "ksl " KSL_VERSION);
  app.require_subcommand(1);
  app.formatter(std::make_shared<HelpFormatter>());
  RunCommand::Options runOptions;
  GraphCommand::Options graphOptions;
  addRun(app, runOptions);
  const CLI::App* graph = addGraph(app, graphOptions);
  EvalCommand::Options evalOptions;
  const CLI::App* eval = addEval(app, evalOptions);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : wrongUsage;
  }
  if (eval->parsed())
    return EvalCommand::run(evalOptions);
  return graph->parsed() ? GraphCommand::run(graphOptions) : RunCommand(std::move(runOptions)).run();
}
