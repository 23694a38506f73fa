// The object database as a tree of objects with parameters.
#pragma once

#include "platform/ORVAbstractDataModels.h"

namespace orv {

// A view: keeps no objects, so it never goes stale. The empty path is the root. Whatever is unknown reads as
// empty.
class ORV_API KSLCoreTreeAndLeafModel final : public TreeAndLeafReadModel {
 public:
  KSLCoreTreeAndLeafModel() = default;
  ~KSLCoreTreeAndLeafModel() override;
  bool hasObject(const KSLPath& path) const override;
  std::vector<KSLPath> getChildren(const KSLPath& path) const override;  // in child order
  // All, internal ones included, in name order.
  std::vector<std::string> getParameterNames(const KSLPath& path) const override;
  std::string getParameterValue(const KSLPath& path, const std::string& name) const override;  // as stored
  bool isSingleton(const KSLPath& path) const override;
  // External parameters in name order, also those that do not belong to the object's present context; an empty one
  // that was set is told as such. The objects must not change meanwhile.
  void visitSettings(const KSLPath& path, TreeVisitor& visitor) const override;
};

}  // namespace orv
