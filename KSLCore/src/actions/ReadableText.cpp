#include "actions/ReadableText.h"

#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"

#include <algorithm>

namespace orv {

namespace {

data::invalid unreadableValue(const char* className, const char* function, std::string_view parameter,
                              const std::string& object)
{
  return {className, function,
          _("Value of parameter '%s' of object '%s' cannot be read back.", parameter, object),
          errorType::warning};
}

// Knows the block that a line stands in.
class LineChecker {
 public:
  LineChecker(const char* className, const char* function) : m_class(className), m_function(function) {}

  void check(std::string& line)
  {
    const MiniKSLParser::Line scanned = MiniKSLParser::scan(line);
    if (!ORVFile::isAscii(scanned.text))
      report(scanned);
    if (scanned.type == MiniKSLParser::objectLine)
      push(scanned.text, scanned.mark);
    else if (scanned.type == MiniKSLParser::endLine)
      m_path.pop();
    const auto comment =
        line.begin() + static_cast<std::ptrdiff_t>(StringUtilities::withoutComment(line).size());
    std::replace_if(
        comment, line.end(),
        [](char c) {
          return !ORVFile::isAscii({&c, 1});
        },
        '?');
  }

 private:
  void push(std::string_view text, std::size_t colon)
  {
    const auto [type, name] = StringUtilities::splitObjectTypeAndName(text);
    m_path.push(type, colon + 1 == text.size() ? std::string_view() : std::string_view(name));
  }

  void report(const MiniKSLParser::Line& line) const
  {
    ErrorProgressReporter* reporter = ErrorProgressReporter::instance();
    if (line.type == MiniKSLParser::parameterLine)
      reporter->reportError(unreadableValue(m_class, m_function,
                                            StringUtilities::trimmed(line.text.substr(0, line.mark)),
                                            m_path.getFullPath()));
    else
      reporter->reportError(data::invalid(m_class, m_function, _("Line '%s' cannot be read back.", line.text),
                                          errorType::warning));
  }

  const char* m_class;
  const char* m_function;
  KSLPath m_path;
};

}  // namespace

bool isReadable(std::string_view value, Carrier carrier) noexcept
{
  if (carrier == Carrier::file && !ORVFile::isAscii(value))
    return false;
  bool afterSpace = true;  // at the beginning, where no blank may stand either
  for (const char c : value) {
    const bool space = StringUtilities::isSpace(c);
    if (space && (afterSpace || c != ' '))
      return false;
    afterSpace = space;
  }
  return (value.empty() || !afterSpace) && StringUtilities::withoutComment(value).size() == value.size();
}

void reportUnreadable(const char* className, const char* function, const std::string& object,
                      const std::string& parameter, std::string_view value, Carrier carrier)
{
  if (!isReadable(value, carrier))
    ErrorProgressReporter::instance()->reportError(unreadableValue(className, function, parameter, object));
}

std::vector<std::string> readableLines(std::vector<std::string> lines, const char* className,
                                       const char* function)
{
  if (std::all_of(lines.begin(), lines.end(), [](const std::string& line) { return ORVFile::isAscii(line); }))
    return lines;
  LineChecker checker(className, function);
  for (std::string& line : lines)
    checker.check(line);
  return lines;
}

}  // namespace orv
