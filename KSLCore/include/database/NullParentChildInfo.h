// The place of an object that is in no tree.
#pragma once

#include "database/ParentChildInfo.h"

namespace orv {

// No parent, no children. One instance serves all objects.
class ORV_API NullParentChildInfo final : public ParentChildInfo {
 public:
  static const NullParentChildInfo* instance();

  std::vector<KSLObject*> getChildObjects() const override { return {}; }
  std::vector<KSLObject*> getChildObjectsByName(const std::string&) const override { return {}; }
  std::vector<KSLObject*> getChildObjectsByType(const std::string&) const override { return {}; }
  KSLObject* getParentObject() const override { return nullptr; }
  void forEachChild(const ChildVisitor&) const override {}
};

}  // namespace orv
