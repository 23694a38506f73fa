#include "CommandWatch.h"

#include "platform/ORVError.h"
#include "Team.h"

#include <iostream>
#include <unistd.h>
#include <utility>

namespace {

volatile std::sig_atomic_t interruptRequested = 0;

extern "C" void noteInterrupt(int)
{
  interruptRequested = 1;
}

// Of nested pieces of work the one with most to do tells people most; null when there is nothing to count.
const orv::Progress* largest(const orv::Progress* innermost)
{
  const orv::Progress* best = nullptr;
  for (const orv::Progress* at = innermost; at; at = at->outer())
    if (at->total() > 1 && (!best || at->total() > best->total()))
      best = at;
  return best;
}

}  // namespace

std::size_t CommandWatch::s_lineLength = 0;
int CommandWatch::s_otherSignal = 0;
CommandWatch* CommandWatch::s_current = nullptr;

CommandWatch::CommandWatch()
    : m_onTerminal(isatty(STDERR_FILENO)),
      m_next(Clock::now() + std::chrono::milliseconds(500)),
      m_formerWatcher(orv::ProgressWatcher::set(this))
{
  interruptRequested = 0;
  struct sigaction action = {};
  action.sa_handler = noteInterrupt;
  // Once: the next one has the usual effect.
  action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
  sigaction(SIGINT, nullptr, &m_former);
  if (m_former.sa_handler != SIG_IGN)  // the background job of a shell
    sigaction(SIGINT, &action, nullptr);
  if (s_otherSignal != 0)
    sigaction(s_otherSignal, &action, &m_formerOther);
  s_current = this;
}

CommandWatch::~CommandWatch()
{
  s_current = nullptr;
  if (s_otherSignal != 0)
    sigaction(s_otherSignal, &m_formerOther, nullptr);
  sigaction(SIGINT, &m_former, nullptr);
  orv::ProgressWatcher::set(m_formerWatcher);
  eraseLine();
}

void CommandWatch::stepped(const orv::Progress* innermost)
{
  Team* const team = Team::current();
  if (team ? team->stopsNow(requested()) : requested()) {
    m_stopped = true;
    throw orv::Interrupt("ksl", "interrupt", orv::_("Interrupted. The command is taken back."));
  }
  if (m_onTerminal && Clock::now() >= m_next)
    draw(innermost);
}

bool CommandWatch::requested()
{
  return interruptRequested != 0;
}

void CommandWatch::stop()
{
  interruptRequested = 1;
  if (s_current)
    s_current->m_stopped = true;
}

void CommandWatch::draw(const orv::Progress* innermost)
{
  m_next = Clock::now() + std::chrono::milliseconds(100);
  const orv::Progress* work = largest(innermost);
  if (!work)
    return;
  std::string text = orv::_("%d of %d %s", work->done(), work->total(), work->units());
  const std::size_t length = text.size();
  if (length < s_lineLength)
    text.append(s_lineLength - length, ' ');
  s_lineLength = length;
  // The cursor waits at the beginning: what others write stands over the line.
  std::cerr << '\r' + text + '\r' << std::flush;
}

void CommandWatch::eraseLine()
{
  if (const std::size_t length = std::exchange(s_lineLength, 0))
    std::cerr << std::string(length, ' ') + '\r' << std::flush;
}
