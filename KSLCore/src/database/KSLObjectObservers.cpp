// Who follows an object: its observer, and the objects that depend on it. And whom it follows: those that it names.
#include "platform/ORVError.h"
#include "database/FormulaNames.h"
#include "database/KSLObject.h"
#include "database/KSLObjectNotify.h"
#include "database/ReferenceRemoval.h"
#include "database/ReferenceResolver.h"

namespace orv {

// --------------------------------------------------------------------------------------------------- observation

void KSLObject::registerObjectChangeNotify(ObjectChangeNotify* observer)
{
  if (!observer) {
    m_params.forEachOwn([](ParamDefinition& param) { param.setNotifyChange(nullptr); });
    m_paramNotify.reset();
    return;
  }
  if (m_paramNotify) {
    throw internal::error("KSLObject", "registerObjectChangeNotify",
                          _("Attempt to register ObjectChangeNotify when one is already registered."));
  }
  auto notify = std::make_unique<ParamNotify>(this, observer);
  std::vector<ParamDefinition*> told;
  try {
    m_params.forEachOwn([&](ParamDefinition& param) {
      told.push_back(&param);
      param.setNotifyChange(notify.get());
    });
  } catch (...) {
    if (!told.empty())
      told.pop_back();  // this one has an observer of its own
    for (ParamDefinition* param : told)
      param->setNotifyChange(nullptr);
    throw;
  }
  m_paramNotify = std::move(notify);
}

// ---------------------------------------------------------------------------------------------------- dependents

namespace {

void requirePointer(const void* pointer, const char* function, const char* name)
{
  if (!pointer)
    throw internal::nullPointer("KSLObject", function, _("Input parameter %s is a null pointer.", name));
}

}  // namespace

void KSLObject::addDependent(KSLObject* object, const ParamDefinition* param)
{
  requirePointer(object, "addDependent", "p_object");
  requirePointer(param, "addDependent", "p_param");
  if (!m_dependents)
    m_dependents = std::make_unique<DependentSet>();
  m_dependents->emplace(object, param);
}

void KSLObject::delDependent(KSLObject* object, const ParamDefinition* param)
{
  requirePointer(object, "delDependent", "p_object");
  requirePointer(param, "delDependent", "p_param");
  if (!m_dependents)
    return;
  const auto found = m_dependents->find(Dependent::Key{object->getSharedPath(), param->getName()});
  if (found != m_dependents->end())
    m_dependents->erase(found);
  if (m_dependents->empty())
    m_dependents.reset();
}

void KSLObject::deleteAllDependent()
{
  std::vector<KSLObject*> waiting{this};
  while (!waiting.empty()) {
    KSLObject* object = waiting.back();
    waiting.pop_back();
    object->m_dependents.reset();
    object->forEachChild([&waiting](KSLObject* child) { waiting.push_back(child); });
  }
}

const DependentSet& KSLObject::getDependents() const
{
  // Never destroyed: static objects of a host may still use it after main.
  static const DependentSet& none = *new DependentSet;
  return m_dependents ? *m_dependents : none;
}

std::vector<const KSLObject*> KSLObject::namedObjects(const ParamDefinition& param) const
{
  const ReferenceResolver resolver(*this, param, param.getValue() == param.getDefaultValue());
  std::vector<const KSLObject*> objects;
  for (const std::string& item : FormulaNames::itemsOf(param, param.getValue()))
    objects.push_back(resolver.find(item).object);
  return objects;
}

void KSLObject::addToDependentUpdates(DependentUpdates* updates) const
{
  ReferenceRemoval::report(*this, updates);
}

}  // namespace orv
