#include "StepNames.h"

#include "platform/ORVUtilities.h"
#include "command/ActionExecutor.h"
#include "command/KSLInterface.h"

#include <algorithm>
#include <utility>

namespace {

bool isAction(const std::string& command, std::string_view word)
{
  if (command.empty() || command.front() != '>')
    return false;
  return orv::ActionExecutor::splitActionLine(command.substr(1)).front() == word;
}

// "TYPE: name" as paths have it.
std::string pathLike(const std::string& text)
{
  if (text.starts_with('/') || text.find(':') == std::string::npos)
    return orv::PathUtils::normalisePathBwdComp(text);
  const auto [type, name] = orv::StringUtilities::splitObjectTypeAndName(text);
  return "/" + type + ":" + name;
}

// Whether a path is that of the object, or of one below it. Of an object at the top the name will do.
bool isOf(std::string_view path, std::string_view object)
{
  if (object.front() != '/')
    path.remove_prefix(path.find(':') == std::string_view::npos ? 1 : path.find(':') + 1);
  return path.starts_with(object) && (path.size() == object.size() || path[object.size()] == '/');
}

const std::string& nameFor(const std::string& moved, const std::string& command)
{
  return moved.empty() ? command : moved;
}

}  // namespace

StepNames::StepNames(const orv::KSLInterface& commands) : m_commands(commands)
{
  follow("(before)");
}

void StepNames::follow(const std::string& command)
{
  const orv::HistoryStack& undo = m_commands.getUndoStack();
  const orv::HistoryStack& redo = m_commands.getRedoStack();
  const std::string undone = shrink(m_undo, undo);
  const std::string redone = shrink(m_redo, redo);
  // What is on the undo stack anew is a step that was done again, or one of this command, which ended what could
  // be done again.
  grow(m_undo, undo, isAction(command, "redo") ? nameFor(redone, command) : command);
  grow(m_redo, redo, isAction(command, "undo") ? nameFor(undone, command) : command);
}

std::size_t StepNames::undosTo(const std::string& what) const
{
  const std::string name = orv::StringUtilities::simplifyWhitespace(what);
  const std::string object = pathLike(name);
  const orv::HistoryStack& steps = m_commands.getUndoStack();
  const auto isMeant = [&object](const orv::SharedText& path) {
    return isOf(orv::WholePath(path).str(), object);
  };
  for (std::size_t i = m_undo.names.size(); !object.empty() && i-- > 0;)
    if (m_undo.names[i] == name || steps.touches(i, isMeant))
      return m_undo.names.size() - i;
  return 0;
}

std::string StepNames::shrink(Stack& stack, const orv::HistoryStack& steps)
{
  std::vector<std::string>& names = stack.names;
  // As many as before and another on top: one went and one came.
  const bool isExchanged = !names.empty() && names.size() == steps.size() && stack.top != steps.topId();
  std::string dropped;
  while (names.size() > steps.size() - (isExchanged ? 1 : 0)) {
    dropped = std::move(names.back());
    names.pop_back();
  }
  return dropped;
}

void StepNames::grow(Stack& stack, const orv::HistoryStack& steps, const std::string& name)
{
  stack.names.resize(steps.size(), name);
  stack.top = steps.topId();
}
