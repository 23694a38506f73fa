// Long commands: how far they are, and Ctrl-C.
#pragma once

#include "platform/ORVProgress.h"

#include <chrono>
#include <csignal>
#include <cstddef>

// While it lives, Ctrl-C stops the command under way between two of its steps: the command fails with
// orv::Interrupt and is taken back. A second Ctrl-C before that is done ends the program, as any signal does.
// After half a second, what there is to do and what is done stands in one line of standard error, if that is a
// terminal; the line goes when reports and traces are written there, and at the end. One at a time.
class CommandWatch : public orv::ProgressWatcher {
 public:
  CommandWatch();
  ~CommandWatch() override;
  CommandWatch(const CommandWatch&) = delete;
  CommandWatch& operator=(const CommandWatch&) = delete;

  void stepped(const orv::Progress* innermost) override;
  // Whether Ctrl-C was pressed; and whether that stopped the command, which may have come to its end before.
  static bool requested();
  bool stopped() const { return m_stopped; }
  // As if it was pressed; for the command that another process has stopped.
  static void stop();
  // The same for another signal, from now on.
  static void heed(int signal) { s_otherSignal = signal; }

  // Takes the line away, when there is one.
  static void eraseLine();

 private:
  using Clock = std::chrono::steady_clock;

  void draw(const orv::Progress* innermost);

  static std::size_t s_lineLength;  // of the line that stands on the terminal
  static int s_otherSignal;         // 0: none
  static CommandWatch* s_current;

  bool m_onTerminal;
  bool m_stopped = false;
  Clock::time_point m_next;  // when to draw
  struct sigaction m_former;
  struct sigaction m_formerOther;
  orv::ProgressWatcher* m_formerWatcher;
};
