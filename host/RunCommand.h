// "ksl run" and "ksl replay": enters texts and shows what became of them.
#pragma once

#include "AutoSave.h"
#include "Texts.h"

#include <optional>
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
    bool traceResults = false;
    bool timings = false;
    // Files, empty for none: the texts are recorded in a session file; a state is loaded before them and one is saved
    // after them; a session is replayed in their place.
    std::string record;
    std::string load;
    std::string save;
    std::string replay;
    bool replayAsOne = false;  // as one command
    bool keepWhole = false;    // what is whole of a session that is not
    bool writeFiles = false;   // recorded saves are done again
    bool autoSave = false;     // also between texts, in case that the end is never reached
    // Lists of paths or names of the objects to print at the end; "/" for all.
    std::vector<std::string> state;
  };

  explicit RunCommand(Options options);

  // As runWithTexts; a text that fails is taken back, and the next is entered. Nothing is when the recording or the
  // loading fails.
  int run();

 private:
  void enter(Texts& texts);
  static bool enter(EnteredText& text) { return enterOnce(text); }
  bool enter(const orv::SessionFile::Command& command) const;
  template <class Text>
  bool enterWatched(Text&& text, GraphTrace* graph);
  orv::SessionFile readSession() const;
  void beginAutoSave();
  void replay(const orv::SessionFile& session, GraphTrace* graph);
  void printState() const;

  Options m_options;
  std::optional<AutoSave> m_autoSave;  // while texts are entered
};
