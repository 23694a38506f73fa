// The command line as data, from the parser's own table: for completion in shells and for the manual page.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

enum class Shells { bash, zsh, fish };

// A script for a shell that completes subcommands, options, and what options take.
std::string completionScript(const CLI::App& app, Shells shell);
// The manual page ksl(1), in the language of man.
std::string manualPage(const CLI::App& app);

// What an option is called, and takes.
struct OptionEntry {
  std::vector<std::string> names;    // "-e", "--load"; empty for what stands alone
  std::string value;                 // "FILE"; empty for a flag
  std::vector<std::string> choices;  // the values, when they are listed: "text|json"
  std::string description;
  bool isFile() const;  // what stands alone counts, too
  bool isFolder() const { return value == "DIR"; }
};
struct CommandEntry {
  std::string name;  // empty for ksl without a subcommand
  std::string description;
  std::vector<OptionEntry> options;
  std::vector<OptionEntry> arguments;
};
std::vector<CommandEntry> commandTable(const CLI::App& app);
