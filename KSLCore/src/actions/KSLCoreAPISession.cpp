// The operations of the core API that know of session files.
#include "platform/ORVUtilities.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "actions/SessionUpdater.h"
#include "actions/WriteSessionExecutor.h"

namespace orv {

void KSLCoreAPI::externalProcessKSL(const std::vector<std::string>& lines)
{
  std::string text = StringUtilities::vectorToString(lines, '\n');
  if (m_externalMode == kslUpdateAtEnd) {
    if (!text.empty())  // the last line ends before the update, also one that would be continued
      text += StringUtilities::trimmed(text).ends_with('\\') ? "\n\n" : "\n";
    text += "> update\n";
  }
  const bool isRefused = KSLInterface::instance()->isRecovering();
  if (m_sessionWriter && !text.empty() && !isRefused && !m_commandOpen)
    m_sessionWriter->writeSessionKSL(text);
  processKSL(text, m_externalMode);
  if (m_commandOpen)
    m_entered.append(text).append("\n");
}

bool KSLCoreAPI::endCommand(bool keep)
{
  const ScopeGuard close([this] { closeCommand(); });
  const bool done = KSLInterface::instance()->endCommand(keep);
  if (done && m_sessionWriter && !m_entered.empty())
    m_sessionWriter->writeSessionKSL(m_entered);
  return done;
}

void KSLCoreAPI::processKSLWithSessionUpdate(const std::string& text, SessionUpdateStrategy* strategy)
{
  SessionUpdater(strategy).processKSL(text);
}

}  // namespace orv
