#include "MpiCommunicator.h"

#include "platform/ORVUtilities.h"
#include "Packed.h"

#include <algorithm>
#include <array>
#include <exception>
#include <string_view>
#include <thread>

using Clock = std::chrono::steady_clock;

namespace {

enum Status : std::uint32_t { good, failed };

constexpr int stopTag = 1;
// MPI counts bytes in an int, and copies them: large texts go in pieces.
constexpr std::int64_t pieceSize = 64 << 20;

std::uint32_t numberOf(std::string_view what)
{
  std::uint32_t number = 2166136261U;
  for (const char c : what)
    number = (number ^ static_cast<unsigned char>(c)) * 16777619U;
  return number;
}

constexpr const char* vote = "vote";

constexpr const char* kindOfInterrupt = "interrupt";
constexpr const char* kindOfFile = "file";
constexpr const char* kindOfData = "data";

std::string asText(const orv::Error& error)
{
  const char* kind = dynamic_cast<const orv::Interrupt*>(&error)     ? kindOfInterrupt
                     : dynamic_cast<const orv::file::error*>(&error) ? kindOfFile
                                                                     : kindOfData;
  return packed(
      {kind, error.getClassName(), error.getFunction(), error.getMessage(), std::to_string(error.getType())});
}

[[noreturn]] void throwOf(const std::string& text, int process, int processes)
{
  const std::vector<std::string> parts = unpacked(text);
  if (parts[0] == kindOfInterrupt)
    throw orv::Interrupt(parts[1], parts[2], parts[3]);
  const std::string said = orv::_("Process %d of %d: %s", process, processes, parts[3]);
  const int type = std::stoi(parts[4]);
  if (parts[0] == kindOfFile)
    throw orv::file::error(parts[1], parts[2], said, type);
  throw orv::data::invalid(parts[1], parts[2], said, type);
}

}  // namespace

struct MpiCommunicator::Head {
  std::int64_t size = 0;
  std::uint32_t what = 0;
  std::uint32_t status = good;
};

MpiCommunicator::MpiCommunicator()
{
  MPI_Comm_rank(MPI_COMM_WORLD, &m_rank);
  MPI_Comm_size(MPI_COMM_WORLD, &m_size);
}

// Who waits long leaves the processor to others: a person may think for minutes before the next command.
void MpiCommunicator::wait(MPI_Request request)
{
  int done = 0;
  for (int tries = 0;; ++tries) {
    MPI_Test(&request, &done, MPI_STATUS_IGNORE);
    if (done)
      return;
    if (canStop() && m_isStopAsked && m_isStopAsked())
      spreadStop();
    if (tries > 100)
      std::this_thread::sleep_for(std::chrono::microseconds(std::min(10 * (tries - 100), 2000)));
  }
}

std::vector<MpiCommunicator::Head> MpiCommunicator::exchangeHeads(const Head& mine) noexcept
{
  std::vector<Head> heads(static_cast<std::size_t>(m_size));
  MPI_Request request = MPI_REQUEST_NULL;
  MPI_Iallgather(&mine, sizeof mine, MPI_BYTE, heads.data(), sizeof mine, MPI_BYTE, MPI_COMM_WORLD, &request);
  wait(request);
  return heads;
}

// Piece by piece; `target` is the process that gets them, -1 for all. Whoever has no memory for it ends, and mpirun ends
// the others: they are in the midst of it and would take anything else for a part of it.
std::vector<std::string> MpiCommunicator::exchangeTexts(const std::vector<Head>& heads,
                                                        const std::string& mine, int target) noexcept
{
  std::vector<std::string> texts(heads.size());
  std::int64_t longest = 0;
  for (const Head& head : heads)
    longest = std::max(longest, head.size);
  const bool isMine = target < 0 || target == m_rank;
  const std::int64_t step = std::max<std::int64_t>(1, pieceSize / m_size);
  for (std::int64_t from = 0; from < longest; from += step) {
    std::vector<int> sizes;
    std::vector<int> places;
    int sum = 0;
    for (const Head& head : heads) {
      sizes.push_back(static_cast<int>(std::clamp<std::int64_t>(head.size - from, 0, step)));
      places.push_back(sum);
      sum += sizes.back();
    }
    std::string room(isMine ? static_cast<std::size_t>(sum) : 0, '\0');
    const int size = sizes[static_cast<std::size_t>(m_rank)];
    const char* const piece = size > 0 ? mine.data() + from : mine.data();
    MPI_Request request = MPI_REQUEST_NULL;
    if (target < 0)
      MPI_Iallgatherv(piece, size, MPI_BYTE, room.data(), sizes.data(), places.data(), MPI_BYTE,
                      MPI_COMM_WORLD, &request);
    else
      MPI_Igatherv(piece, size, MPI_BYTE, room.data(), sizes.data(), places.data(), MPI_BYTE, target,
                   MPI_COMM_WORLD, &request);
    wait(request);
    for (std::size_t i = 0; isMine && i < texts.size(); ++i)
      texts[i].append(room, static_cast<std::size_t>(places[i]), static_cast<std::size_t>(sizes[i]));
  }
  return texts;
}

void MpiCommunicator::failTogether(const std::vector<Head>& heads, const std::string& mine)
{
  m_isAgreed = true;
  for (const Head& head : heads)
    m_isOpen = m_isOpen && !(head.status == failed && head.what == numberOf(vote));
  std::vector<Head> failures = heads;
  for (Head& head : failures)
    head.size = head.status == failed ? head.size : 0;
  const std::vector<std::string> texts = exchangeTexts(failures, mine, -1);
  const auto isInterrupt = [](const std::string& text) {
    return !text.empty() && unpacked(text).front() == kindOfInterrupt;
  };
  const auto interrupt = std::find_if(texts.begin(), texts.end(), isInterrupt);
  if (interrupt != texts.end()) {
    if (m_onStop)
      m_onStop();
    throwOf(*interrupt, 0, m_size);
  }
  const bool isAlike =
      std::all_of(texts.begin(), texts.end(), [&](const std::string& text) { return text == texts.front(); });
  if (isAlike && std::current_exception())
    throw;  // knows more than its text
  const auto first =
      std::find_if(texts.begin(), texts.end(), [](const std::string& text) { return !text.empty(); });
  throwOf(*first, static_cast<int>(first - texts.begin()), m_size);
}

