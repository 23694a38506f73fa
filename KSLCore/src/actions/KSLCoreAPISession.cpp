// The operations of the core API that know of session files.
#include "platform/ORVUtilities.h"
#include "command/CommandLines.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "command/caughtError.h"
#include "actions/SessionUpdater.h"
#include "actions/WriteSessionExecutor.h"

#include <optional>

namespace orv {

namespace {

// Of a text that is updated at its end.
std::string withUpdate(std::string text)
{
  if (!text.empty())  // the last line ends before the update, also one that would be continued
    text += StringUtilities::trimmed(text).ends_with('\\') ? "\n\n" : "\n";
  return text += "> update\n";
}

// Nothing for a text that cannot be parsed: it fails in its turn.
std::optional<ParsedText> parsedAhead(const std::string& text, kslUpdateMode mode)
{
  try {
    return CommandLines(mode).parseAhead(text);
  } catch (...) {
    passUnwinding();
    return {};
  }
}

}  // namespace

void KSLCoreAPI::externalProcessKSL(const std::vector<std::string>& lines, const TextSource& from)
{
  std::string text;
  try {
    text = StringUtilities::vectorToString(lines, '\n');
  } catch (...) {
    return KSLInterface::instance()->failParse();
  }
  externalProcessText(text, from);
}

void KSLCoreAPI::externalProcessText(const std::string& entered, const TextSource& from)
{
  std::string longer;
  const bool asEntered = m_externalMode != kslUpdateAtEnd;
  const std::string& text = asEntered ? entered : longer;
  std::optional<ParsedText> ahead;
  try {
    if (!asEntered)
      longer = withUpdate(entered);
    const bool isRefused = KSLInterface::instance()->isRecovering();
    if (m_sessionWriter && m_sessionWriter->isRecording() && !text.empty() && !isRefused && !m_commandOpen) {
      ahead = parsedAhead(text, m_externalMode);
      m_sessionWriter->writeSessionKSL(text, ahead ? &*ahead : nullptr);
    }
  } catch (...) {  // there is no memory: what cannot be recorded is not run
    return KSLInterface::instance()->failParse();
  }
  std::optional<TextSource> kept;
  if (from.keeper && (!asEntered || m_commandOpen)) {
    kept = from;
    kept->keeper = nullptr;  // it holds another text, or that is asked for once more
  }
  processText(text, m_externalMode, kept ? *kept : from, ahead ? &*ahead : nullptr);
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
