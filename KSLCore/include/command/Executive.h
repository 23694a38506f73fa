// Turns changes of the text store into changes of typed objects, and action lines into actions.
#pragma once

#include "platform/ORVExport.h"
#include "platform/ORVUtilities.h"

#include <deque>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orv {

class ActionExecutor;
class ActionFactory;
class DBUpdater;
class DependentUpdates;
class KSLAPI;
class KSLChangeList;
class KSLObject;
class LinkTransaction;
class ObjectDB;
class RecoveryLog;
class UndoneObjects;
class UpdateProcessor;
struct Relocation;

// One exists; the host creates and owns it and gives it to KSLInterface::setExecutive.
class ORV_API Executive {
 public:
  Executive();
  Executive(const Executive&) = delete;
  Executive& operator=(const Executive&) = delete;
  virtual ~Executive();

  // Not owned.
  void setActionFactory(ActionFactory* factory)
  {
    m_actionFactory = factory;
    m_updateExecutor = nullptr;
  }
  ActionFactory* getActionFactory() const { return m_actionFactory; }

  // Runs one action line without its ">". ksl::invalid, class "Executive", function "doAction", "Empty action
  // line."; internal::error "Pointer to ActionFactory not set." without a factory; what
  // ActionFactory::getExecutor and the executor throw.
  void doAction(std::string line);
  // The same for an update that was put into a text: whatever executor serves the word is called with it.
  void doUpdate();

  // Applies changes to the database and lets the changed objects recompute, in path order. The inverse of each
  // change is appended to `history` before it is made, and taken out when it left nothing behind. Objects are created on
  // demand, parents first; objects that the changes name without giving them a parameter are created too. May be
  // called while an update is under way, then with the same history: internal::error, class "Executive", function
  // "update" otherwise. From an object's recomputation it applies at once. While changes are being applied (an
  // observer of the database, a watcher) its changes wait until those under way are made, for that is their order
  // in the store. Failures pass on; what was applied until then stands in `history`. Linear in the changes and what
  // they touch.
  void update(const KSLChangeList& changes, KSLChangeList* history, KSLAPI* store);
  // The same for changes that come from a history list. An undo may keep the objects that it takes out, and a redo put
  // those back.
  void replay(const KSLChangeList& changes, KSLChangeList* history, KSLAPI* store,
              UndoneObjects* takenOut = nullptr, UndoneObjects* toPutBack = nullptr);
  // The same for a recovery, which goes on past what fails, notes it in the log, and records nothing. REQUIRES: no
  // update is under way.
  void recover(const KSLChangeList& changes, KSLAPI* store, RecoveryLog& log);
  bool isUpdating() const { return m_depth > 0; }
  // The copy or rename that the updates to come are parts of, so that names follow it; not owned, null for none.
  // Returns the one before.
  const Relocation* setRelocation(const Relocation* relocation) noexcept
  {
    return std::exchange(m_relocation, relocation);
  }
  // Sets parameters of objects that exist, without marking or recomputing anything; creates and deletes
  // nothing. The inverses of all changes are recorded all the same. The store is not used.
  void updateNoAction(const KSLChangeList& changes, KSLChangeList* history, KSLAPI* store);

  // Recomputes objects, given by path or name, even though nothing changed. Entries that name nothing, several
  // objects, or one that does not compute are reported and skipped. Failing calculations pass on, unless
  // schedulers catch them.
  void forceUpdate(const std::vector<std::string>& names);

 private:
  friend class ExecutiveTest;

  void doAction(const std::vector<std::string>& words);
  std::vector<KSLObject*> createNewObject(const std::string& parentPath, const std::string& type,
                                          const std::string& name);
  KSLObject* doCreateNewObject(std::vector<KSLObject*>& created, const std::string& parentPath,
                               const std::string& type, const std::string& name);
  struct Work;
  void run(const Work& work);
  void applyUpdate(const Work& work);
  void applyAll(const KSLChangeList& changes, const Work& work, LinkTransaction& links);
  static void applyDependents(const Work& work, DependentUpdates& dependents, LinkTransaction& links,
                              UpdateProcessor& processor);
  void applyInternal(const Work& work, DependentUpdates& dependents, DBUpdater& updater);
  void appendToChangedObjects(const std::set<SharedText>& paths);
  void appendToChangedObjects(std::vector<SharedText> paths);
  void updateChangedObjects(ObjectDB* database, RecoveryLog* log);
  void forceUpdateOf(const std::string& name);
  void resetChangeProcessing();

  const std::vector<std::string> m_updateWords;
  std::deque<SharedText> m_pendingUpdates;     // paths of the objects whose update is due
  bool m_updating = false;                     // the queue is being drained
  bool m_applying = false;                     // changes are being applied
  std::unique_ptr<KSLChangeList> m_deferred;   // to be applied after those
  KSLChangeList* m_currentHistory = nullptr;   // of the outermost update under way; not owned
  const Relocation* m_relocation = nullptr;    // not owned
  int m_depth = 0;                             // updates under way
  ActionFactory* m_actionFactory = nullptr;    // not owned
  ActionExecutor* m_updateExecutor = nullptr;  // the factory's, once it was found
};

}  // namespace orv
