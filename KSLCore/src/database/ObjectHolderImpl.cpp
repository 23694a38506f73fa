#include "database/ObjectHolderImpl.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/internal/SmallBlocks.h"
#include "database/KSLObject.h"
#include "database/PointerIndex.h"
#include "database/SiblingGroup.h"

#include <algorithm>
#include <map>
#include <string_view>

namespace orv {

// Few children stand in one list, in order of addition, and are searched; that is what most objects have.
// Many are listed by type and indexed by name. The step to many is never taken back while there are children.
class ObjectHolderImpl::Children {
 public:
  bool empty() const { return m_many ? m_many->byName.size() == 0 : m_few.empty(); }
  bool contains(const KSLObject* child) const;
  void add(KSLObject* child);
  bool remove(KSLObject* child);
  KSLObject* first();
  template <class Visit>
  void forEach(Visit visit) const;
  template <class Visit>
  void forEachOfType(const std::string& type, Visit visit) const;
  template <class Visit>
  void forEachOfName(const std::string& name, Visit visit) const;

 private:
  static constexpr std::size_t few = 16;
  struct NameOf {
    std::string_view operator()(const KSLObject& object) const { return object.getName(); }
  };
  struct Many {
    std::map<std::string, SiblingGroup> byType;
    PointerIndex<KSLObject, NameOf> byName;
    void add(KSLObject* child);
    bool remove(KSLObject* child);
  };

  static std::uint32_t& slotOf(KSLObject& child) { return child.m_siblingSlot; }
  static bool typeBefore(const KSLObject* a, const KSLObject* b) { return a->getType() < b->getType(); }

  std::vector<KSLObject*> m_few;
  std::unique_ptr<Many> m_many;
};

void ObjectHolderImpl::Children::Many::add(KSLObject* child)
{
  const auto group = byType.try_emplace(child->getType()).first;
  try {
    byName.insert(child);
    slotOf(*child) = group->second.append(child);
  } catch (...) {
    byName.erase(child);
    if (group->second.empty())
      byType.erase(group);
    throw;
  }
}

bool ObjectHolderImpl::Children::Many::remove(KSLObject* child)
{
  const auto group = byType.find(child->getType());
  if (group == byType.end() || !group->second.remove(child, slotOf))
    return false;
  byName.erase(child);
  if (group->second.empty())
    byType.erase(group);
  return true;
}

bool ObjectHolderImpl::Children::contains(const KSLObject* child) const
{
  if (!m_many)
    return std::find(m_few.begin(), m_few.end(), child) != m_few.end();
  return m_many->byName.findIf(child->getName(), [child](const KSLObject* found) { return found == child; });
}

void ObjectHolderImpl::Children::add(KSLObject* child)
{
  if (!m_many && m_few.size() < few) {
    m_few.push_back(child);
    return;
  }
  if (!m_many) {
    auto many = std::make_unique<Many>();
    for (KSLObject* old : m_few)
      many->add(old);
    many->add(child);
    m_many = std::move(many);
    m_few = {};
    return;
  }
  m_many->add(child);
}

bool ObjectHolderImpl::Children::remove(KSLObject* child)
{
  if (m_many)
    return m_many->remove(child);
  const auto place = std::find(m_few.begin(), m_few.end(), child);
  if (place == m_few.end())
    return false;
  m_few.erase(place);
  return true;
}

KSLObject* ObjectHolderImpl::Children::first()
{
  if (m_many)
    return m_many->byType.begin()->second.first();
  return *std::min_element(m_few.begin(), m_few.end(), typeBefore);
}

template <class Visit>
void ObjectHolderImpl::Children::forEach(Visit visit) const
{
  if (m_many) {
    for (const auto& [type, group] : m_many->byType)
      group.forEach(visit);
    return;
  }
  KSLObject* sorted[few];
  const auto end = std::copy(m_few.begin(), m_few.end(), sorted);
  std::stable_sort(sorted, end, typeBefore);
  std::for_each(sorted, end, visit);
}

template <class Visit>
void ObjectHolderImpl::Children::forEachOfType(const std::string& type, Visit visit) const
{
  if (m_many) {
    const auto group = m_many->byType.find(type);
    if (group != m_many->byType.end())
      group->second.forEach(visit);
    return;
  }
  for (KSLObject* child : m_few) {
    if (child->getType() == type)
      visit(child);
  }
}

template <class Visit>
void ObjectHolderImpl::Children::forEachOfName(const std::string& name, Visit visit) const
{
  const auto visitAll = [&visit](KSLObject* child) {
    visit(child);
    return false;
  };
  if (m_many) {
    m_many->byName.findIf(name, visitAll);
    return;
  }
  for (KSLObject* child : m_few) {
    if (child->getName() == name)
      visit(child);
  }
}

// ------------------------------------------------------------------------------------------------------- holder

ObjectHolderImpl::ObjectHolderImpl(ObjectHolder* parent, KSLObject* object)
    : m_parent(parent),
      m_object(object)
{}

ObjectHolderImpl::~ObjectHolderImpl() = default;

void* ObjectHolderImpl::operator new(std::size_t)
{
  static_assert(sizeof(ObjectHolderImpl) == 32);
  return SmallBlocks<sizeof(ObjectHolderImpl)>::take();
}

void ObjectHolderImpl::operator delete(void* memory) noexcept
{
  if (memory)
    SmallBlocks<sizeof(ObjectHolderImpl)>::give(memory);
}

std::vector<KSLObject*> ObjectHolderImpl::getChildObjects() const
{
  std::vector<KSLObject*> children;
  if (m_children)
    m_children->forEach([&children](KSLObject* child) { children.push_back(child); });
  return children;
}

std::vector<KSLObject*> ObjectHolderImpl::getChildObjectsByName(const std::string& name) const
{
  std::vector<KSLObject*> children;
  if (m_children)
    m_children->forEachOfName(name, [&children](KSLObject* child) { children.push_back(child); });
  return children;
}

std::vector<KSLObject*> ObjectHolderImpl::getChildObjectsByType(const std::string& type) const
{
  std::vector<KSLObject*> children;
  if (m_children)
    m_children->forEachOfType(type, [&children](KSLObject* child) { children.push_back(child); });
  return children;
}

KSLObject* ObjectHolderImpl::getParentObject() const
{
  return m_parent ? m_parent->getObject() : nullptr;
}

void ObjectHolderImpl::forEachChild(const ChildVisitor& visit) const
{
  if (m_children)
    m_children->forEach([&visit](KSLObject* child) { visit(child); });
}

KSLObject* ObjectHolderImpl::getFirstChild() const
{
  return m_children && !m_children->empty() ? m_children->first() : nullptr;
}

void ObjectHolderImpl::addChildObject(KSLObject* child)
{
  if (m_children && m_children->contains(child)) {
    throw internal::error("ObjectHolderImpl", "addChildObject",
                          _("Attempt to add child to object '%s' more than once.", m_object->getPath()));
  }
  if (!m_children)
    m_children = std::make_unique<Children>();
  m_children->add(child);
}

void ObjectHolderImpl::removeChildObject(KSLObject* child)
{
  if (!m_children || !m_children->remove(child)) {
    throw internal::error("ObjectHolderImpl", "removeChildObject",
                          _("Error removing of object '%s'.", child->getPath()));
  }
  if (m_children->empty())
    m_children.reset();
}

}  // namespace orv
