#include "RunCommand.h"

#include "platform/ORVError.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "ErrorPrinter.h"
#include "Host.h"
#include "Trace.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <optional>
#include <utility>

namespace {

using Lines = std::vector<std::string>;

Lines splitLines(const std::string& text)
{
  Lines lines = orv::StringUtilities::stringToVector(text, '\n');
  for (std::string& line : lines)
    if (!line.empty() && line.back() == '\r')
      line.pop_back();
  return lines;
}

Lines readStandardInput()
{
  std::string text;
  char buffer[1 << 16];
  while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, stdin))
    text.append(buffer, count);
  if (std::ferror(stdin))
    throw orv::file::error("ksl", "readStandardInput",
                           orv::_("Cannot read standard input: %s.", orv::Error::getSystemError()));
  return splitLines(text);
}

bool isBlank(const Lines& lines)
{
  return std::all_of(lines.begin(), lines.end(), [](const std::string& line) { return line.empty(); });
}

void flushOutput()
{
  if (!std::cout.flush())
    throw orv::file::error("ksl", "flushOutput", orv::_("Cannot write to standard output."));
}

// As "> getstate" finds objects, and with its warning.
const orv::KSLObject* findObject(const std::string& pathOrName)
{
  const std::string text =
      orv::PathUtils::normalisePathBwdComp(orv::StringUtilities::removeWhitespace(pathOrName));
  const orv::ObjectDB* database = orv::ObjectDB::instance();
  const bool isPath = !text.empty() && text.front() == '/';
  const orv::KSLObject* object = isPath ? database->getObjectByPath(text) : database->getObjectByName(text);
  if (!object)
    orv::ErrorProgressReporter::instance()->reportError(orv::data::notFound(
        "ObjectDB", "getState", orv::_("Object '%s' does not exist.", text), orv::errorType::warning));
  return object;
}

}  // namespace

RunCommand::RunCommand(Options options) : m_options(std::move(options)) {}

int RunCommand::run()
{
  ErrorPrinter printer;
  orv::ErrorProgressReporter* reporter = orv::ErrorProgressReporter::instance();
  try {
    runReported(printer);
  } catch (const orv::Error& error) {
    reporter->reportError(error);
  } catch (const std::exception& exception) {
    reporter->reportError(orv::ErrorMsg("ksl", "run", exception.what(), orv::errorType::system));
  }
  return printer.errorCount() > 0 ? 1 : 0;
}

void RunCommand::runReported(ErrorPrinter& printer) const
{
  printer.setTracing(m_options.traceErrors);
  const Host host(m_options.libraries);
  std::optional<NotificationTrace> trace;
  if (m_options.traceNotifications)
    trace.emplace();
  const std::vector<Lines> commands = readCommands();
  enter(commands);
  printState();
  flushOutput();
}

std::vector<Lines> RunCommand::readCommands() const
{
  std::vector<Lines> commands;
  for (const std::string& file : m_options.files)
    commands.push_back(file == "-" ? readStandardInput() : orv::ORVFile::readLines(file));
  for (const std::string& text : m_options.texts)
    commands.push_back(splitLines(text));
  // An empty file says nothing; the library takes an empty text for a slip of its caller.
  commands.erase(std::remove_if(commands.begin(), commands.end(), isBlank), commands.end());
  return commands;
}

void RunCommand::enter(const std::vector<Lines>& commands) const
{
  orv::KSLCoreAPI* api = orv::KSLCoreAPI::instance();
  api->setExternalKslUpdateMode(m_options.updateMode);
  api->setValidationEnabled(m_options.validate);
  for (const Lines& command : commands) {
    api->externalProcessKSL(command);
    if (const std::size_t changes = orv::KSLInterface::instance()->getLastRecoverySize())
      std::cerr << "rolled back " << changes << " changes\n";
  }
}

void RunCommand::printState() const
{
  std::string text;
  for (const std::string& list : m_options.state)
    for (const std::string& item : orv::StringUtilities::stringToVector(list, ','))
      if (const orv::KSLObject* object = findObject(item))
        object->appendState(text, orv::externalParams);
  std::cout << text;
}
