// The operations of the core API that know of session files.
#include "platform/ORVUtilities.h"
#include "command/KSLCoreAPI.h"

namespace orv {

void KSLCoreAPI::externalProcessKSL(const std::vector<std::string>& lines)
{
  std::string text = StringUtilities::vectorToString(lines, '\n');
  if (m_externalMode == kslUpdateAtEnd) {
    if (!text.empty())
      text +=
          text.back() == '\\' ? "\n\n" : "\n";  // the last line, also a continued one, ends before the update
    text += "> update\n";
  }
  processKSL(text, m_externalMode);
}

}  // namespace orv
