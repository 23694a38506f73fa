// "ksl run": enters texts and shows what became of them.
#pragma once

#include "command/KSLUpdateMode.h"

#include <cstddef>
#include <string>
#include <vector>

class ErrorPrinter;

class RunCommand {
 public:
  struct Options {
    std::vector<std::string> files;  // "-" is standard input
    std::vector<std::string> texts;  // entered after the files
    std::vector<std::string> libraries;
    orv::kslUpdateMode updateMode = orv::kslUpdateDefault;
    bool validate = false;
    bool traceNotifications = false;
    bool traceErrors = false;
    // Lists of paths or names of the objects to print at the end; "/" for all.
    std::vector<std::string> state;
  };

  explicit RunCommand(Options options);

  // The exit status: 0, or 1 when an error was reported. Faulty RULES and files that cannot be read are
  // reported before anything is entered, and end the run; a text that fails is taken back, and the next is
  // entered.
  int run();

 private:
  using Lines = std::vector<std::string>;

  void runReported(ErrorPrinter& printer) const;
  std::vector<Lines> readCommands() const;
  void enter(const std::vector<Lines>& commands) const;
  void printState() const;

  Options m_options;
};
