// What the library reports, shown to people.
#pragma once

#include "platform/ORVError.h"

#include <cstddef>
#include <string_view>

// Writes reports to standard error, one line each with further lines of a message indented, and counts the
// errors among them. Coloured when standard error is a terminal and NO_COLOR is not set. Registered with the
// reporter while it lives.
class ErrorPrinter : public orv::ErrorSink {
 public:
  ErrorPrinter();
  ~ErrorPrinter() override;
  ErrorPrinter(const ErrorPrinter&) = delete;
  ErrorPrinter& operator=(const ErrorPrinter&) = delete;

  void report(const orv::ErrorMsg& error) override;
  void inform(std::string_view text) override;

  // Every report is followed by a line "report TYPE CLASS FUNCTION", and what is only worth knowing is told.
  void setTracing(bool on);
  // Reports without the warnings.
  std::size_t errorCount() const { return m_errors; }

 private:
  bool m_coloured;
  bool m_tracing = false;
  std::size_t m_errors = 0;
  orv::ErrorSink* m_former;
};
