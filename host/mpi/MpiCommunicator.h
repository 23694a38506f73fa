// Talks between the processes of one run, over MPI.
#pragma once

#include "platform/ORVError.h"
#include "plugins/vtk/Communicator.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <mpi.h>
#include <string>
#include <vector>

class MpiCommunicator : public results::Communicator {
 public:
  // MPI is up.
  MpiCommunicator();

  int rank() const noexcept override { return m_rank; }
  int size() const noexcept override { return m_size; }
  std::vector<std::string> exchange(const char* what, const std::string& mine) override;
  std::vector<std::string> gather(const char* what, const std::string& mine) override;
  void run(const std::function<void()>& calculation) override;

  // As run, for work outside calculations.
  void agree(const char* what, const std::function<void()>& work);

  // ---- The vote on a command: it is done everywhere or nowhere

  // A command begins: whoever was stopped before goes on.
  void beginCommand() noexcept;
  // It has gone well here: waits for the others. Throws when it failed with one of them.
  void consent();
  // It has failed here, and so everywhere. Does nothing when all know that.
  void refuse() noexcept;

  // The processes were about different things: none of them can be trusted any more, and every talk fails.
  bool isBroken() const noexcept { return m_isBroken; }
  void breakOff() noexcept { m_isBroken = true; }

  // ---- Being stopped

  // Whether the work stops at this step; `here` when this process was told so, which it tells the others. A command that
  // is done, here or anywhere, is not stopped any more.
  bool stopsNow(bool here);
  // `isAsked` says whether this process was told so, while it waits for others; `stopped` is called on each process when
  // the command was stopped.
  void watchStops(std::function<bool()> isAsked, std::function<void()> stopped);

 private:
  struct Head;
  std::vector<Head> exchangeHeads(const Head& mine) noexcept;
  std::vector<std::string> exchangeTexts(const std::vector<Head>& heads, const std::string& mine,
                                         int target) noexcept;
  std::vector<std::string> talk(const char* what, const std::string& mine, bool toFirst);
  [[noreturn]] void failTogether(const std::vector<Head>& heads, const std::string& mine);
  void wait(MPI_Request request);
  bool canStop() const noexcept { return m_isOpen || m_calculations > 0; }
  // In a handler: takes part in the next talk with this failure, and throws what the others throw then.
  [[noreturn]] void fail(const orv::Error& error, const char* what);
  void failHere(const orv::Error& error);
  void spreadStop();
  void hearStop();

  int m_rank = 0;
  int m_size = 1;
  bool m_isBroken = false;
  bool m_isOpen = false;  // whether the command under way is done: nobody has refused, not all have consented
  int m_calculations = 0;  // under way, one in the other
  std::uint32_t m_command = 0;
  std::uint32_t m_stopped = 0;       // the command that is to stop
  std::uint32_t m_told = 0;          // the command that others were told to stop
  std::deque<std::uint32_t> m_sent;  // what is on its way must not change
  bool m_isAgreed = false;           // the failure under way is known everywhere
  std::chrono::steady_clock::time_point m_nextLook;
  std::function<bool()> m_isStopAsked;
  std::function<void()> m_onStop;
};
