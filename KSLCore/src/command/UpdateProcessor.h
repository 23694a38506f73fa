// Applies changes to the typed objects and records how to take them back.
#pragma once

#include "platform/ORVKSLAPI.h"
#include "platform/internal/ChangeGroup.h"

#include <set>
#include <string>
#include <vector>

namespace orv {

class DBUpdater;
class KSLObject;
class Progress;
class RecoveryLog;
class UndoneObjects;

// A list is applied group by group: an object is looked up once for the parameters that it gets, and its inverse is
// recorded in one piece. Where a modifier wants to see each inverse, in a recovery, and where updates create no objects,
// changes are applied one by one.
//
// One recording rule: the inverse of a change is in the history before the change is made, and is taken out again,
// which cannot fail, when the change threw and left nothing behind. The database deletes an object with its contents,
// which the list names one by one behind it: their inverses are part of the one change. Replays pass over what is
// there already, so an inverse may stand there whose change came to nothing; of a group only those stay that were made.
//
// Objects are created when a parameter needs them, for a replay may meet parameters before their object. A
// path that was reported new and got no parameter yet waits; whenever an object is created, those waiting are
// created first, in the order reported, so that objects appear in the order of the text. createWaiting makes
// what is left at the end.
class UpdateProcessor : public KSLChangeProcessor {
 public:
  // Without a history nothing is recorded. With a log it goes on past what fails.
  UpdateProcessor(DBUpdater* updater, KSLChangeList* history, RecoveryLog* log = nullptr)
      : m_updater(updater),
        m_history(history),
        m_log(log)
  {}
  // Of an undo, which keeps the objects that it takes out, or of the redo, which puts them back. None is owned.
  void keepTakenOut(UndoneObjects* undone) { m_takenOut = undone; }
  void putBackFrom(UndoneObjects* undone) { m_toPutBack = undone; }

  void newObject(const std::string& path) override { newObject(SharedText(path)); }
  void deletedObject(const std::string& path) override { deletedObject(SharedText(path)); }
  void newParam(const std::string& path, const std::string& name, const std::string& value) override
  {
    newParam(SharedText(path), name, value);
  }
  void changedParam(const std::string& path, const std::string& name, const std::string& newValue,
                    const std::string&) override
  {
    changedParam(SharedText(path), name, newValue);
  }
  void deletedParam(const std::string& path, const std::string& name, const std::string&) override
  {
    deletedParam(SharedText(path), name);
  }
  void visit(const KSLChange& change) override;

  // How many were applied.
  std::size_t process(const KSLChangeList& changes);
  void createWaiting();
  // The objects to update because they changed, in the order in which they did, some more than once.
  std::vector<SharedText> takeChanged() { return std::move(m_changed); }

 private:
  // An object that was reported new and waits; or one that was deleted, and with it what waited below it.
  struct Waiting {
    SharedText path;
    bool deleted;
  };

  // How many changes it applied of a group, `at` of which are: all the others, or none when they are to be applied one
  // by one.
  std::size_t applyGroup(const ChangeGroup& group, std::size_t at, Progress& progress);
  class GroupRecord;
  void createGroup(const ChangeGroup& group, Progress& progress);
  bool putBack(const SharedText& path, const store::ParamRun& params);
  void removeGroup(const ChangeGroup& group);
  void changeParam(const ChangeGroup& group);
  KSLObject* objectToSet(const SharedText& path);
  static void dropDeleted(std::vector<Waiting>& waiting);
  void make(const KSLChange& change);
  void newObject(const SharedText& path);
  void deletedObject(const SharedText& path);
  void newParam(const SharedText& path, const std::string& name, const std::string& value);
  void changedParam(const SharedText& path, const std::string& name, const std::string& newValue);
  void deletedParam(const SharedText& path, const std::string& name);
  void ensureObject(const SharedText& path);
  void create(const SharedText& path);
  void forget(const SharedText& deletedPath);
  void noteChanged(const SharedText& path);
  void noteChanged(const SharedText& path, const KSLObject* object);
  void noteVisited(const SharedText& path);
  void apply(const KSLChange& change);
  bool wentAlong() const;
  void visitRecorded(const KSLChange& change);
  void record(const KSLChange& change);

  DBUpdater* m_updater;                   // not owned
  KSLChangeList* m_history;               // not owned
  RecoveryLog* m_log;                     // not owned
  UndoneObjects* m_takenOut = nullptr;    // not owned
  UndoneObjects* m_toPutBack = nullptr;   // not owned
  SharedText m_lastChanged;               // noted already, or nothing to be noted
  SharedText m_objectPath;                // of the parameter visited last, when that is there; else empty
  std::size_t m_objectCount = 0;          // the updater's count of changes then
  bool m_sameObject = false;              // the change under way is one of its parameters, too
  const KSLChangeList* m_list = nullptr;  // under way
  std::size_t m_visited = 0;              // of its changes
  std::size_t m_recorded = 0;             // of its changes; ahead of the visit in a deletion
  std::size_t m_goneCount = 0;            // the updater's count of changes behind that deletion
  std::vector<SharedText> m_changed;
  std::vector<Waiting> m_waiting;  // in the order reported
};

// Applies parameter changes that calculations made to their own results: set, and not recorded.
class InternalParamUpdateProcessor : public KSLChangeProcessor {
 public:
  explicit InternalParamUpdateProcessor(DBUpdater* updater) : m_updater(updater) {}
  void newObject(const std::string& path) override;
  void deletedObject(const std::string& path) override;
  void newParam(const std::string& path, const std::string& name, const std::string& value) override;
  void changedParam(const std::string& path, const std::string& name, const std::string& newValue,
                    const std::string& oldValue) override;
  void deletedParam(const std::string& path, const std::string& name, const std::string& value) override;
  const std::set<SharedText>& getChanged() const { return m_changed; }

 private:
  DBUpdater* m_updater;  // not owned
  std::set<SharedText> m_changed;
};

}  // namespace orv
