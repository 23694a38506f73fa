#include "Tools.h"

#include "CheckCommand.h"
#include "CommandTable.h"
#include "DescribeCommand.h"
#include "DiffCommand.h"
#include "GetCommand.h"
#include "LspCommand.h"
#include "Options.h"
#include "PlanCommand.h"
#include "WhyCommand.h"

#include <iostream>
#include <string>
#include <utility>

struct Tools::Options {
  DescribeCommand::Options describe;
  GetCommand::Options get;
  DiffCommand::Options diff;
  PlanCommand::Options plan;
  WhyCommand::Options why;
  CheckCommand::Options check;
  TextOptions lsp;
  std::string shell;
};

namespace {

// Of what is printed; reports come as data when that does.
void addFormat(CLI::App& command, QueryOptions& options, bool csv = false)
{
  std::vector<std::pair<std::string, OutputFormat>> known{{"text", OutputFormat::text},
                                                          {"json", OutputFormat::json}};
  if (csv)
    known.emplace_back("csv", OutputFormat::csv);
  addOption(command, "--format", csv ? "text|json|csv" : "text|json", "How to print",
            [known, &options](const std::string& word) {
              options.format = meaningOf<OutputFormat>("--format", word, known);
              options.input.format =
                  options.format == OutputFormat::json ? ReportFormat::json : ReportFormat::text;
            });
}

// What there is to look at.
void addObjects(CLI::App& command, QueryOptions& options)
{
  addLoad(command, options.load);
  addOption(command, "-f", "FILE", "Enter this file first; - is standard input; may be repeated",
            [&options](const std::string& file) { options.input.files.push_back(file); });
  addEntering(command, options.input);
  addLibraries(command, options.input);
}

}  // namespace

Tools::Tools(CLI::App& app) : m_options(std::make_unique<Options>())
{
  addDescribe(app);
  addGet(app);
  addDiff(app);
  addPlan(app);
  addWhy(app);
  addCheck(app);
  addLsp(app);
  addCompletion(app);
}

Tools::~Tools() = default;

const std::function<int()>* Tools::asked() const
{
  for (const auto& [command, run] : m_commands)
    if (command->parsed())
      return &run;
  return nullptr;
}

void Tools::addDescribe(CLI::App& app)
{
  DescribeCommand::Options& options = m_options->describe;
  CLI::App* command =
      app.add_subcommand("describe", "Tell what types and parameters there are, and what they take");
  command
      ->add_option("SUBJECT", options.subject,
                   "A type, TYPE.PARAM, an object or PATH.PARAM; without one, all types are listed")
      ->type_name("");
  addFormat(*command, options.query);
  addOption(*command, "--html", "DIR", "Write a reference manual of all types into this folder, as HTML",
            [&options](const std::string& folder) { options.html = folder; });
  addOption(*command, "--markdown", "DIR", "The same as Markdown",
            [&options](const std::string& folder) { options.markdown = folder; });
  addObjects(*command, options.query);
  add(command, [&options] { return DescribeCommand::run(options); });
}

void Tools::addGet(CLI::App& app)
{
  GetCommand::Options& options = m_options->get;
  CLI::App* command = app.add_subcommand("get", "Print values of objects, results included");
  command
      ->add_option("PATHS", options.objects,
                   "Paths or names, joined by commas, in which * stands for anything; or PATH.PARAM")
      ->required()
      ->type_name("");
  command
      ->add_option("PARAMS", options.params,
                   "Names of parameters, likewise; without any, those that state text shows")
      ->type_name("");
  addOption(*command, "--in", "UNIT", "Show numbers in these units",
            [&options](const std::string& units) { options.units = units; });
  addFormat(*command, options.query, true);
  addObjects(*command, options.query);
  add(command, [&options] { return GetCommand::run(options); });
}

void Tools::addDiff(CLI::App& app)
{
  DiffCommand::Options& options = m_options->diff;
  CLI::App* command =
      app.add_subcommand("diff", "Compare what two texts, states or sessions define; 1 when they differ");
  command->add_option("FILE", options.files, "The two files; - is standard input")
      ->required()
      ->expected(2)
      ->type_name("");
  command->add_flag("--values", options.values,
                    "What means the same is equal: 25 [cm] and 0.25 [m], On and Yes");
  addFormat(*command, options.query);
  addLibraries(*command, options.query.input);
  add(command, [&options] { return DiffCommand::run(options); });
}

void Tools::addPlan(CLI::App& app)
{
  PlanCommand::Options& options = m_options->plan;
  CLI::App* command = app.add_subcommand("plan", "Tell what entering files would change, and change nothing");
  command->add_option("FILE", options.files, "Files to plan, in order; - is standard input")
      ->required()
      ->type_name("");
  addFormat(*command, options.query);
  addObjects(*command, options.query);
  add(command, [&options] { return PlanCommand::run(options); });
}

void Tools::addWhy(CLI::App& app)
{
  WhyCommand::Options& options = m_options->why;
  CLI::App* command =
      app.add_subcommand("why", "Tell what an object is computed from, and which change reached it last");
  command->add_option("PATH", options.subject, "A path or name, or PATH.PARAM")->required()->type_name("");
  addFormat(*command, options.query);
  addObjects(*command, options.query);
  add(command, [&options] { return WhyCommand::run(options); });
}

void Tools::addCheck(CLI::App& app)
{
  CheckCommand::Options& options = m_options->check;
  CLI::App* command = app.add_subcommand("check", "Tell all that is wrong with files, and enter nothing");
  addTexts(*command, options.input);
  addLoad(*command, options.load);
  command->add_flag("--deny-warnings", options.denyWarnings, "Exit status 1 for warnings, too");
  add(command, [&options] { return CheckCommand::run(options); });
}

void Tools::addLsp(CLI::App& app)
{
  TextOptions& options = m_options->lsp;
  CLI::App* command =
      app.add_subcommand("lsp", "Serve editors on standard input and output; docs/editors.md");
  addLibraries(*command, options);
  command->add_flag("--stdio")->description("What it does anyway; editors say so");
  add(command, [&options] { return LspCommand::run(options); });
}

void Tools::addCompletion(CLI::App& app)
{
  std::string& shell = m_options->shell;
  CLI::App* command =
      app.add_subcommand("completion", "Print a script that completes ksl in a shell, or the manual page");
  command->add_option("bash|zsh|fish|man", shell, "What to print it for")
      ->required()
      ->check(CLI::IsMember({"bash", "zsh", "fish", "man"}))
      ->type_name("");
  add(command, [&app, &shell] {
    if (shell == "man")
      std::cout << manualPage(app);
    else
      std::cout << completionScript(app, shell == "bash"  ? Shells::bash
                                         : shell == "zsh" ? Shells::zsh
                                                          : Shells::fish);
    return std::cout.flush() ? 0 : 1;
  });
}
