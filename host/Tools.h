// The subcommands that look at texts, rules and values.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <vector>

class Tools {
 public:
  // Adds the subcommands with their options.
  explicit Tools(CLI::App& app);
  ~Tools();
  Tools(const Tools&) = delete;
  Tools& operator=(const Tools&) = delete;

  // Runs the one that the command line asks for; null when it asks for another.
  const std::function<int()>* asked() const;

 private:
  struct Options;

  void add(CLI::App* command, std::function<int()> run) { m_commands.emplace_back(command, std::move(run)); }
  void addDescribe(CLI::App& app);
  void addGet(CLI::App& app);
  void addDiff(CLI::App& app);
  void addPlan(CLI::App& app);
  void addWhy(CLI::App& app);
  void addCheck(CLI::App& app);
  void addLsp(CLI::App& app);
  void addCompletion(CLI::App& app);

  std::unique_ptr<Options> m_options;
  std::vector<std::pair<const CLI::App*, std::function<int()>>> m_commands;
};
