// The operations of the core API that know of session files.
#include "platform/ORVError.h"
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
  std::optional<TextSource> kept;
  try {
    if (from.keeper && (!asEntered || m_commandOpen)) {
      kept = from;
      kept->keeper = nullptr;  // it holds another text, or that is asked for once more
    }
    if (!asEntered)
      longer = withUpdate(entered);
    const bool isRefused = KSLInterface::instance()->isRecovering();
    if (m_sessionWriter && m_sessionWriter->isRecording() && !text.empty() && !isRefused && !m_commandOpen) {
      ahead = parsedAhead(text, m_externalMode);
      m_sessionWriter->writeSessionKSL(text, ahead ? &*ahead : nullptr);
    }
    if (m_commandOpen)
      m_entered.append(text).append("\n");
  } catch (...) {  // there is no memory: what cannot be recorded is not run
    return KSLInterface::instance()->failParse();
  }
  processText(text, m_externalMode, kept ? *kept : from, ahead ? &*ahead : nullptr);
}

// What is to be recorded is formed while the command can still fail for lack of memory: once it is done it stands. Formed
// anew is what observers of its end have added.
bool KSLCoreAPI::endCommand(bool keep)
{
  const ScopeGuard close([this] { closeCommand(); });
  KSLInterface* commands = KSLInterface::instance();
  const std::size_t size = m_entered.size();
  bool isFormed = false;
  try {
    isFormed = keep && m_sessionWriter && size > 0 && m_sessionWriter->formBlock(m_entered, nullptr);
  } catch (...) {
    const ScopeGuard fail([commands] { commands->failParse(); });  // the end of the command tells of it
  }
  const bool done = commands->endCommand(keep);
  if (!done || !m_sessionWriter)
    return done;
  try {
    if (m_entered.size() > size)
      isFormed = m_sessionWriter->formBlock(m_entered, nullptr);
    if (isFormed)
      m_sessionWriter->writeBlock();
  } catch (...) {
    const ScopeGuard tell([] { ErrorProgressReporter::instance()->reportError(caughtError("endCommand")); });
  }
  return done;
}

void KSLCoreAPI::processKSLWithSessionUpdate(const std::string& text, SessionUpdateStrategy* strategy)
{
  SessionUpdater(strategy).processKSL(text);
}

}  // namespace orv
