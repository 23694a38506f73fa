// Actions on files, in a program of several processes.
#pragma once

#include "command/ActionExecutor.h"
#include "MpiCommunicator.h"

#include <memory>
#include <string>
#include <vector>

namespace orv {
class ActionFactory;
class FileChangeManager;
}  // namespace orv

// What is written one process writes; the others wait whether it could. What is read all read, and only what is the same
// for all. `saving` is the executor of "savestate" of the process that writes, null elsewhere.
void registerSharedActions(orv::ActionFactory& actions, MpiCommunicator& communicator,
                           std::unique_ptr<orv::ActionExecutor> saving, orv::FileChangeManager* files);
