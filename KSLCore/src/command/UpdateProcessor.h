// Applies changes to the typed objects and records how to take them back.
#pragma once

#include "platform/ORVKSLAPI.h"

#include <set>
#include <string>
#include <vector>

namespace orv {

class DBUpdater;
class RecoveryLog;

// One recording rule: the inverse of a change is in the history before the change is made, and is taken out again,
// which cannot fail, when the change threw and left nothing behind. The database deletes an object with its contents,
// which the list names one by one behind it: their inverses are part of the one change. Replays pass over what is
// there already, so an inverse may stand there whose change came to nothing.
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

  void newObject(const std::string& path) override;
  void deletedObject(const std::string& path) override;
  void newParam(const std::string& path, const std::string& name, const std::string& value) override;
  void changedParam(const std::string& path, const std::string& name, const std::string& newValue,
                    const std::string& oldValue) override;
  void deletedParam(const std::string& path, const std::string& name, const std::string& value) override;
  void visit(const KSLChange& change) override;

  // How many were applied.
  std::size_t process(const KSLChangeList& changes);
  void createWaiting();
  const std::set<std::string>& getChanged() const { return m_changed; }

 private:
  // An object that was reported new and waits; or one that was deleted, and with it what waited below it.
  struct Waiting {
    std::string path;
    bool deleted;
  };

  static void dropDeleted(std::vector<Waiting>& waiting);
  void ensureObject(const std::string& path);
  void create(const std::string& path);
  void forget(const std::string& deletedPath);
  void noteChanged(const std::string& path);
  void apply(const KSLChange& change);
  bool goesNext();
  bool wentAlong() const;
  void visitNaming(const KSLChange& change);
  void visitRecorded(const KSLChange& change);
  void record(const KSLChange& change);

  DBUpdater* m_updater;           // not owned
  KSLChangeList* m_history;       // not owned
  RecoveryLog* m_log;             // not owned
  std::string m_lastChanged;      // noted already, or not there
  SharedText m_objectPath;        // of the parameter visited last, when that is there; else empty
  std::size_t m_objectCount = 0;  // the updater's count of changes then
  bool m_sameObject = false;      // the change under way is one of its parameters, too
  std::size_t m_goesBefore = 0;   // changes before this one unset parameters of an object that goes next
  std::size_t m_staysBefore = 0;  // changes before this one are known to be no such
  const KSLChangeList* m_list = nullptr;  // under way
  std::size_t m_visited = 0;              // of its changes
  std::size_t m_recorded = 0;             // of its changes; ahead of the visit in a deletion
  std::size_t m_goneCount = 0;            // the updater's count of changes behind that deletion
  std::set<std::string> m_changed;
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
  const std::set<std::string>& getChanged() const { return m_changed; }

 private:
  DBUpdater* m_updater;  // not owned
  std::set<std::string> m_changed;
};

}  // namespace orv
