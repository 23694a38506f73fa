// Hears of changes of the object database.
#pragma once

#include "platform/ORVExport.h"
#include "database/ObjectChangeNotify.h"

#include <string>

namespace orv {

// Never owned by what it observes; it must outlive its registration.
class ORV_API DBChangeNotify : public ObjectChangeNotify {
 public:
  ~DBChangeNotify() override;
  virtual void objectAdded(const KSLObject* object) = 0;
  // Brackets the deletion of an object and all that lies below it. The deletion did not happen when the end
  // gives the object; otherwise the object is gone and the end gives null.
  virtual void objectDeleteBegin(const KSLObject* object) = 0;
  virtual void objectDeleteEnd(const std::string& path, const KSLObject* objectOrNull) = 0;
};

}  // namespace orv
