#include "actions/WriteSessionExecutor.h"

#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "command/KSLCoreAPI.h"
#include "command/actionChecks.h"
#include "actions/ReadableText.h"
#include "actions/SessionBlock.h"
#include "actions/fileNames.h"
#include "actions/linesOf.h"

#include <cerrno>
#include <cstdio>
#include <sstream>
#include <sys/stat.h>

namespace orv {

namespace {

constexpr const char* className = "WriteSessionExecutor";
constexpr const char* sessionPath = "/SESSION";
constexpr const char* fileNameParam = "Session Filename";
constexpr const char* modeParam = "Write Session Mode";
constexpr const char* version = "libORVKSLCore " ORV_VERSION;

ksl::invalid refusal(std::string message)
{
  return {className, "invoke", std::move(message)};
}

std::string setting(const KSLObject* settings, const char* param)
{
  return settings && settings->hasParam(param) ? settings->getValue(param) : std::string();
}

// The name and the words "Bad Status" stand in this order on purpose.
void requireMissing(const std::string& fileName)
{
  struct stat status {};
  errno = 0;
  const int result = stat(fileName.c_str(), &status);
  if (result == 0)
    throw file::error(className, "invoke", _("Overwrite not allowed: %s", fileName));
  if (errno != ENOENT)
    throw file::error(className, "invoke", _("File status error: '%s' - %s.", "Bad Status", fileName));
}

std::string readableText(const std::string& text)
{
  std::vector<std::string> lines = StringUtilities::indentKSL(linesOf(text));
  std::erase_if(lines, SessionBlock::isLeftOut);
  return StringUtilities::vectorToString(readableLines(std::move(lines), className, "writeSessionKSL"), '\n');
}

std::string timeText()
{
  std::ostringstream out;
  out << cTime();
  return out.str();
}

}  // namespace

std::string WriteSessionExecutor::m_preamble;

WriteSessionExecutor::WriteSessionExecutor()
    : m_parameters{"filename", "mode"},
      m_modes{"none", "overwrite", "append"}
{
  KSLCoreAPI::instance()->setSessionWriter(this);
}

WriteSessionExecutor::~WriteSessionExecutor()
{
  KSLCoreAPI* api = KSLCoreAPI::current();
  if (api && api->getSessionWriter() == this)
    api->setSessionWriter(nullptr);
}

// ------------------------------------------------------------------------------------------------------ the action

void WriteSessionExecutor::invoke(const std::vector<std::string>& words)
{
  checkAction(words, {"session"}, className);
  const KSLObject* settings = ObjectDB::instance()->getObjectByPath(sessionPath);
  Request request;
  request.fileName = asFileName(setting(settings, fileNameParam));
  request.mode = setting(settings, modeParam);
  for (std::size_t i = 1; i < words.size(); ++i)
    readWord(words[i], request);
  if (request.start)
    return start(std::move(request), settings);
  if (!request.stop)
    throw refusal(_("Must specify START or STOP session."));
  if (!m_inProgress)
    return;
  if (request.other)
    throw refusal(_("STOP session cannot take other parameters."));
  stop();
}

void WriteSessionExecutor::readWord(const std::string& word, Request& request) const
{
  if (word == "start")
    requestStart(request);
  else if (word == "stop" || word == "stopsilently")
    requestStop(request, word == "stopsilently");
  else
    readParameter(word, request);
}

void WriteSessionExecutor::requestStart(Request& request) const
{
  if (request.start)
    throw refusal(_("%s duplicately specified.", "'start'"));
  if (request.stop)
    throw refusal(_("Cannot START & STOP session at same time."));
  if (m_inProgress)
    throw refusal(_("%s already in progress.", "Session write"));
  request.start = true;
}

// Both words are called 'stop' in the message, on purpose.
void WriteSessionExecutor::requestStop(Request& request, bool silently) const
{
  if (request.stop)
    throw refusal(_("%s duplicately specified.", "'stop'"));
  if (request.start)
    throw refusal(_("Cannot START & STOP session at same time."));
  if (!silently && !m_inProgress)
    throw refusal(_("%s is not in progress.", "Session write"));
  request.stop = true;
}

void WriteSessionExecutor::readParameter(const std::string& word, Request& request) const
{
  request.other = true;
  auto [name, value] = squeezedArgument(word, "session", className);
  if (m_parameters.count(name) == 0)
    throw refusal(_("Invalid parameter in %s: '%s'.", "session", name));
  if (name == "filename") {
    request.fileName = std::move(value);
    return;
  }
  if (m_modes.count(value) == 0)
    throw data::invalid(className, "invoke", _("Invalid parameter value: '%s'.", value));
  request.mode = std::move(value);
}

// ------------------------------------------------------------------------------------------------- start and stop

void WriteSessionExecutor::start(Request request, const KSLObject* settings)
{
  openFile(request);
  const bool created = request.mode == "None";
  ScopeGuard giveUp([&] {
    if (created)  // or the next start would refuse the file that this one made
      std::remove(request.fileName.c_str());
    m_stream.close();
  });
  if (settings) {
    const std::string shown = StringUtilities::writtenName(request.fileName);
    KSLBuilder text;
    text.beginObject("SESSION", "");
    text.addParam(fileNameParam, shown);
    text.addParam(modeParam, request.mode);
    text.endObject();
    reportUnreadable(className, "invoke", sessionPath, fileNameParam, shown, Carrier::text);
    KSLCoreAPI::instance()->processKSL(text.text(), kslUpdateDefault);
  }
  writeHeader();
  giveUp.dismiss();
  m_inProgress = true;
}

// Capital letters come from SESSION alone: a mode of the line was compared with the small ones. Normalises the mode.
void WriteSessionExecutor::openFile(Request& request)
{
  using Mode = ORVStream::Mode;
  if (request.mode.empty())
    request.mode = "none";
  const bool none = request.mode == "none" || request.mode == "None";
  const bool overwrite = request.mode == "overwrite" || request.mode == "Overwrite";
  if (!none && !overwrite && request.mode != "append" && request.mode != "Append")
    throw refusal(_("Invalid parameter value: %s.", "mode"));
  if (none)
    requireMissing(request.fileName);
  m_stream.open(request.fileName, none || overwrite ? Mode::write : Mode::append);
  request.mode = none ? "None" : overwrite ? "Overwrite" : "Append";
}

void WriteSessionExecutor::writeHeader()
{
  m_stream.write("# Session file started: " + timeText() + "\n# " + version + "\n\n" + m_preamble + "\n");
  m_stream.flush();
}

void WriteSessionExecutor::stop()
{
  m_inProgress = false;
  ScopeGuard close([this] { m_stream.close(); });
  m_stream.write("# Session file stopped: " + timeText() + "\n\n");
  close.dismiss();
  m_stream.close();
}

void WriteSessionExecutor::terminateSession()
{
  if (!m_inProgress)
    return;
  try {
    stop();
  } catch (const file::error& error) {
    ErrorProgressReporter::instance()->reportError(error);
  }
}

// ------------------------------------------------------------------------------------------------------- recording

void WriteSessionExecutor::writeSessionKSL(const std::string& text)
{
  if (!m_inProgress || text.find("AutoSaveState.qst") != std::string::npos)
    return;
  const std::string block = SessionBlock().write(ORVFile::isAscii(text) ? text : readableText(text));
  try {
    m_stream.write(block);
    m_stream.flush();
  } catch (const file::error& error) {
    abandon(error);
  }
}

// Hours of work would go on unrecorded; nobody is kept from going on with it.
void WriteSessionExecutor::abandon(const file::error& error) noexcept
{
  m_inProgress = false;
  ErrorProgressReporter::instance()->reportError(error);
  const ScopeGuard close([this] { m_stream.close(); });
}

}  // namespace orv
