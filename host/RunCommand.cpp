#include "RunCommand.h"

#include "platform/ORVError.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLUpdateInfo.h"
#include "actions/ORVMPStream.h"
#include "FileActions.h"
#include "Host.h"
#include "ObjectText.h"
#include "Trace.h"
#include "Values.h"

#include <chrono>
#include <iostream>
#include <optional>
#include <utility>

RunCommand::RunCommand(Options options) : m_options(std::move(options))
{
  m_options.input.endsProgram = true;
}

int RunCommand::run()
{
  return runWithTexts(m_options.input, [this](Texts& texts) {
    enter(texts);
    printState();
  });
}

void RunCommand::enter(Texts& texts)
{
  std::optional<NotificationTrace> notifications;
  if (m_options.traceNotifications)
    notifications.emplace();
  std::optional<GraphTrace> graph;
  if (m_options.traceGraph || m_options.timings)
    graph.emplace(m_options.traceGraph);
  std::optional<ResultsTrace> results;
  if (m_options.traceResults)
    results.emplace();
  if (m_options.traceChanges || m_options.timings)
    orv::KSLCoreAPI::instance()->recordKSLChanges(true);
  GraphTrace* const trace = graph ? &*graph : nullptr;
  const auto enterFile = [&](const std::string& file, EnteredText (*text)(const std::string&)) {
    return file.empty() || enterWatched(text(file), trace);
  };

  std::optional<orv::SessionFile> session;
  if (!m_options.replay.empty())
    session = readSession();  // before anything is done: it may be refused
  // What follows would not be what was asked for without these.
  if (!enterFile(m_options.record, startRecordingText))
    return;
  const orv::ScopeGuard endRecording([this] {
    if (!m_options.record.empty())
      enterText(endRecordingText());
  });
  if (!enterFile(m_options.load, loadStateText))
    return;
  if (m_options.autoSave)
    beginAutoSave();
  const orv::ScopeGuard endAutoSave([this] { m_autoSave.reset(); });
  if (session)
    replay(*session, trace);
  for (EnteredText& text : texts)
    enterWatched(text, trace);
  if (enterFile(m_options.save, saveStateText) && m_autoSave)
    m_autoSave->endWell();
}

void RunCommand::beginAutoSave()
{
  m_autoSave.emplace(AutoSave::folderFor(m_options.load, m_options.save, m_options.record),
                     std::vector{m_options.load, m_options.save});
  if (!m_autoSave->leftover().empty())
    std::cerr << "The last session here did not end well; what was saved of it is in "
              << m_autoSave->leftover() << ".\n";
  m_autoSave->settleLeftover();
}

orv::SessionFile RunCommand::readSession() const
{
  orv::SessionFile session = orv::SessionFile::read(m_options.replay);
  if (session.empty())  // the class is named as by "> readsession"
    throw orv::file::error("ReadStateExecutor", "invoke", orv::_("Session file contains no data."));
  if (!m_options.keepWhole)
    session.requireWhole();
  return session;
}

// Command by command, so that one that failed when it was recorded fails alone, and an undo has a step to undo.
void RunCommand::replay(const orv::SessionFile& session, GraphTrace* graph)
{
  const orv::ScopeGuard reset([] {
    Host::current()->passOverSaves(false);
    orv::ORVMPStream::setFallbackDirectory({});
  });
  Host::current()->passOverSaves(!m_options.writeFiles);
  if (m_options.replayAsOne) {
    enterWatched(replayText(m_options.replay), graph);
    return;
  }
  orv::ORVMPStream::setFallbackDirectory(orv::ORVFile::getPath(m_options.replay));
  for (const orv::SessionFile::Command& command : session.commands())
    if (!enterWatched(command, graph))
      std::cerr << m_options.replay << ':' << command.line << ": this command failed, the replay goes on\n";
}

bool RunCommand::enter(const orv::SessionFile::Command& command) const
{
  return enterText(command, m_options.replay);
}

template <class Text>
bool RunCommand::enterWatched(Text&& text, GraphTrace* graph)
{
  using Clock = std::chrono::steady_clock;
  if (m_autoSave)
    m_autoSave->saveIfDue();  // a calculation may end the program
  const Clock::time_point start = Clock::now();
  const bool good = enter(text);
  const std::chrono::duration<double> time = Clock::now() - start;
  if (m_autoSave)
    m_autoSave->saveIfDue();
  const orv::KSLUpdateInfo* changes = orv::KSLCoreAPI::instance()->getUpdateInfo();
  if (m_options.traceChanges)
    printChanges(*changes);
  if (m_options.timings)
    std::cerr << summaryText(*changes, graph->takeCalculations(), time.count());
  if (m_options.traceFiles)
    printFiles(*Host::current());
  return good;
}

void RunCommand::printState() const
{
  if (m_options.state.empty())
    return;
  if (m_options.input.format == ReportFormat::json) {
    std::cout << stateJson(m_options.state);
    return;
  }
  std::string text;
  for (const std::string& list : m_options.state)
    text += stateText(list);
  std::cout << text;
}
