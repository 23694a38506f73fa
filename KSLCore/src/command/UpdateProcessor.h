// Applies changes to the typed objects and records how to take them back.
#pragma once

#include "platform/ORVKSLAPI.h"

#include <set>
#include <string>
#include <vector>

namespace orv {

class DBUpdater;
class Progress;

// The inverse of a change is recorded once the change is made, so that the history holds exactly what was
// applied.
//
// Objects are created when a parameter needs them, for a replay may meet parameters before their object. A
// path that was reported new and got no parameter yet waits; whenever an object is created, those waiting are
// created first, in the order reported, so that objects appear in the order of the text. createWaiting makes
// what is left at the end.
class UpdateProcessor : public KSLChangeProcessor {
 public:
  UpdateProcessor(DBUpdater* updater, KSLChangeList* history) : m_updater(updater), m_history(history) {}

  void newObject(const std::string& path) override;
  void deletedObject(const std::string& path) override;
  void newParam(const std::string& path, const std::string& name, const std::string& value) override;
  void changedParam(const std::string& path, const std::string& name, const std::string& newValue,
                    const std::string& oldValue) override;
  void deletedParam(const std::string& path, const std::string& name, const std::string& value) override;
  void visit(const KSLChange& change) override;

  // Applies a list, with room made for its inverses beforehand.
  void process(const KSLChangeList& changes);
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
  void record(KSLChange&& inverse);
  void recordFailedDeletion(const KSLChangeList& changes);

  DBUpdater* m_updater;            // not owned
  KSLChangeList* m_history;        // not owned
  std::string m_lastChanged;       // noted already, or not there
  std::string m_deletedTop;        // deleted last; its contents may still be to come in the list
  std::size_t m_visited = 0;       // changes of the list under way
  Progress* m_progress = nullptr;  // of that list; good while it is processed
  std::size_t m_room = 0;          // made in the history for them and not used yet
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
