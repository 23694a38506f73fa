#include "command/caughtError.h"

#include <cxxabi.h>
#include <new>

namespace orv {

AbortException::~AbortException() = default;

ErrorMsg caughtError(const char* function)
{
  const auto systemError = [function](std::string message) {
    return ErrorMsg("KSLInterface", function, std::move(message), errorType::system);
  };
  try {
    throw;
  } catch (const AbortException& abort) {
    return abort.getError();
  } catch (const internal::error& error) {
    return ErrorMsg(error, errorType::internal);
  } catch (const Error& error) {
    return ErrorMsg(error, errorType::ordinary);
  } catch (const std::bad_alloc&) {
    return systemError(_("Operation failed. Insufficient memory."));
  } catch (const std::exception& exception) {
    ErrorMsg error = systemError(_("Operation failed. (System exception: %s)", exception.what()));
    error.setDiagnostic(ErrorProgressReporter::instance()->takeConcern(&exception));
    return error;
  } catch (const std::string& text) {
    return systemError(_("Operation failed. (System exception string: %s)", text));
  } catch (const char* text) {
    return systemError(_("Operation failed. (System exception message: %s)", text));
#ifdef __GLIBCXX__
  } catch (const abi::__forced_unwind&) {
    throw;
#endif
  } catch (...) {
    return systemError(_("Operation failed with unrecognized system exception."));
  }
}

void passUnwinding()
{
  try {
    throw;
#ifdef __GLIBCXX__
  } catch (const abi::__forced_unwind&) {
    throw;
#endif
  } catch (...) {
    return;
  }
}

}  // namespace orv
