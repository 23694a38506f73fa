// ksl, the command-line host: reads the command line and leaves the rest to RunCommand.
#include "platform/ORVUtilities.h"
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
void readLibrary(const std::string& path, RunCommand::Options& options)
{
  if (path.empty() || path.find(',') != std::string::npos)
    throw CLI::ValidationError("--library", "a path must not be empty or hold a ','");
  options.libraries.push_back(path);
}

void readUpdateMode(const std::string& word, RunCommand::Options& options)
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
      options.traceErrors = true;
    else if (word == "changes" || word == "graph")
      throw CLI::ValidationError("--trace", "'" + word + "' cannot be traced yet");
    else
      throw CLI::ValidationError("--trace", "'" + word + "' is none of notify, errors");
  }
}

void addRun(CLI::App& app, RunCommand::Options& options)
{
  CLI::App& run =
      *app.add_subcommand("run", "Enter KSL texts, each as one command, and show what becomes of them");
  run.add_option("FILE", options.files, "Files to enter, in order; - is standard input")->type_name("");
  addOption(run, "-e", "TEXT", "Enter this text after the files; may be repeated",
            [&options](const std::string& text) { options.texts.push_back(text); });
  addOption(run, "--library", "PATH",
            "Read definitions from this file or directory in place of the built-in ones; may be repeated",
            [&options](const std::string& path) { readLibrary(path, options); });
  addOption(run, "--update-mode", "MODE",
            "When definitions take effect: at-end, default (after each block), no-action",
            [&options](const std::string& word) { readUpdateMode(word, options); });
  run.add_flag("--validate", options.validate, "Check types and parameter names before anything is changed");
  // A flag, whose value needs a "=": it must not take a file that follows for its value.
  run.add_flag("--state{/}", options.state, "Print the state text of all objects at the end, or of these");
  addOption(run, "--trace", "WORD,...", "Tell on standard error what goes on: notify, errors",
            [&options](const std::string& words) { readTrace(words, options); });
}

}  // namespace

int main(int argc, char** argv)
{
  CLI::App app("Defines and changes objects of a flow post-processor with KSL texts.", "ksl");
  app.set_version_flag("--version", "ksl " KSL_VERSION);
  app.require_subcommand(1);
  app.formatter(std::make_shared<HelpFormatter>());
  RunCommand::Options options;
  addRun(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : wrongUsage;
  }
  return RunCommand(std::move(options)).run();
}
