#include "actions/linesOf.h"

#include "platform/ORVUtilities.h"

namespace orv {

std::vector<std::string> linesOf(std::string_view text)
{
  if (text.ends_with('\n'))
    text.remove_suffix(1);
  else if (text.empty())
    return {};
  std::vector<std::string> lines = StringUtilities::stringToVector(text, '\n');
  if (lines.empty())
    lines.emplace_back();  // a text of one line end
  for (std::string& line : lines)
    if (line.ends_with('\r'))
      line.pop_back();
  return lines;
}

}  // namespace orv
