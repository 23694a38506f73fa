#include "actions/ReadSessionExecutor.h"

#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "rules/SchedulerObject.h"
#include "command/FileText.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "command/actionChecks.h"
#include "actions/FileProcessingScope.h"
#include "actions/ORVMPStream.h"
#include "actions/ReadableText.h"
#include "actions/fileNames.h"

namespace orv {

namespace {

constexpr const char* readSessionExecutorClass = "ReadSessionExecutor";
constexpr const char* sessionObjectPath = "/SESSION";
constexpr const char* sessionFileParam = "Session Filename";

const KSLObject* findSession()
{
  return ObjectDB::instance()->getObjectByPath(sessionObjectPath);
}

std::string defaultFileName()
{
  const KSLObject* session = findSession();
  return session && session->hasParam(sessionFileParam) ? session->getValue(sessionFileParam) : std::string();
}

void showFileName(const std::string& fileName)
{
  const std::string shown = StringUtilities::writtenName(fileName);
  KSLBuilder text;
  text.beginObject("SESSION", "");
  text.addParam(sessionFileParam, shown);
  text.endObject();
  reportUnreadable(readSessionExecutorClass, "readFileContents", sessionObjectPath, sessionFileParam, shown);
  KSLCoreAPI::instance()->processKSL(text.text(), kslUpdateDefault);
}

}  // namespace

ReadSessionExecutor::ReadSessionExecutor(SessionUpdateStrategy* strategy, bool catchExceptionsOff)
    : m_parameters{"filename"},
      m_strategy(strategy),
      m_catchExceptionsOff(catchExceptionsOff)
{}

ReadSessionExecutor::~ReadSessionExecutor() = default;

void ReadSessionExecutor::invoke(const std::vector<std::string>& p_action)
{
  validateAction(p_action);
  const Params params = processParams(p_action);
  FileProcessingScope::createObject(readSessionExecutorClass, "invoke");
  std::string fileName;
  const std::string text = readFileContents(params, fileName);
  if (text.empty()) {
    // The class is named so on purpose.
    ErrorProgressReporter::instance()->reportError(
        file::error("ReadStateExecutor", "invoke", _("Session file contains no data.")));
    return;
  }
  const bool wereCaught = !m_catchExceptionsOff && SchedulerObject::setCatchExceptions(true);
  replay(text, fileName);
  // Not after a failure, and always with the default flag: on purpose.
  if (!wereCaught)
    SchedulerObject::setCatchExceptions(false);
}

void ReadSessionExecutor::validateAction(const std::vector<std::string>& action)
{
  checkAction(action, {"readsession", "rs"}, readSessionExecutorClass, "validateAction");
}

ReadSessionExecutor::Params ReadSessionExecutor::processParams(const std::vector<std::string>& action) const
{
  Params params;
  for (std::size_t i = 1; i < action.size(); ++i) {
    const std::size_t equals = action[i].find('=');
    if (equals == std::string::npos)
      throw ksl::invalid(
          readSessionExecutorClass, "processParams",
          _("Syntax error: %s parameters should have the format: %s", "readsession", "param=value"));
    const std::string name = StringUtilities::removeAllWhitespace(action[i].substr(0, equals));
    if (m_parameters.count(name) == 0)
      throw diagnosed(ksl::invalid(readSessionExecutorClass, "processParams",
                                   _("Invalid parameter in %s: '%s'.", "readsession", name)),
                      oneOf(name, {m_parameters.begin(), m_parameters.end()}));
    params[name] = action[i].substr(equals + 1);
  }
  return params;
}

std::string ReadSessionExecutor::readFileContents(const Params& params, std::string& fileName)
{
  const auto named = params.find("filename");
  fileName = named == params.end() ? asFileName(defaultFileName()) : fileToRead(named->second);
  if (fileName.empty())
    throw ksl::invalid(readSessionExecutorClass, "readFileContents", _("No Filename Specified"));
  ORVMPStream stream(fileName, ORVStream::Mode::read);
  fileName = stream.getFileName();
  FileProcessingScope::checkNotInProgress(fileName, readSessionExecutorClass, "invoke");
  std::string text = stream.readAll();
  stream.close();
  if (!ORVFile::isAscii(text))
    throw file::error(readSessionExecutorClass, "readFileContents", _("Non ASCII file: '%s'.", fileName));
  if (findSession())
    showFileName(fileName);
  if (text.find('{') == std::string::npos)
    return text;  // nothing is escaped
  std::vector<std::string> lines = StringUtilities::stringToVector(text, '\n');
  FileText::undo(lines);
  return StringUtilities::vectorToString(lines, '\n');
}

void ReadSessionExecutor::replay(const std::string& text, const std::string& fileName) const
{
  const FileProcessingScope scope("Session", fileName);
  ScopeGuard explain([&] {
    ErrorProgressReporter::instance()->inform(_("The session file '%s' was being replayed.", fileName));
  });
  if (m_strategy) {
    KSLCoreAPI::instance()->processKSLWithSessionUpdate(text, m_strategy);
  } else {
    KSLInterface::instance()->setBWCForNextProcessKSL(true);
    KSLCoreAPI::instance()->processKSL(text, kslUpdateDefault, {.name = fileName});
  }
  explain.dismiss();
}

}  // namespace orv
