#include "actions/linesOf.h"

#include "platform/ORVUtilities.h"

namespace orv {

std::vector<std::string> linesOf(std::string_view text)
{
  if (text.ends_with('\n'))
    text.remove_suffix(1);
  std::vector<std::string> lines = StringUtilities::stringToVector(text, '\n');
  for (std::string& line : lines)
    if (line.ends_with('\r'))
      line.pop_back();
  return lines;
}

}  // namespace orv
