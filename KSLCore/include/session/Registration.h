// What the library brings along for the rules and for action lines, registered at one place.
#pragma once

#include "platform/ORVExport.h"

namespace orv {

class ActionFactory;
class DeletionFilterIF;
class Executive;
class FileChangeManager;
class KSLCopyImpl;
class SessionUpdateStrategy;
class StateChangeObserver;

// The program's say in the library's actions; null for none. Nothing is owned: what is given lives at least as long as
// the factory that the actions are registered with.
struct ActionOptions {
  // "delete": which objects stay.
  DeletionFilterIF* deletionFilter = nullptr;
  // "copy" and "rename": what a copy becomes, and what an object does under its new name.
  KSLCopyImpl* copying = nullptr;
  KSLCopyImpl* renaming = nullptr;
  // "notify", "savestate" and "readstate": told of the files.
  FileChangeManager* files = nullptr;
  // "savestate": its flag is cleared when everything was saved.
  StateChangeObserver* stateChanges = nullptr;
  // "readsession": how sessions are played back.
  SessionUpdateStrategy* replay = nullptr;
};

// Registers each object class of the library as a base type under its own name. Once, before the RULES are processed;
// throws what ObjectFactory::registerBaseType does when a class is there already.
ORV_API void registerObjectClasses();

// Registers an executor for each action word of the library (docs/actions.md), short forms included. A word that the
// program has registered before keeps the program's executor; other words of its own are registered before or after. The
// executors keep the address of the executive.
ORV_API void registerActions(ActionFactory& actions, Executive& executive, const ActionOptions& options = {});

}  // namespace orv
