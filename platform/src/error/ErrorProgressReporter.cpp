#include "platform/ORVError.h"
#include "platform/internal/ContextLocal.h"

#include <iostream>
#include <utility>

namespace orv {

ErrorSink::~ErrorSink() = default;
ErrorLocator::~ErrorLocator() = default;

void ErrorSink::inform(std::string_view) {}

ErrorCollector::~ErrorCollector() = default;

namespace {
constinit ContextLocal<ErrorProgressReporter*> theReporter(ContextEnd::reports,
                                                           &ErrorProgressReporter::destroyInstance);

// What is told where there is no memory to say what has failed: made with the reporter, and ended with it.
constinit ContextLocal<const ErrorMsg*> theLack;
}  // namespace

ErrorProgressReporter* ErrorProgressReporter::instance()
{
  ErrorProgressReporter*& reporter = *theReporter;
  if (!reporter) {
    const ErrorMsg*& lack = *theLack;
    if (!lack)
      lack = new ErrorMsg("ErrorProgressReporter", "reportError", _("Operation failed. Insufficient memory."),
                          errorType::system);
    reporter = new ErrorProgressReporter;
  }
  return reporter;
}

void ErrorProgressReporter::destroyInstance()
{
  delete std::exchange(*theReporter, nullptr);
  delete std::exchange(*theLack, nullptr);
}

namespace {

bool hasPlace(const ErrorMsg& error)
{
  const Diagnostic* known = error.getDiagnostic().get();
  return known && (known->line > 0 || !known->source.empty());
}

}  // namespace

void ErrorProgressReporter::locate(ErrorMsg& error) const noexcept
{
  if (!m_locator || hasPlace(error))
    return;
  try {
    m_locator->locate(error);
  } catch (...) {  // no memory: the error without a place is better than none
  }
}

// Nothing when it stays as it is, or there is no memory for a copy.
std::optional<ErrorMsg> ErrorProgressReporter::located(const ErrorMsg& error) const noexcept
{
  if (!m_locator || hasPlace(error))
    return std::nullopt;
  try {
    ErrorMsg copy = error;
    m_locator->locate(copy);
    return copy;
  } catch (...) {
    return std::nullopt;
  }
}

void ErrorProgressReporter::noteConcern(const std::exception& failure, Diagnostic concern) noexcept
{
  try {
    m_concern = std::make_shared<const Diagnostic>(std::move(concern));
    m_failure = &failure;
  } catch (...) {
    m_failure = nullptr;
  }
}

std::shared_ptr<const Diagnostic> ErrorProgressReporter::takeConcern(const std::exception* failure) noexcept
{
  const void* known = std::exchange(m_failure, nullptr);
  std::shared_ptr<const Diagnostic> concern = std::exchange(m_concern, nullptr);
  return failure && known == failure ? concern : nullptr;
}

ErrorLocator* ErrorProgressReporter::setLocator(ErrorLocator* locator) noexcept
{
  return std::exchange(m_locator, locator);
}

void ErrorProgressReporter::reportError(const ErrorMsg& error) noexcept
{
  try {
    if (!m_sink)
      std::cerr << toText(error) + '\n' << std::flush;
    else if (const std::optional<ErrorMsg> placed = located(error))
      m_sink->report(*placed);
    else
      m_sink->report(error);
  } catch (...) {  // the report is the last resort: its own failure has nowhere to go
  }
}

void ErrorProgressReporter::reportError(const Error& error) noexcept
{
  try {
    reportError(ErrorMsg(error));
  } catch (...) {  // no memory for the copy
    const ErrorMsg* const lack = *theLack;
    if (lack && error.getType() != errorType::warning)
      reportError(*lack);
  }
}

void ErrorProgressReporter::inform(std::string_view text) noexcept
{
  if (!m_verbose)
    return;
  try {
    if (m_sink)
      m_sink->inform(text);
    else
      std::cerr << text << std::endl;
  } catch (...) {  // as above
  }
}

ErrorSink* ErrorProgressReporter::setSink(ErrorSink* sink)
{
  return std::exchange(m_sink, sink);
}

bool ErrorProgressReporter::setVerbose(bool verbose)
{
  return std::exchange(m_verbose, verbose);
}

}  // namespace orv
