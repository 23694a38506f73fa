#include "Options.h"

#include "session/FileActions.h"

#include <unistd.h>

namespace {

// The library takes its places as one list; see KSLAPI::readNamedLibraries.
void readLibrary(const std::string& path, TextOptions& options)
{
  if (path.empty() || path.find(',') != std::string::npos)
    throw CLI::ValidationError("--library", "a path must not be empty or hold a ','");
  options.libraries.push_back(path);
}

void readUpdateMode(const std::string& word, TextOptions& options)
{
  options.updateMode = meaningOf<orv::kslUpdateMode>("--update-mode", word,
                                                     {{"at-end", orv::kslUpdateAtEnd},
                                                      {"default", orv::kslUpdateDefault},
                                                      {"no-action", orv::kslUpdateNoAction}});
}

void readFormat(const std::string& word, ReportFormat& format)
{
  format = meaningOf<ReportFormat>("--format", word,
                                   {{"text", ReportFormat::text},
                                    {"short", ReportFormat::shortText},
                                    {"json", ReportFormat::json},
                                    {"sarif", ReportFormat::sarif},
                                    {"github", ReportFormat::github}});
}

}  // namespace

void addOption(CLI::App& app, const char* name, const char* valueName, const char* help,
               std::function<void(const std::string&)> take)
{
  app.add_option_function<std::string>(name, std::move(take), help)->trigger_on_parse()->type_name(valueName);
}

void addFile(CLI::App& app, const char* name, const char* help, bool written, std::string& file)
{
  const auto take = [=, &file](const std::string& value) {
    const std::string problem = orv::fileNameProblem(value, written);
    if (!problem.empty())
      throw CLI::ValidationError(name, "a file name here " + problem);
    file = value;
  };
  addOption(app, name, "FILE", help, take);
}

void addFormat(CLI::App& command, ReportFormat& format)
{
  addOption(command, "--format", "text|short|json|sarif|github",
            "How errors are shown (short is one line); with json, states too",
            [&format](const std::string& word) { readFormat(word, format); });
}

void addLibraries(CLI::App& command, TextOptions& options)
{
  addOption(command, "--library", "PATH",
            "Read definitions from this file or directory in place of the built-in ones; may be repeated",
            [&options](const std::string& path) { readLibrary(path, options); });
  command.add_flag("--validate", options.validate,
                   "Check types and parameter names before anything is changed");
}

void addRules(CLI::App& command, TextOptions& options)
{
  addFormat(command, options.format);
  addLibraries(command, options);
}

void addLoad(CLI::App& command, std::string& file)
{
  addFile(command, "--load", "Load this state file first", false, file);
}

void addEntering(CLI::App& command, TextOptions& options)
{
  addOption(command, "-e", "TEXT", "Enter this text after the files; may be repeated",
            [&options](const std::string& text) { options.texts.push_back(text); });
  addOption(command, "--update-mode", "at-end|default|no-action",
            "When definitions take effect; default is after each block",
            [&options](const std::string& word) { readUpdateMode(word, options); });
}

void addFiles(CLI::App& command, std::vector<std::string>& files, const char* help)
{
  command.add_option("FILE", files, help)->type_name("");
  command.callback([&files] {
    if (files.empty() && ::isatty(STDIN_FILENO))
      throw CLI::RequiredError("FILE");
    if (files.empty())
      files.emplace_back("-");
  });
}

void addTexts(CLI::App& command, TextOptions& options)
{
  command.add_option("FILE", options.files, "Files to enter, in order; - is standard input")->type_name("");
  command.callback([&options] {
    if (options.files.empty() && options.texts.empty() && !::isatty(STDIN_FILENO))
      options.files.emplace_back("-");
  });
  addEntering(command, options);
  addRules(command, options);
}
