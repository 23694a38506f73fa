// The processes that compute together: each has all objects, and its piece of the data.
//
// Every talk of theirs is an agreement. A process that has failed takes part in the next one with its error, whatever the
// others are about to say, and all of them fail then: so nobody waits for one who does not come, and what needs all of
// them cannot fail on some. In return all must come to the same talks in the same order: what decides which ones there
// are is the same everywhere (parameters of objects, and what was agreed on), never a piece.
//
// A program that runs in several processes exports orvResultsCommunicator. In all others there is one process, and
// nothing here costs anything.
#pragma once

#include "platform/ORVExport.h"

#include <functional>
#include <string>
#include <vector>

namespace results {

class Communicator {
 public:
  static Communicator& instance();
  virtual ~Communicator() = default;

  virtual int rank() const noexcept = 0;
  virtual int size() const noexcept = 0;
  bool isAlone() const noexcept { return size() == 1; }
  // The one that paints and writes.
  bool isFirst() const noexcept { return rank() == 0; }

  // Gives to each what all of them say, in their order. `what` is the same everywhere: a difference ends the run, before
  // one takes something for what it is not. Throws, everywhere, the failure of a process.
  virtual std::vector<std::string> exchange(const char* what, const std::string& mine) = 0;
  // The same to the first alone; the others get nothing.
  virtual std::vector<std::string> gather(const char* what, const std::string& mine) = 0;
  // A calculation, with an agreement at its end: what it throws here is thrown everywhere, with the number of the process
  // unless all failed alike.
  virtual void run(const std::function<void()>& calculation) = 0;
};

}  // namespace results

// Outlives the libraries that ask for it.
extern "C" ORV_API results::Communicator* orvResultsCommunicator();
