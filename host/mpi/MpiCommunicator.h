// Talks between the processes of one run, over MPI.
#pragma once

#include "platform/ORVError.h"
#include "plugins/vtk/Communicator.h"

#include <chrono>
#include <cstdint>
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

  // As run, for work outside calculations: nobody stops within it.
  void agree(const char* what, const std::function<void()>& work);
  // In a handler: takes part in the next talk with this failure, and throws what the others throw then.
  [[noreturn]] void fail(const orv::Error& error);
  // Takes part in the next talk as one that has failed, and goes on.
  void refuse(const orv::Error& error) noexcept;

  // The processes were about different things: none of them can be trusted any more, and every talk fails.
  bool isBroken() const noexcept { return m_isBroken; }
  void breakOff() noexcept { m_isBroken = true; }

  // ---- Being stopped

  // Whether the work stops at this step; `here` when this process was told so, which it tells the others. They stop within
  // calculations, where the next talk makes all of them stop.
  bool stopsNow(bool here);
  // `isAsked` says whether this process was told so, while it waits for others; `stopped` is called on each process when
  // the command was stopped.
  void watchStops(std::function<bool()> isAsked, std::function<void()> stopped);
  // A command begins: whoever was stopped before goes on.
  void beginCommand() noexcept;

 private:
  struct Head;
  std::vector<Head> exchangeHeads(const Head& mine);
  std::vector<std::string> exchangeTexts(const std::vector<Head>& heads, const std::string& mine, int target);
  std::vector<std::string> talk(const char* what, const std::string& mine, bool toFirst);
  [[noreturn]] void failTogether(const std::vector<Head>& heads, const std::string& mine);
  void wait(MPI_Request request);
  bool isStopping() const noexcept { return m_calculations > 0 && m_stopped == m_command; }
  void failHere(const orv::Error& error);
  void spreadStop();
  void hearStop();

  int m_rank = 0;
  int m_size = 1;
  bool m_isBroken = false;
  int m_calculations = 0;  // under way, one in the other
  std::uint32_t m_command = 0;
  std::uint32_t m_stopped = 0;  // the command that is to stop
  std::uint32_t m_told = 0;     // the command that others were told to stop
  bool m_isAgreed = false;      // the failure under way is known everywhere
  std::chrono::steady_clock::time_point m_nextLook;
  std::function<bool()> m_isStopAsked;
  std::function<void()> m_onStop;
};
