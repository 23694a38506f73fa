// Keeps what it observes of the database as a list of update items.
#pragma once

#include "database/DBChangeNotify.h"
#include "command/KSLUpdateInfo.h"

#include <string>
#include <string_view>
#include <vector>

namespace orv {

class KSLObject;
class ParamDefinition;

// Records additions (a snapshot of all parameters), changed and removed parameters, and deletions. What goes
// with a deleted object, its parameters and all below it, is not recorded: the deletion says it.
//
// A notification costs O(log recorded); an addition, the object's parameters.
class ORV_API KSLUpdateRecorder : public KSLUpdateInfo, public DBChangeNotify {
 public:
  KSLUpdateRecorder();
  ~KSLUpdateRecorder() override;
  KSLUpdateRecorder(const KSLUpdateRecorder&) = delete;
  KSLUpdateRecorder& operator=(const KSLUpdateRecorder&) = delete;

  void reset() override;
  int getCurrentID() const override { return m_currentId; }
  bool isSynchronised(int id) const override { return id >= m_synchronisedId; }
  std::pair<UpdateList::const_iterator, UpdateList::const_iterator> getUpdates() const override;

  // An object without parameters is entered with none.
  void objectAdded(const KSLObject* object) override;
  void objectDeleteBegin(const KSLObject* object) override;
  // With an object, the deletion did not happen: its state is recorded again.
  void objectDeleteEnd(const std::string& path, const KSLObject* objectOrNull) override;
  void paramChanged(const KSLObject* object, const ParamDefinition* param) override;
  void paramDeleted(const KSLObject* object, const std::string& paramName) override;

 private:
  UpdateItem& currentItem(UpdateType type);
  bool isCoveredByDeletion(std::string_view path) const;
  void recordState(const std::string& path, const KSLObject& object);

  std::vector<std::string> m_deletions;  // paths of the objects whose deletion is in progress, innermost last
  UpdateType m_lastType = noUpdate;      // of the last item
  UpdateList m_items;
  int m_currentId = 0;
  int m_synchronisedId = 0;
};

}  // namespace orv
