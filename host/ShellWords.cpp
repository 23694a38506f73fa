#include "ShellWords.h"

#include "platform/ORVUtilities.h"

namespace {

bool isBlank(char c)
{
  return c == ' ' || c == '\t';
}

}  // namespace

void reportMistake(const std::string& message)
{
  orv::ErrorProgressReporter::instance()->reportError(
      orv::ErrorMsg("ksl", "shell", message, orv::errorType::ordinary));
}

std::string unquotedArgument(const std::string& argument)
{
  const bool isQuoted = argument.size() >= 2 && argument.front() == '"' && argument.back() == '"';
  return isQuoted ? argument.substr(1, argument.size() - 2) : argument;
}

std::vector<std::string> argumentsIn(std::string_view text, bool apart)
{
  std::vector<std::string> arguments;
  bool goesOn = false;         // the last argument, with the next word
  bool isOptionValue = false;  // the next word
  for (std::size_t at = 0; at < text.size();) {
    if (isBlank(text[at])) {
      ++at;
      continue;
    }
    std::string word;
    bool hasQuotes = false;
    for (bool inside = false; at < text.size() && (inside || !isBlank(text[at])); ++at)
      if (text[at] != '"')
        word += text[at];
      else {
        inside = !inside;
        hasQuotes = true;
      }
    const bool isOption = !hasQuotes && word.starts_with("--");
    if (goesOn && !hasQuotes && !isOption)
      arguments.back() += ' ' + word;
    else
      arguments.push_back(word);
    goesOn = !hasQuotes && !isOption && !isOptionValue && !apart;
    isOptionValue = isOption && word.find('=') == std::string::npos;
  }
  return arguments;
}
