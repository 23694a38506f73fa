// What a recovery did, and what it could not do.
#pragma once

#include "platform/ORVUtilities.h"
#include "PendingError.h"

#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orv {

class KSLAPI;
struct KSLChange;

// A recovery goes on past what fails. Each of its steps is attempted here; afterwards the text store follows the
// database: in the order of what came back, and in all that could not be put back.
class RecoveryLog {
 public:
  // Made where there may be no memory: out of the error of the command.
  explicit RecoveryLog(const PendingError& error) noexcept : m_failure(error.another()) {}
  // True when the step ended well. A failure is noted, and for a step of a change what it was about. Memory that was not
  // there may be there the next moment: only when it is short twice the step has failed. So a step that is done again
  // leaves in place what it has done.
  template <class Step>
  bool attempt(Step step)
  {
    try {
      step();
      return true;
    } catch (const std::bad_alloc&) {
      return attemptOnce(step);
    } catch (...) {
      m_failure.note("parseHistory");
      return false;
    }
  }
  // For what others are told.
  template <class Step>
  bool attemptOnce(Step step)
  {
    try {
      step();
      return true;
    } catch (...) {
      m_failure.note("parseHistory");
      return false;
    }
  }
  template <class Step>
  bool attempt(const SharedText& path, const SharedText& param, Step step)
  {
    const bool good = attempt(step);
    if (!good)
      noteFailed(path, param);
    return good;
  }

  // Something was lost of which no step can tell: the store follows in everything.
  void noteIncomplete() noexcept { m_incomplete = true; }
  // The database made this object, behind its siblings.
  void noteCreated(const SharedText& path) noexcept;
  // So many changes were put back.
  std::size_t putBack = 0;

  // Makes the store follow.
  void settle(KSLAPI& store);
  // Reports the first failure, then that the recovery failed; nothing when none did.
  void report();

 private:
  void noteLoaded(KSLAPI& store);
  void noteFailed(const SharedText& path, const SharedText& param) noexcept;

  PendingError m_failure;
  std::vector<SharedText> m_created;  // in order
  std::set<std::pair<SharedText, SharedText>>
      m_failed;  // object and parameter; without one all of the object
  bool m_incomplete = false;
};

}  // namespace orv
