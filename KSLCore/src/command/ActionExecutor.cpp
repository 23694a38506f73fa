#include "command/ActionExecutor.h"

#include "platform/ORVUtilities.h"

namespace orv {

ActionExecutor::~ActionExecutor() = default;

std::vector<std::string> ActionExecutor::splitActionLine(const std::string& line)
{
  if (line.empty())
    return {};
  const std::string_view text = StringUtilities::trimmed(line);
  std::size_t space = 0;
  while (space < text.size() && !StringUtilities::isSpace(text[space]))
    ++space;
  std::vector<std::string> words;
  const std::string_view first = text.substr(0, space);
  words.emplace_back(space == text.size() ? first : first.substr(0, first.find(',')));
  if (space == text.size())
    return words;
  std::string_view rest = text.substr(space);
  while (true) {
    const std::size_t comma = rest.find(',');
    words.emplace_back(StringUtilities::trimmed(rest.substr(0, comma)));
    if (comma == std::string_view::npos)
      return words;
    rest.remove_prefix(comma + 1);
  }
}

std::string ActionExecutor::mergeActionLine(const std::vector<std::string>& words)
{
  return StringUtilities::vectorToString(words, ", ");
}

}  // namespace orv
