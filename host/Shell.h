// "ksl" without a subcommand: commands as a person types them.
#pragma once

#include "AutoSave.h"
#include "ChangeRecord.h"
#include "CommandInput.h"
#include "Completer.h"
#include "LineReader.h"
#include "StepNames.h"
#include "Texts.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

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
  bool begin(const Options& options);
  void offerLeftover();
  Completions complete(const Completer& completer, std::string_view beforeCursor) const;

  // Lines. Those that take some return false when a command was refused.
  void loop();
  bool takeLines(const Lines& lines);
  bool takeLine(const std::string& line);
  bool enterCommand();
  bool enter(const EnteredText& text, const std::string& name);
  bool bringBack(const Lines& rest);
  void dropInput();
  void interrupt(const std::string& dropped);
  bool mayEnd();
  // Asks what is to become of unsaved work, if there is some and somebody to ask.
  bool mayLeaveWork();
  bool answersYes(const std::string& question);

  // What lines do that are for the shell itself, each with what stands behind its word.
  static const std::vector<OwnCommand>& ownCommands();
  static const OwnCommand* findOwnCommand(std::string_view word);
  void runOwnCommand(const std::string& line);
  void showHelp(const std::string& argument);
  void showTree(const std::string& argument);
  void showState(const std::string& argument);
  void showValues(const std::string& argument);
  void showDescription(const std::string& argument);
  void showReasons(const std::string& argument);
  void showPlan(const std::string& argument);
  void showHistory(const std::string& argument);
  void readFile(const std::string& argument);
  void openFile(const std::string& argument);
  void saveFile(const std::string& argument);
  bool saveIn(const std::string& file);
  bool mayOverwrite(const std::string& file);
  void edit(const std::string& argument);
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
  ChangeRecord m_record;
  std::vector<Completer::Word> m_words;  // of the shell's own, for completion
  std::unique_ptr<LineReader> m_reader;
  std::string m_file;         // the state file that the work is in
  Lines m_last;               // the last command that was entered
  bool m_warned = false;      // Ctrl-C was the last thing typed, with nothing to drop
  std::size_t m_entries = 0;  // commands entered
  bool m_ended = false;
};
