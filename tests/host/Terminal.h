// Runs the host on a terminal of its own, as people do.
#pragma once

#include "Process.h"

#include <string>
#include <sys/types.h>

// A dumb terminal: lines are redrawn with carriage returns, so that what is seen is easily told. Failures throw
// std::runtime_error; so does waiting in vain, after a minute, with what was written so far.
class Terminal {
 public:
  // Starts $KSL_BIN with these arguments in workFolder(), which is also its home; see ksl().
  explicit Terminal(const Arguments& arguments, const std::string& environment = {});
  ~Terminal();
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  void type(const std::string& keys);
  // Waits until the text is written, behind what was waited for before.
  void waitFor(const std::string& text);
  // Waits for a prompt at the beginning of a line, and until it takes keys.
  void waitForPrompt(const std::string& prompt);
  // Waits until keys are taken one by one, as they are where a line is edited.
  void waitForKeys();
  // Types a line and waits for the prompt behind what comes of it.
  void enter(const std::string& line, const std::string& prompt = "ksl> ");
  // Waits for the program's end. Its status; -1 when it ended by a signal.
  int end();

  // All that stands on the terminal, with times made alike ("N ms"); since the last call.
  std::string takeScreen();

 private:
  bool readMore();

  int m_terminal = -1;
  pid_t m_child = -1;
  std::string m_written;
  std::size_t m_waited = 0;  // how much of it was waited for
  std::size_t m_taken = 0;
};
