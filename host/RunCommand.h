// "ksl run": enters texts and shows what became of them.
#pragma once

#include "Texts.h"

#include <string>
#include <vector>

class GraphTrace;

class RunCommand {
 public:
  struct Options {
    TextOptions input;
    bool traceNotifications = false;
    bool traceChanges = false;
    bool traceGraph = false;
    bool traceFiles = false;
    bool timings = false;
    // Lists of paths or names of the objects to print at the end; "/" for all.
    std::vector<std::string> state;
  };

  explicit RunCommand(Options options);

  // As runWithTexts; a text that fails is taken back, and the next is entered.
  int run();

 private:
  void enter(const Texts& texts) const;
  void enterWatched(const Lines& text, GraphTrace* graph) const;
  void printState() const;

  Options m_options;
};
