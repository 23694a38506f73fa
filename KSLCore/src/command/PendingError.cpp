#include "PendingError.h"

#include "command/caughtError.h"

#include <new>
#include <utility>

namespace orv {

PendingError::PendingError()
    : m_noMemory(std::make_shared<const ErrorMsg>(
        "KSLInterface", "parseKSL", _("Operation failed. Insufficient memory."), errorType::system))
{}

void PendingError::note(const char* function)
{
  if (m_error)
    return passUnwinding();
  try {
    ErrorMsg error = caughtError(function);
    ErrorProgressReporter::instance()->locate(error);  // while its text is there
    m_error = std::make_shared<const ErrorMsg>(std::move(error));
  } catch (const std::bad_alloc&) {
    m_error = m_noMemory;
  }
}

void PendingError::report()
{
  if (const std::shared_ptr<const ErrorMsg> error = std::exchange(m_error, nullptr))
    ErrorProgressReporter::instance()->reportError(*error);
}

}  // namespace orv
