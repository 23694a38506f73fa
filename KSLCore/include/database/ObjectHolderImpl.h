// The node of the object tree that the database makes.
#pragma once

#include "database/ObjectHolder.h"

#include <cstddef>
#include <memory>

namespace orv {

// A leaf costs four pointers. Adding and removing a child is amortised O(log types), whatever the number and
// order; looking up by name is O(1), by type O(log types + result). A child's type and name must not change
// while it is here.
class ORV_API ObjectHolderImpl final : public ObjectHolder {
 public:
  // Neither is owned. A null parent makes the root's holder.
  ObjectHolderImpl(ObjectHolder* parent, KSLObject* object);
  ObjectHolderImpl(const ObjectHolderImpl&) = delete;
  ObjectHolderImpl& operator=(const ObjectHolderImpl&) = delete;
  ~ObjectHolderImpl() override;
  // There is one for each object: it takes its 32 bytes and no more.
  static void* operator new(std::size_t size);
  static void operator delete(void* memory) noexcept;

  std::vector<KSLObject*> getChildObjects() const override;
  std::vector<KSLObject*> getChildObjectsByName(const std::string& name) const override;
  std::vector<KSLObject*> getChildObjectsByType(const std::string& type) const override;
  KSLObject* getParentObject() const override;
  void forEachChild(const ChildVisitor& visit) const override;

  KSLObject* getObject() const override { return m_object; }
  void addChildObject(KSLObject* child) override;
  void removeChildObject(KSLObject* child) override;
  ObjectHolder* getParentHolder() const override { return m_parent; }
  KSLObject* getFirstChild() const override;

 private:
  class Children;
  std::unique_ptr<Children> m_children;  // null without children
  ObjectHolder* m_parent;
  KSLObject* m_object;
};

}  // namespace orv
