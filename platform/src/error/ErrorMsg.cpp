#include "platform/ORVError.h"

#include <utility>

namespace orv {

ErrorMsg::ErrorMsg(std::string className, std::string function, std::string message, int type)
    : m_class(std::move(className)),
      m_function(std::move(function)),
      m_message(std::move(message)),
      m_type(type)
{}

ErrorMsg::ErrorMsg(const Error& error) : ErrorMsg(error, error.getType()) {}

ErrorMsg::ErrorMsg(const Error& error, int type)
    : ErrorMsg(error.getClassName(), error.getFunction(), error.getMessage(), type)
{
  m_notes = error.getNotes();
  m_diagnostic = error.getDiagnostic();
}

bool ErrorMsg::operator==(const ErrorMsg& other) const
{
  return m_type == other.m_type && m_class == other.m_class && m_function == other.m_function
         && m_message == other.m_message;
}

namespace {

std::string origin(const ErrorMsg& error)
{
  if (error.getClassName().empty() || error.getFunction().empty())
    return error.getClassName() + error.getFunction();
  return error.getClassName() + "::" + error.getFunction();
}

void appendIndented(std::string& out, std::string_view message)
{
  while (!message.empty() && message.back() == '\n')
    message.remove_suffix(1);
  for (const char c : message) {
    out += c;
    if (c == '\n')
      out += "  ";
  }
}

}  // namespace

std::string toText(const ErrorMsg& error)
{
  std::string out = error.getType() == errorType::warning ? "warning[" : "error[";
  out += std::to_string(error.getType());
  out += "] ";
  const std::string from = origin(error);
  if (!from.empty())
    out += from + ": ";
  appendIndented(out, error.getMessage());
  for (const std::string& note : error.getNotes())
    appendIndented(out.append("\n  "), note);
  return out;
}

}  // namespace orv
