// "ksl" without a subcommand: commands as a person types them.
#pragma once

#include "AutoSave.h"
#include "CommandInput.h"
#include "LineReader.h"
#include "StepNames.h"
#include "Texts.h"
#include "Trace.h"

#include <functional>
#include <memory>
#include <string>

class Shell {
 public:
  struct Options {
    TextOptions input;
    std::string load;    // a state file; empty for none
    std::string record;  // a session file; empty for none
  };

  // Reads lines from standard input until it ends or the person leaves. Returns the exit status: as runWithHost,
  // but errors that a person at a terminal has seen are no failure of the shell.
  static int run(const Options& options);

 private:
  struct OwnCommand;

  Shell(Host& host, const Options& options);
  void offerLeftover();
  bool begin(const Options& options);
  void greet() const;
  void loop();
  void takeLine(const std::string& line);
  void enterCommand();
  bool enter(const EnteredText& text, const std::string& name);
  void interrupt(const std::string& dropped);
  bool mayEnd();

  static const std::vector<OwnCommand>& ownCommands();
  void runOwnCommand(const std::string& line);
  void showHelp(const std::string& argument);
  void showTree(const std::string& argument);
  void showState(const std::string& argument);
  void showHistory(const std::string& argument);
  void undo(const std::string& argument);
  void redo(const std::string& argument);
  void cancel(const std::string& argument);
  void quit(const std::string& argument);
  void moveInHistory(const std::string& count, const char* action, const char* done,
                     const std::vector<std::string>& (StepNames::*steps)() const);

  Host& m_host;
  AutoSave m_autoSave;
  CommandInput m_input;
  StepNames m_steps;
  GraphTrace m_calculations{false};
  std::vector<std::string> m_words;  // of the shell's own, for completion
  std::unique_ptr<LineReader> m_reader;
  bool m_warned = false;      // Ctrl-C was the last thing typed, with nothing to drop
  std::size_t m_entries = 0;  // commands entered
  bool m_ended = false;
};
