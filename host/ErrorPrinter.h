// What the library reports, shown to people and programs.
#pragma once

#include "platform/ORVError.h"
#include "ReportText.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Writes reports to standard error and counts the errors among them. Coloured when standard error is a terminal and
// NO_COLOR is not set. Registered with the reporter while it lives.
class ErrorPrinter : public orv::ErrorSink {
 public:
  explicit ErrorPrinter(ReportFormat format);
  ~ErrorPrinter() override;
  ErrorPrinter(const ErrorPrinter&) = delete;
  ErrorPrinter& operator=(const ErrorPrinter&) = delete;

  void report(const orv::ErrorMsg& error) override;
  void inform(std::string_view text) override;

  // A line for people that is no report. Not written while one lives whose format is for programs.
  static void remark(const std::string& line);

  // Every report is followed by a line "report TYPE CLASS FUNCTION", and what is only worth knowing is told.
  void setTracing(bool on);
  // Reports without the warnings.
  std::size_t errorCount() const { return m_errors; }

 private:
  static bool s_forPrograms;

  ReportFormat m_format;
  bool m_coloured;
  bool m_tracing = false;
  std::size_t m_errors = 0;
  std::vector<orv::ErrorMsg> m_log;  // for ReportFormat::sarif
  orv::ErrorSink* m_former;
};
