// What undo steps are called.
#pragma once

#include "command/HistoryStack.h"

#include <cstddef>
#include <string>
#include <vector>

namespace orv {
class KSLInterface;
}

// Follows the undo and redo stacks of the command processor from command to command: a step is called what the
// command was called that made it, wherever "> undo" and "> redo" take it.
class StepNames {
 public:
  // Begins with what is on the stacks.
  explicit StepNames(const orv::KSLInterface& commands);

  // To be called after each command, with what it is called.
  void follow(const std::string& command);

  // The oldest first.
  const std::vector<std::string>& undoable() const { return m_undo.names; }
  const std::vector<std::string>& redoable() const { return m_redo.names; }

  // How many steps an undo takes to reach the newest one that is called so, or that has changed the object of this path,
  // "TYPE: name" or name, or one below it; 0 for none. Linear in the objects of these steps.
  std::size_t undosTo(const std::string& what) const;

 private:
  struct Stack {
    std::vector<std::string> names;
    orv::HistoryStack::ListId top = 0;
  };

  // Drops the names of steps that went; the last dropped is returned, empty without one.
  static std::string shrink(Stack& stack, const orv::HistoryStack& steps);
  static void grow(Stack& stack, const orv::HistoryStack& steps, const std::string& name);

  const orv::KSLInterface& m_commands;
  Stack m_undo;
  Stack m_redo;
};
