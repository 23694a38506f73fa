// The object database as a tree of objects with parameters.
#pragma once

#include "platform/ORVAbstractDataModels.h"

namespace orv {

// A view: keeps no objects, so it never goes stale. Paths are read as the database reads them; the empty path
// is the root. Whatever is unknown reads as empty: a parameter that is missing must not end an update. Each call
// is one look-up, plus what it returns.
class ORV_API KSLCoreTreeAndLeafModel final : public TreeAndLeafReadModel {
 public:
  KSLCoreTreeAndLeafModel() = default;
  ~KSLCoreTreeAndLeafModel() override;
  bool hasObject(const KSLPath& path) const override;
  std::vector<KSLPath> getChildren(const KSLPath& path) const override;  // in child order
  // The external ones, in name order.
  std::vector<std::string> getParameterNames(const KSLPath& path) const override;
  // As stored; of any parameter, internal ones included.
  std::string getParameterValue(const KSLPath& path, const std::string& name) const override;
  bool isSingleton(const KSLPath& path) const override;
  // External parameters in name order, also those that do not belong to the object's present context; an empty one
  // that was set is told as such. The objects must not change meanwhile.
  void visitSettings(const KSLPath& path, TreeVisitor& visitor) const override;
};

}  // namespace orv
