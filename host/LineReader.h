// Lines that a person types, or that come from a file in the place of one.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// What may stand from `start` on in place of what stands there.
struct Completions {
  std::size_t start = 0;
  std::vector<std::string> texts;  // in order, each once
};
using Complete = std::function<Completions(std::string_view beforeCursor)>;

class LineReader {
 public:
  enum class Result { line, interrupted, end };

  virtual ~LineReader() = default;
  // Reads a line, without its end; several, with the ends between them, when they were pasted or brought back.
  // Interrupted when Ctrl-C dropped what there was.
  virtual Result read(const std::string& prompt, std::string& line) = 0;
  // Puts the text, which may have several lines, in the history, and that in its file by the time of the next reading.
  virtual void remember(const std::string& text) = 0;
  // The next reading begins with this text, to be edited. False when such texts cannot be shown here.
  virtual bool bringBack(const std::string& text) = 0;
  virtual bool isInteractive() const = 0;
};

// For standard input: with editing, completion and a history when that and standard output are terminals and the
// library for it was there when ksl was built; else plain. The history is kept in `historyFile`, without a name
// only for as long as the reader lives.
std::unique_ptr<LineReader> makeLineReader(Complete complete, const std::string& historyFile);

// $KSL_HISTORY, which may be empty; else ksl/history in the user's directory of states ($XDG_STATE_HOME, else
// ~/.local/state), else empty.
std::string historyFileName();
// The folder ksl there; empty when the user has no home.
std::string stateFolder();
// Makes the folder, for the user alone, when it is not there.
void makeFolder(const std::string& folder);
