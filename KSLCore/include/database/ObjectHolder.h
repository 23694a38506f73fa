// A node of the object tree.
#pragma once

#include "database/ParentChildInfo.h"

namespace orv {

// Ties an object to its parent and children. Owns none of them; lives as long as its object is in the
// database.
class ORV_API ObjectHolder : public ParentChildInfo {
 public:
  virtual ~ObjectHolder();
  virtual KSLObject* getObject() const = 0;
  // A child that is there already throws internal::error, class "ObjectHolderImpl", function
  // "addChildObject", "Attempt to add child to object '%s' more than once." with the path of the holder's
  // object.
  virtual void addChildObject(KSLObject* child) = 0;
  // A child that is not there throws internal::error, class "ObjectHolderImpl", function "removeChildObject",
  // "Error removing of object '%s'." with the child's path.
  virtual void removeChildObject(KSLObject* child) = 0;
  virtual ObjectHolder* getParentHolder() const = 0;  // null for the root's
  // The first of getChildObjects, null without children. Amortised O(1).
  virtual KSLObject* getFirstChild() const = 0;
};

}  // namespace orv
