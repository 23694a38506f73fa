#include "ErrorPrinter.h"

#include "CommandWatch.h"
#include "PrintedText.h"

#include <cstdlib>
#include <iostream>
#include <string>
#include <unistd.h>

namespace {

bool isWarning(const orv::ErrorMsg& error)
{
  return error.getType() == orv::errorType::warning;
}

bool wantsColour()
{
  const char* refusal = std::getenv("NO_COLOR");
  return !(refusal && *refusal) && isatty(STDERR_FILENO);
}

}  // namespace

bool ErrorPrinter::s_forPrograms = false;

ErrorPrinter::ErrorPrinter(ReportFormat format)
    : m_format(format),
      m_coloured(wantsColour()),
      m_former(orv::ErrorProgressReporter::instance()->setSink(this))
{
  s_forPrograms = format == ReportFormat::json || format == ReportFormat::sarif;
}

ErrorPrinter::~ErrorPrinter()
{
  if (m_format == ReportFormat::sarif)
    std::cerr << sarifLog(m_log) << '\n';
  s_forPrograms = false;
  orv::ErrorProgressReporter::instance()->setSink(m_former);
}

void ErrorPrinter::report(const orv::ErrorMsg& error)
{
  if (!isWarning(error))
    ++m_errors;
  if (m_format == ReportFormat::sarif)
    return m_log.push_back(error);
  CommandWatch::eraseLine();
  std::cerr << reportText(error, m_format, m_coloured) << '\n';
  if (m_tracing)
    std::cerr << "report " << error.getType() << ' ' << error.getClassName() << ' ' << error.getFunction()
              << '\n';
}

void ErrorPrinter::remark(const std::string& line)
{
  if (!s_forPrograms)
    std::cerr << line << '\n';
}

void ErrorPrinter::inform(std::string_view text)
{
  CommandWatch::eraseLine();
  std::cerr << "inform " << printed(text) << '\n';
}

void ErrorPrinter::setTracing(bool on)
{
  m_tracing = on;
  orv::ErrorProgressReporter::instance()->setVerbose(on);
}
