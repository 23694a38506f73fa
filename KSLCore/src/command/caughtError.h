// The one place where something caught becomes an error to report.
#pragma once

#include "platform/ORVError.h"

#include <memory>

namespace orv {

// Carries an error that is already recorded out through nested parses to the outermost one; never leaves it.
class AbortException : public Unwind {
 public:
  // REQUIRES: not null.
  explicit AbortException(std::shared_ptr<const ErrorMsg> error) noexcept : m_error(std::move(error)) {}
  ~AbortException() override;
  virtual const ErrorMsg& getError() const { return *m_error; }

 private:
  std::shared_ptr<const ErrorMsg> m_error;
};

// The error that the exception now being handled stands for; the function's name goes into texts about
// failures that are not the library's own. REQUIRES: called from a handler. Lets the runtime's own unwinding
// (of a cancelled thread) pass on.
ErrorMsg caughtError(const char* function);

// In a handler that swallows: lets that unwinding pass, and does nothing for anything else.
void passUnwinding();

}  // namespace orv
