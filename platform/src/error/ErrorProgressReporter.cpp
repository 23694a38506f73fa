#include "platform/ORVError.h"
#include "platform/internal/ContextLocal.h"

#include <iostream>
#include <utility>

namespace orv {

ErrorSink::~ErrorSink() = default;

void ErrorSink::inform(std::string_view) {}

ErrorCollector::~ErrorCollector() = default;

namespace {
constinit ContextLocal<ErrorProgressReporter*> theReporter(ContextEnd::reports,
                                                           &ErrorProgressReporter::destroyInstance);
}

ErrorProgressReporter* ErrorProgressReporter::instance()
{
  ErrorProgressReporter*& reporter = *theReporter;
  if (!reporter)
    reporter = new ErrorProgressReporter;
  return reporter;
}

void ErrorProgressReporter::destroyInstance()
{
  delete std::exchange(*theReporter, nullptr);
}

void ErrorProgressReporter::reportError(const ErrorMsg& error) noexcept
{
  try {
    if (m_sink)
      m_sink->report(error);
    else
      std::cerr << toText(error) + '\n' << std::flush;
  } catch (...) {  // the report is the last resort: its own failure has nowhere to go
  }
}

void ErrorProgressReporter::reportError(const Error& error) noexcept
{
  try {
    reportError(ErrorMsg(error));
  } catch (...) {  // no memory for the copy
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
