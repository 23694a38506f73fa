// Options that several subcommands have.
#pragma once

#include "platform/ORVUtilities.h"
#include "Texts.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <utility>
#include <vector>

constexpr int wrongUsage = 2;

// An option that takes one value each time it is given. Values that are listed, "text|json", are completed by shells.
void addOption(CLI::App& app, const char* name, const char* valueName, const char* help,
               std::function<void(const std::string&)> take);
// A file that an action line is to name.
void addFile(CLI::App& app, const char* name, const char* help, bool written, std::string& file);

// What a word of the command line means; one that is none of them is wrong usage.
template <class Meaning>
Meaning meaningOf(const char* option, const std::string& word,
                  const std::vector<std::pair<std::string, Meaning>>& words)
{
  std::vector<std::string> names;
  for (const auto& [name, meaning] : words) {
    if (word == name)
      return meaning;
    names.push_back(name);
  }
  const std::string meant = orv::StringUtilities::closest(word, names);
  throw CLI::ValidationError(option, "'" + word + "' is none of "
                                         + orv::StringUtilities::vectorToString(names, ", ")
                                         + (meant.empty() ? "" : "; did you mean '" + meant + "'?"));
}

// --format, of reports.
void addFormat(CLI::App& command, ReportFormat& format);
// --library and --validate.
void addLibraries(CLI::App& command, TextOptions& options);
// All of these.
void addRules(CLI::App& command, TextOptions& options);
// --load
void addLoad(CLI::App& command, std::string& file);
// -e and --update-mode.
void addEntering(CLI::App& command, TextOptions& options);
// FILE..., at least one; standard input stands for those that are not given, unless it is a terminal.
void addFiles(CLI::App& command, std::vector<std::string>& files, const char* help);
// Files, and what goes with them: what is entered, and how. Standard input likewise, when there is no text either; on a
// terminal there may be nothing.
void addTexts(CLI::App& command, TextOptions& options);
