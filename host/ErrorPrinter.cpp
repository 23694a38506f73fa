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

// The head, "error[4]", is coloured; the text stays as the terminal has it.
std::string coloured(const std::string& text, bool warning)
{
  const std::size_t head = text.find(']') + 1;
  const char* const colour = warning ? "\x1b[1;33m" : "\x1b[1;31m";
  return colour + text.substr(0, head) + "\x1b[0m" + text.substr(head);
}

}  // namespace

ErrorPrinter::ErrorPrinter()
    : m_coloured(wantsColour()),
      m_former(orv::ErrorProgressReporter::instance()->setSink(this))
{}

ErrorPrinter::~ErrorPrinter()
{
  orv::ErrorProgressReporter::instance()->setSink(m_former);
}

void ErrorPrinter::report(const orv::ErrorMsg& error)
{
  if (!isWarning(error))
    ++m_errors;
  CommandWatch::eraseLine();
  const std::string text = printed(toText(error));
  std::cerr << (m_coloured ? coloured(text, isWarning(error)) : text) << '\n';
  if (m_tracing)
    std::cerr << "report " << error.getType() << ' ' << error.getClassName() << ' ' << error.getFunction()
              << '\n';
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
