#include "StepNames.h"

#include "command/ActionExecutor.h"
#include "command/KSLInterface.h"

#include <utility>

namespace {

bool isAction(const std::string& command, std::string_view word)
{
  if (command.empty() || command.front() != '>')
    return false;
  return orv::ActionExecutor::splitActionLine(command.substr(1)).front() == word;
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
