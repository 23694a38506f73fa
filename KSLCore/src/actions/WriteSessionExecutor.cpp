#include "actions/WriteSessionExecutor.h"

#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"
#include "platform/internal/ContextLocal.h"
#include "database/ObjectDB.h"
#include "command/CommandLines.h"
#include "command/FileText.h"
#include "command/KSLCoreAPI.h"
#include "command/SessionBlock.h"
#include "command/actionChecks.h"
#include "actions/ReadableText.h"
#include "actions/SessionFile.h"
#include "actions/fileNames.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace orv {

namespace {

constexpr const char* writeSessionExecutorClass = "WriteSessionExecutor";
constexpr const char* sessionPath = "/SESSION";
constexpr const char* fileNameParam = "Session Filename";
constexpr const char* modeParam = "Write Session Mode";

constinit ContextLocal<std::string*> thePreamble(ContextEnd::memory,
                                                 [] { delete std::exchange(*thePreamble, nullptr); });

ksl::invalid refusal(std::string message)
{
  return {writeSessionExecutorClass, "invoke", std::move(message)};
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
    throw file::error(writeSessionExecutorClass, "invoke", _("Overwrite not allowed: %s", fileName));
  if (errno != ENOENT)
    throw file::error(writeSessionExecutorClass, "invoke",
                      _("File status error: '%s' - %s.", "Bad Status", fileName));
}

}  // namespace

void WriteSessionExecutor::setFilePreamble(const std::string& preamble)
{
  delete std::exchange(*thePreamble, new std::string(preamble));
}

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
  checkAction(words, {"session"}, writeSessionExecutorClass);
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
  auto [name, value] = squeezedArgument(word, "session", writeSessionExecutorClass);
  if (m_parameters.count(name) == 0)
    throw diagnosed(refusal(_("Invalid parameter in %s: '%s'.", "session", name)),
                    oneOf(name, {m_parameters.begin(), m_parameters.end()}));
  if (name == "filename") {
    request.fileName = std::move(value);
    return;
  }
  if (m_modes.count(value) == 0)
    throw diagnosed(
        data::invalid(writeSessionExecutorClass, "invoke", _("Invalid parameter value: '%s'.", value)),
        oneOf(value, {m_modes.begin(), m_modes.end()}));
  request.mode = std::move(value);
}

// ------------------------------------------------------------------------------------------------- start and stop

void WriteSessionExecutor::start(Request request, const KSLObject* settings)
{
  openFile(request);
  const bool created = request.mode == "None";
  ScopeGuard giveUp([&] { m_stream.close(); });
  ScopeGuard takeBack([&] {
    if (created)  // or the next start would refuse the file that this one made
      std::remove(request.fileName.c_str());
    else
      cutBack();
  });
  if (settings) {
    const std::string shown = StringUtilities::writtenName(request.fileName);
    KSLBuilder text;
    text.beginObject("SESSION", "");
    text.addParam(fileNameParam, shown);
    text.addParam(modeParam, request.mode);
    text.endObject();
    reportUnreadable(writeSessionExecutorClass, "invoke", sessionPath, fileNameParam, shown);
    KSLCoreAPI::instance()->processKSL(text.text(), kslUpdateDefault);
  }
  writeHeader();
  takeBack.dismiss();
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
  if (!none && !overwrite)
    heal(request.fileName);
  m_stream.open(request.fileName, none || overwrite ? Mode::write : Mode::append);
  m_file = ORVFile::getCanonicalName(request.fileName);
  std::error_code unknown;  // of what is no regular file
  m_wholeSize = std::filesystem::file_size(m_file, unknown);
  m_canBeCut = !unknown;
  request.mode = none ? "None" : overwrite ? "Overwrite" : "Append";
}

void WriteSessionExecutor::writeHeader()
{
  const std::string preamble = *thePreamble ? **thePreamble : std::string();
  append(FileText::head(FileText::sessionHead)
         + (FileText::isPlain(preamble) ? preamble : FileText::escaped(preamble)) + '\n');
}

// A file that was not ended, by a process that was: what follows must not become a part of its last line.
void WriteSessionExecutor::heal(const std::string& fileName)
{
  std::error_code failure;
  if (!std::filesystem::is_regular_file(fileName, failure))
    return;
  const std::uintmax_t whole = SessionFile::wholeSize(fileName);
  if (whole >= std::filesystem::file_size(fileName, failure))
    return;
  ErrorProgressReporter::instance()->reportError(
      file::error(writeSessionExecutorClass, "invoke",
                  _("Session file '%s' ended with an incomplete command, which was cut off.", fileName),
                  errorType::warning));
  std::filesystem::resize_file(fileName, whole);
}

// All of the text is in the file when it returns, or nothing of it.
void WriteSessionExecutor::append(const std::string& text)
{
  try {
    m_stream.write(text);
    m_stream.flush();
  } catch (const file::error&) {
    cutBack();
    throw;
  }
  m_wholeSize += text.size();
}

void WriteSessionExecutor::cutBack() noexcept
{
  // A file that cannot be cut keeps its half block, which readers notice.
  if (m_canBeCut && ::truncate(m_file.c_str(), static_cast<off_t>(m_wholeSize)) != 0)
    m_canBeCut = false;
}

void WriteSessionExecutor::stop()
{
  m_inProgress = false;
  ScopeGuard close([this] { m_stream.close(); });
  append(std::string(FileText::sessionFoot) + FileText::timeText() + "\n\n");
  close.dismiss();
  m_stream.close();
}

bool WriteSessionExecutor::isRecordingTo(const std::string& fileName) const
{
  std::error_code missing;
  return m_inProgress && std::filesystem::equivalent(m_file, fileName, missing);
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

// Of nearly all commands: their blocks take turns in one place.
constexpr std::size_t largestKept = std::size_t{1} << 16;

void WriteSessionExecutor::writeSessionKSL(const std::string& text, const ParsedText* parsed)
{
  // Sought first by the letters that texts hold least.
  if (!m_inProgress
      || (text.find("qst") != std::string::npos && text.find("AutoSaveState.qst") != std::string::npos))
    return;
  try {
    const kslUpdateMode mode = KSLCoreAPI::instance()->getExternalKslUpdateMode();
    m_block.clear();
    if (parsed && parsed->isAsEntered && SessionBlock::isUsual(text))
      m_block = SessionBlock(mode).write(parsed->lines, std::move(m_block));
    if (m_block.empty())
      m_block = SessionBlock(mode).write(text);
    append(m_block);
    if (m_block.capacity() > largestKept)
      m_block = {};
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
