// The operations of the core API that know of session files.
#include "platform/ORVUtilities.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "actions/SessionUpdater.h"
#include "actions/WriteSessionExecutor.h"

namespace orv {

void KSLCoreAPI::externalProcessKSL(const std::vector<std::string>& lines, const TextSource& from)
{
  std::string text = StringUtilities::vectorToString(lines, '\n');
  if (m_externalMode == kslUpdateAtEnd) {
    if (!text.empty())  // the last line ends before the update, also one that would be continued
      text += StringUtilities::trimmed(text).ends_with('\\') ? "\n\n" : "\n";
    text += "> update\n";
  }
  const bool isRefused = KSLInterface::instance()->isRecovering();
  if (m_sessionWriter && !text.empty() && !isRefused)
    m_sessionWriter->writeSessionKSL(text);
  processKSL(text, m_externalMode, from);
}

void KSLCoreAPI::processKSLWithSessionUpdate(const std::string& text, SessionUpdateStrategy* strategy)
{
  SessionUpdater(strategy).processKSL(text);
}

}  // namespace orv
