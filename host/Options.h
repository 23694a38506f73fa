// Options that several subcommands have.
#pragma once

#include "Texts.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

constexpr int wrongUsage = 2;

// An option that takes one value each time it is given.
void addOption(CLI::App& app, const char* name, const char* valueName, const char* help,
               std::function<void(const std::string&)> take);
// A file that an action line is to name.
void addFile(CLI::App& app, const char* name, const char* help, bool written, std::string& file);

// --library and --validate.
void addRules(CLI::App& command, TextOptions& options);
// --load
void addLoad(CLI::App& command, std::string& file);
// -e and --update-mode.
void addEntering(CLI::App& command, TextOptions& options);
// Files, and what goes with them: what is entered, and how.
void addTexts(CLI::App& command, TextOptions& options);
