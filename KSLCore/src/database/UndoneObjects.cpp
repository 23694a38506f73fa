#include "database/UndoneObjects.h"

#include "platform/internal/SmallBlocks.h"
#include "database/DataKSLObject.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "database/ObjectHolder.h"

#include <cstddef>
#include <memory>
#include <new>
#include <typeinfo>

namespace orv {

struct UndoneObjects::Kept {
  std::unique_ptr<KSLObject> object;
  store::ParamRun params;
  Kept* beneath;

  static void* operator new(std::size_t)
  {
    static_assert(sizeof(Kept) == 32);
    return SmallBlocks<sizeof(Kept)>::take();
  }
  static void operator delete(void* memory) noexcept { SmallBlocks<sizeof(Kept)>::give(memory); }
};

UndoneObjects::~UndoneObjects()
{
  while (m_top)
    drop();
}

void UndoneObjects::drop() noexcept
{
  const std::unique_ptr<Kept> top(m_top);
  m_top = top->beneath;
}

void UndoneObjects::append(UndoneObjects later) noexcept
{
  if (!later.m_top)
    return;
  Kept* lowest = later.m_top;
  while (lowest->beneath)
    lowest = lowest->beneath;
  lowest->beneath = m_top;
  m_top = std::exchange(later.m_top, nullptr);
}

// ---------------------------------------------------------------------------------------------------------- taking out

bool UndoneObjects::canTake(const ObjectDB& database, const KSLObject& object, const store::ParamRun& params)
{
  return isUnseen(database) && typeid(object) == typeid(DataKSLObject) && object.m_storingClass
         && !object.isObserved() && !params.empty() && !database.holderOf(&object)->getFirstChild()
         && object.m_params.holdsJust(params);
}

// Whether an object has the path that it is given, and nobody hears of it.
bool UndoneObjects::isUnseen(const ObjectDB& database)
{
  return !database.m_changeNotify && !database.m_pathNormaliseFun && !KSLObject::hasPathNormaliser();
}

void UndoneObjects::take(ObjectDB& database, KSLObject& object, const store::ParamRun& params)
{
  std::unique_ptr<Kept> kept(new Kept{nullptr, params, m_top});
  ObjectHolder* const holder = database.holderOf(&object);
  object.setPendingDelete(true);
  database.unlist(holder);
  object.setParentChildInfo(nullptr);
  delete holder;
  kept->object.reset(&object);
  object.m_dependents.reset();
  object.m_siblingSlot = 0;
  object.m_validData = true;
  object.m_pendingDelete = false;
  object.m_searchUp = false;
  object.m_valueAllowed = false;
  object.m_lineUnread = false;
  object.m_params.markChanged();
  m_top = kept.release();
}

// -------------------------------------------------------------------------------------------------------- putting back

// The prototype of its type, when a new object would begin as this one did.
const KSLObject* UndoneObjects::prototypeOf(const KSLObject& object)
{
  const KSLObject* const prototype = ObjectFactory::instance()->findPrototype(object.getType());
  const bool isSame = prototype && typeid(*prototype) == typeid(DataKSLObject) && prototype->m_name.empty()
                      && prototype->m_singleton == object.m_singleton && prototype->m_type.same(object.m_type)
                      && prototype->m_params.givesLayoutOf(object.m_params);
  return isSame ? prototype : nullptr;
}

KSLObject* UndoneObjects::putBack(ObjectDB& database, const SharedText& path, const store::ParamRun& params)
{
  if (!m_top || !m_top->params.sharesWith(params) || m_top->params.size() != params.size()
      || !isUnseen(database))
    return nullptr;
  KSLObject& object = *m_top->object;
  ObjectHolder* const parent = object.m_path == path ? database.findParentHolder(path) : nullptr;
  const KSLObject* const prototype = parent ? prototypeOf(object) : nullptr;
  if (!prototype)
    return nullptr;
  object.m_category = prototype->m_category;
  object.m_rules = prototype->m_rules;
  object.m_path = path;
  database.insert(parent, &object);
  (void)m_top->object.release();  // the database's
  drop();
  return &object;
}

}  // namespace orv