std::vector<std::string> MpiCommunicator::talk(const char* what, const std::string& mine, bool toFirst)
{
  if (m_isBroken)
    throw orv::internal::error("ksl-mpi", "exchange", orv::_("The processes have become different."));
  m_isAgreed = false;
  if (m_calculations > 0 && m_stopped == m_command)
    throw orv::Interrupt("ksl", "interrupt", orv::_("Interrupted. The command is taken back."));
  const Head head{static_cast<std::int64_t>(mine.size()), numberOf(what), good};
  const std::vector<Head> heads = exchangeHeads(head);
  if (std::any_of(heads.begin(), heads.end(), [](const Head& each) { return each.status == failed; }))
    failTogether(heads, {});
  if (std::any_of(heads.begin(), heads.end(), [&head](const Head& each) { return each.what != head.what; })) {
    m_isBroken = true;
    throw orv::internal::error("ksl-mpi", "exchange", orv::_("The processes have become different."));
  }
  return exchangeTexts(heads, mine, toFirst ? 0 : -1);
}

std::vector<std::string> MpiCommunicator::exchange(const char* what, const std::string& mine)
{
  return talk(what, mine, false);
}

std::vector<std::string> MpiCommunicator::gather(const char* what, const std::string& mine)
{
  std::vector<std::string> texts = talk(what, mine, true);
  return isFirst() ? texts : std::vector<std::string>();
}

void MpiCommunicator::fail(const orv::Error& error, const char* what)
{
  if (m_isBroken)
    throw;
  const std::string mine = asText(error);
  const std::vector<Head> heads =
      exchangeHeads({static_cast<std::int64_t>(mine.size()), numberOf(what), failed});
  failTogether(heads, mine);
}

void MpiCommunicator::consent()
{
  if (!m_isOpen)
    return;
  const orv::ScopeGuard end([this] { m_isOpen = false; });
  exchange(vote, {});
}

void MpiCommunicator::refuse() noexcept
{
  if (!std::exchange(m_isOpen, false))
    return;
  try {
    if (m_stopped == m_command)
      throw orv::Interrupt("ksl-mpi", "vote", orv::_("Interrupted. The command is taken back."));
    throw orv::data::invalid("ksl-mpi", "vote", orv::_("The command failed there alone."));
  } catch (const orv::Error& thrown) {
    try {
      fail(thrown, vote);
    } catch (...) {  // known
    }
  }
}

// In a handler, of a failure that may be known to all: who was told of it by the talk that failed is through with it.
void MpiCommunicator::failHere(const orv::Error& error)
{
  if (m_isAgreed)
    throw;
  fail(error, "");
}

void MpiCommunicator::agree(const char* what, const std::function<void()>& work)
{
  m_isAgreed = false;
  try {
    work();
    exchange(what, {});
  } catch (const orv::Error& error) {
    failHere(error);
  } catch (const std::exception& failure) {
    failHere(orv::Error("ksl-mpi", "agree", failure.what(), orv::errorType::system));
  }
}

void MpiCommunicator::run(const std::function<void()>& calculation)
{
  ++m_calculations;
  const orv::ScopeGuard end([this] { --m_calculations; });
  agree("calculation", calculation);
}

// ------------------------------------------------------------------------------------------------------- being stopped

void MpiCommunicator::watchStops(std::function<bool()> isAsked, std::function<void()> stopped)
{
  m_isStopAsked = std::move(isAsked);
  m_onStop = std::move(stopped);
}

void MpiCommunicator::beginCommand() noexcept
{
  ++m_command;
  m_isOpen = true;
}

bool MpiCommunicator::stopsNow(bool here)
{
  if (!canStop())
    return false;
  if (here)
    spreadStop();
  if (const Clock::time_point now = Clock::now(); now >= m_nextLook) {
    m_nextLook = now + std::chrono::milliseconds(20);
    hearStop();
  }
  return m_stopped == m_command;
}

void MpiCommunicator::spreadStop()
{
  m_stopped = m_command;
  if (m_told == m_command)
    return;
  m_told = m_command;
  m_sent.push_back(m_command);
  for (int process = 0; process < m_size; ++process) {
    if (process == m_rank)
      continue;
    MPI_Request request = MPI_REQUEST_NULL;
    MPI_Isend(&m_sent.back(), sizeof m_sent.back(), MPI_BYTE, process, stopTag, MPI_COMM_WORLD, &request);
    MPI_Request_free(&request);
  }
}

// Who hears of a command that is over passes over it.
void MpiCommunicator::hearStop()
{
  int isThere = 0;
  MPI_Iprobe(MPI_ANY_SOURCE, stopTag, MPI_COMM_WORLD, &isThere, MPI_STATUS_IGNORE);
  while (isThere) {
    std::uint32_t command = 0;
    MPI_Recv(&command, sizeof command, MPI_BYTE, MPI_ANY_SOURCE, stopTag, MPI_COMM_WORLD, MPI_STATUS_IGNORE);
    m_stopped = std::max(m_stopped, command);
    MPI_Iprobe(MPI_ANY_SOURCE, stopTag, MPI_COMM_WORLD, &isThere, MPI_STATUS_IGNORE);
  }
}
