// Where an object stands in the tree.
#pragma once

#include "platform/ORVExport.h"

#include <functional>
#include <string>
#include <vector>

namespace orv {

class KSLObject;

// Called with one child after the other; must not add or remove children.
using ChildVisitor = std::function<void(KSLObject*)>;

// What an object asks about its place. Children come grouped by type in type order, in the order of their
// addition within a type. The lists are copies: tree walks use forEachChild.
class ORV_API ParentChildInfo {
 public:
  virtual std::vector<KSLObject*> getChildObjects() const = 0;
  virtual std::vector<KSLObject*> getChildObjectsByName(
      const std::string& name) const = 0;  // in order of addition
  virtual std::vector<KSLObject*> getChildObjectsByType(const std::string& type) const = 0;
  virtual KSLObject* getParentObject() const = 0;  // null for the root and for an object outside a tree
  // The children in the order of getChildObjects, without a copy.
  virtual void forEachChild(const ChildVisitor& visit) const = 0;

 protected:
  ~ParentChildInfo() = default;
};

}  // namespace orv
