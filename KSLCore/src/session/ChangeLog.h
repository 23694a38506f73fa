// What commands change, one after the other.
#pragma once

#include "database/DBChangeNotify.h"
#include "session/Outcome.h"

#include <string>
#include <vector>

namespace orv {

class ChangeLog : public DBChangeNotify {
 public:
  // Of what was deleted later nothing is said but that. O(changes times depth).
  std::vector<Change> take();
  void clear() noexcept { m_changes.clear(); }

  void objectAdded(const KSLObject* object) override;
  void objectDeleteBegin(const KSLObject*) override {}
  void objectDeleteEnd(const std::string& path, const KSLObject* objectOrNull) override;
  void paramChanged(const KSLObject* object, const ParamDefinition* param) override;
  void paramDeleted(const KSLObject* object, const std::string& paramName) override;

 private:
  std::vector<Change> m_changes;
};

}  // namespace orv
