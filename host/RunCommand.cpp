#include "RunCommand.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLUpdateInfo.h"
#include "Host.h"
#include "Trace.h"

#include <chrono>
#include <iostream>
#include <optional>
#include <utility>

namespace {

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
  return runWithTexts(m_options.input, [this](const Texts& texts) {
    enter(texts);
    printState();
  });
}

void RunCommand::enter(const Texts& texts) const
{
  std::optional<NotificationTrace> notifications;
  if (m_options.traceNotifications)
    notifications.emplace();
  std::optional<GraphTrace> graph;
  if (m_options.traceGraph || m_options.timings)
    graph.emplace(m_options.traceGraph);
  if (m_options.traceChanges || m_options.timings)
    orv::KSLCoreAPI::instance()->recordKSLChanges(true);
  for (const Lines& text : texts)
    enterWatched(text, graph ? &*graph : nullptr);
}

void RunCommand::enterWatched(const Lines& text, GraphTrace* graph) const
{
  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  enterText(text);
  const std::chrono::duration<double> time = Clock::now() - start;
  const orv::KSLUpdateInfo* changes = orv::KSLCoreAPI::instance()->getUpdateInfo();
  if (m_options.traceChanges)
    printChanges(*changes);
  if (m_options.timings)
    std::cerr << orv::_("%d changed, %d recalculated, %s\n", countChanges(*changes),
                        graph->takeCalculations(), millisecondsText(time.count()));
  if (m_options.traceFiles)
    printFiles(*Host::current());
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
