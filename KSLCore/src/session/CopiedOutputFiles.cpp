#include "CopiedOutputFiles.h"

#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"

#include <algorithm>
#include <string_view>

namespace orv {

namespace {

// The name of the parameter that a line sets; empty for other lines.
std::string_view parameterOf(std::string_view line)
{
  const MiniKSLParser::Line parts = MiniKSLParser::scan(line);
  if (parts.type != MiniKSLParser::parameterLine)
    return {};
  return StringUtilities::trimmed(parts.text.substr(0, parts.mark));
}

// What file systems take everywhere.
std::string asFileName(std::string text)
{
  const auto isOdd = [](char c) {
    return std::string_view(" /\\:*?\"<>|#,").find(c) != std::string_view::npos;
  };
  std::replace_if(text.begin(), text.end(), isOdd, '_');
  return text;
}

// Puts the addition before the last "." of the file's own name, else at the end.
std::string withAddition(std::string line, const std::string& addition)
{
  const std::size_t end = line.find_last_not_of("\" ") + 1;
  const std::size_t name = std::min(line.find_last_of("/=\"", end - 1), line.size());
  const std::size_t dot = line.rfind('.', end);
  const bool hasExtension = dot != std::string::npos && dot > name;
  return line.insert(hasExtension ? dot : end, "-" + addition);
}

}  // namespace

std::vector<std::string> CopiedOutputFiles::modifyLines(std::vector<std::string> lines,
                                                        const std::string& newName, const std::string&,
                                                        const std::string&)
{
  const std::string addition = asFileName(newName);
  std::erase_if(lines, [](const std::string& line) { return parameterOf(line) == "Protected"; });
  for (std::string& line : lines) {
    if (parameterOf(line) == "Output File")
      line = withAddition(std::move(line), addition);
  }
  return lines;
}

}  // namespace orv
