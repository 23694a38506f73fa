#include "actions/SessionUpdater.h"

#include "platform/ORVError.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "command/SessionUpdateStrategy.h"
#include "actions/ReplaceDirectiveInserter.h"
#include "actions/linesOf.h"

namespace orv {

namespace {

KSLLines wholeLines(const std::string& text)
{
  KSLLines lines;
  for (const std::string& line : StringUtilities::removeContinuation(linesOf(text))) {
    StringUtilities::appendSimplified(lines.begin(), line);
    lines.end();
  }
  return lines;
}

// Each line stays whole: behind a last backslash stands a blank.
std::string textOf(const std::vector<std::string>& lines)
{
  std::string text;
  for (const std::string& line : lines) {
    text += line;
    text += line.ends_with('\\') ? " \n" : "\n";
  }
  return text;
}

}  // namespace

SessionUpdater::SessionUpdater(SessionUpdateStrategy* strategy)
    : m_main(KSLInterface::instance()->getKSLAPI()),
      m_strategy(strategy)
{
  if (!strategy)
    throw internal::error("SessionUpdater", "SessionUpdater", _("Null pointer passed to constructor."));
  m_private.setKindsFrom(m_main);
  m_private.refuseRules(true);
  m_private.registerDefaultActionHandler(this);
  m_private.registerReplaceModeHandler(this);
}

SessionUpdater::~SessionUpdater() = default;

void SessionUpdater::processKSL(const std::string& text)
{
  m_processing = false;
  m_replaced.clear();
  m_private.undo();
  m_private.loadKSLData(wholeLines(text));
  process(flush());
}

void SessionUpdater::objectReplaced(const std::string& path)
{
  m_replaced.insert(KSLPath(path));
}

bool SessionUpdater::handleAction(const std::string& action, const std::vector<std::string>& args)
{
  if (m_processing)
    return false;  // the strategy's output is under way: whoever loads into the private store now must wait
  std::vector<std::string> output = flush();
  m_strategy->handleAction(output, &m_private, m_main, action, args);
  process(output);
  m_replaced.clear();
  m_private.undo();
  return true;
}

std::vector<std::string> SessionUpdater::flush()
{
  std::vector<std::string> output = deleteReplaced();
  m_strategy->prepare(m_main, &m_private);
  m_strategy->acceptExpandedKSL(m_private.getExpandedKSL(), output);
  return output;
}

// The lines that delete what is replaced; none when the main store has done so itself.
std::vector<std::string> SessionUpdater::deleteReplaced() const
{
  std::vector<std::string> paths;
  for (const KSLPath& path : m_replaced)
    if (m_main->doesPathExist(path.getFullPath()))
      paths.push_back(path.getFullPath());
  paths = PathUtils::filterChildPaths(paths);
  if (KSLInterface::instance()->getParseDepth() > 0) {
    for (const std::string& path : paths)
      m_main->deleteObj(path);
    return {};
  }
  for (std::string& path : paths)
    path = "> delete " + StringUtilities::writtenName(path);
  return paths;
}

void SessionUpdater::process(const std::vector<std::string>& output)
{
  if (output.empty())
    return;
  m_processing = true;
  const ScopeGuard done([this] { m_processing = false; });
  KSLCoreAPI::instance()->processKSL(textOf(ReplaceDirectiveInserter(output, m_replaced).insert()),
                                     m_strategy->updateMode());
}

}  // namespace orv
