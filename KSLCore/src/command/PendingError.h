// The first failure of a command, kept until it is reported.
#pragma once

#include "platform/ORVError.h"

#include <memory>
#include <utility>

namespace orv {

class PendingError {
 public:
  PendingError();
  // Another one, for which no memory is needed.
  PendingError another() const noexcept { return PendingError(m_noMemory); }
  bool isPending() const { return m_error != nullptr; }
  // Null when none is.
  const std::shared_ptr<const ErrorMsg>& get() const { return m_error; }
  // In a handler: what is being handled becomes the error, unless an earlier one is. The function's name goes into
  // texts about failures that are not the library's own. Where there is no memory for the error's text, it is told as
  // what it then is.
  void note(const char* function);
  // Clears it, then reports it; nothing when none is pending.
  void report();

 private:
  explicit PendingError(std::shared_ptr<const ErrorMsg> noMemory) noexcept : m_noMemory(std::move(noMemory))
  {}
  std::shared_ptr<const ErrorMsg> m_error;
  std::shared_ptr<const ErrorMsg> m_noMemory;  // made while there is some
};

}  // namespace orv
