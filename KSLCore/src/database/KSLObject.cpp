#include "database/KSLObject.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/internal/ContextLocal.h"
#include "database/KSLObjectNotify.h"
#include "database/NullParentChildInfo.h"
#include "database/ObjectChangeNotify.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "database/PathAtHand.h"
#include "database/PreferredUnits.h"
#include "database/RelativeLookup.h"
#include "database/StateTextLogger.h"
#include "database/StateTraversal.h"
#include "database/ValueAtHand.h"

#include <exception>
#include <ostream>

namespace orv {

namespace {

constinit ContextLocal<KSLObject::PathFunction> thePathFunction;  // null is the identity

}  // namespace

KSLObject::KSLObject()
    : m_place(NullParentChildInfo::instance()),
      m_validData(true),
      m_singleton(false),
      m_pendingDelete(false),
      m_searchUp(false),
      m_plainClass(false),
      m_storingClass(false),
      m_valueAllowed(false),
      m_lineUnread(false)
{}

KSLObject::~KSLObject() = default;

// ---------------------------------------------------------------------------------------------------------- tree

std::vector<KSLObject*> KSLObject::getChildObjects() const
{
  return m_place->getChildObjects();
}

std::vector<KSLObject*> KSLObject::getChildObjectsByName(const std::string& name) const
{
  return m_place->getChildObjectsByName(name);
}

std::vector<KSLObject*> KSLObject::getChildObjectsByType(const std::string& type) const
{
  return m_place->getChildObjectsByType(type);
}

KSLObject* KSLObject::getChildObjectByNameAndType(const std::string& typeColonName) const
{
  if (KSLObject* child = RelativeLookup::childOf(*this, typeColonName))
    return child;
  throw data::notFound("KSLObject", "getChildObjectByNameAndType",
                       _("Object '%s' does not exist.", typeColonName));
}

std::vector<KSLObject*> KSLObject::getChildObjectsByCategory(const std::string& category) const
{
  std::vector<KSLObject*> children;
  forEachChild([&](KSLObject* child) {
    if (child->m_category.isA(category))
      children.push_back(child);
  });
  return children;
}

KSLObject* KSLObject::getParentObject() const
{
  KSLObject* parent = m_place->getParentObject();
  return parent ? parent : ObjectDB::instance()->getRoot();
}

KSLObject* KSLObject::getRelativeObject(const std::string& path) const
{
  const std::string simplified = StringUtilities::simplifyPath(path);
  const PathFunction normalise = *thePathFunction;
  return getRelativeObjectInternal(normalise ? normalise(simplified) : simplified);
}

KSLObject* KSLObject::getRelativeObjectInternal(const std::string& path) const
{
  return RelativeLookup::resolve(*this, path);
}

void KSLObject::setParentChildInfo(const ParentChildInfo* info)
{
  m_place = info ? info : NullParentChildInfo::instance();
}

// ------------------------------------------------------------------------------------------------------ identity

bool KSLObject::isA(std::string_view typeOrCategory) const
{
  return typeIs(typeOrCategory) || m_category.isA(typeOrCategory);
}

std::string KSLObject::getTypeNameString() const
{
  std::string text = getType() + ":";
  if (!m_singleton)
    text += m_name;
  return text;
}

std::pair<std::string, std::string> KSLObject::splitObjectTypeAndName(const std::string& text)
{
  const std::string_view bare = StringUtilities::withoutComment(text);
  if (bare.find(':') == std::string_view::npos) {
    throw ksl::invalid(
        "KSLObject", "splitObjectTypeAndName",
        _("Invalid object definition, expected: '%s', received: '%s'", "<objectType>:<objectName>", text));
  }
  return StringUtilities::splitObjectTypeAndName(bare);
}

void KSLObject::registerBaseTypeWithFactory(const std::string& name, KSLObject* prototype)
{
  ObjectFactory::instance()->registerBaseType(name, prototype);
}

void KSLObject::supportOldStylePaths()
{
  *thePathFunction = PathUtils::normalisePathBwdComp;
}

void KSLObject::resetPathNormaliser()
{
  *thePathFunction = nullptr;
}

bool KSLObject::hasPathNormaliser() noexcept
{
  return *thePathFunction != nullptr;
}

void KSLObject::setType(const std::string& type, bool singleton)
{
  m_type = SharedText(type);
  m_singleton = singleton;
}

void KSLObject::setPath(const std::string& parentPath, const std::string& name)
{
  const auto refuse = [](const char* function, std::string message) {
    throw data::invalid("KSLObject", function, std::move(message));
  };
  if (m_type.empty())
    refuse("setPath", _("Attempt to set object path from parent '%s' and name '%s' before type is known.",
                        parentPath, name));
  if (!m_name.empty())
    refuse("setPath", _("Object '%s' already initialized.", m_name));
  if (name.empty())
    refuse("setPath", _("Input parameter %s is empty.", "p_name"));
  if (m_singleton && m_type != name)  // the function word is not this one's; its readers know it so
    refuse("initialize",
           _("'%s' is a singleton object, but name '%s' does not equal type.", getType(), name));

  const PathFunction normalise = *thePathFunction;
  const std::string_view ownName = m_singleton ? std::string_view() : name;
  SharedText path = normalise ? PathAtHand::share(normalise(parentPath), getType(), ownName)
                              : PathAtHand::share(parentPath, getType(), ownName);
  m_name = name;
  m_path = std::move(path);
}

// ---------------------------------------------------------------------------------------------------- parameters

ObjectChangeNotify* KSLObject::observer() const
{
  return m_paramNotify ? m_paramNotify->observer() : nullptr;
}

ParamDefinition::NotifyChange* KSLObject::paramObserver() const
{
  return m_paramNotify.get();
}

ParamDefinition* KSLObject::findParam(std::string_view name)
{
  return m_params.own(name, paramObserver());
}

ParamDefinition* KSLObject::findParamToSet(std::string_view name, const std::string& value)
{
  return m_params.ownToSet(name, value, paramObserver());
}

Diagnostic KSLObject::unknownParam(const std::string& name) const
{
  Diagnostic more = oneOf(name, getParamNames(externalParams));
  more.object = m_path.copy();
  more.parameter = name;
  return more;
}

const ParamDefinition* KSLObject::getParam(const std::string& name) const
{
  if (const ParamDefinition* param = m_params.own(name, paramObserver()))
    return param;
  throw diagnosed(data::notFound("KSLObject", "getParam",
                                 _("Parameter '%s' does not exist on object %s.", name, m_path.copy())),
                  unknownParam(name));
}

const ParamDefinition& KSLObject::readParam(const std::string& name) const
{
  const ParamDefinition* param = m_params.find(name);
  return param ? *param : *getParam(name);  // which throws as the class of the object does
}

void KSLObject::checkNewParameter(const ParamDefinition* param) const
{
  if (!param)
    throw internal::nullPointer("KSLObject", "addParameter",
                                _("Input parameter %s is a null pointer.", "p_param"));
  if (hasParam(param->getName()))
    throw data::duplicate("KSLObject", "addParameter",
                          _("Duplicate data: Parameter '%s' already exists.", param->getName()));
}

void KSLObject::adopt(std::unique_ptr<ParamDefinition>& param)
{
  ParamDefinition* added = param.get();
  if (m_paramNotify)
    added->setNotifyChange(paramObserver());
  try {
    m_params.add(std::move(param));
    if (m_paramNotify)
      observer()->paramChanged(this, added);
  } catch (...) {
    if (!param)
      param = m_params.take(added->getName()).release();
    if (m_paramNotify)
      added->setNotifyChange(nullptr);
    throw;
  }
}

void KSLObject::addParameter(std::unique_ptr<ParamDefinition>&& param)
{
  checkNewParameter(param.get());
  adopt(param);
}

void KSLObject::addParameter(ParamDefinition* param)
{
  checkNewParameter(param);
  std::unique_ptr<ParamDefinition> owner(param);
  try {
    adopt(owner);
  } catch (...) {
    (void)owner.release();  // refused: still the caller's
    throw;
  }
}

void KSLObject::removeParameter(const std::string& name)
{
  const std::string removed = name;  // the name given may stand in the parameter
  ParamSet::Taken taken = m_params.take(removed);
  if (taken.empty())
    throw data::notFound("KSLObject", "removeParameter", _("%s '%s' does not exist.", "Parameter", removed));
  if (!m_paramNotify)
    return;
  try {
    observer()->paramDeleted(this, removed);
  } catch (...) {
    m_params.putBack(std::move(taken));
    throw;
  }
}

void KSLObject::removeAllParameters()
{
  ParamSet removed;
  m_params.swap(removed);
  std::exception_ptr failure;
  removed.forEach([this, &failure](const ParamDefinition& param) {
    try {
      if (m_paramNotify)
        observer()->paramDeleted(this, param.getName());
    } catch (...) {
      if (!failure)
        failure = std::current_exception();
    }
  });
  if (failure)
    std::rethrow_exception(failure);
}

void KSLObject::freeParameters() noexcept
{
  m_params.clear();
}

void KSLObject::unsetParam(const std::string& name)
{
  const ParamDefinition* param = m_params.find(name);
  if (!param)
    return;
  const std::string defaultValue = param->getDefaultValue();
  if (!param->isAllowedValue(defaultValue)) {
    if (m_paramNotify || m_params.findOwn(name))  // else it is not set, and nobody wants to know
      findParam(name)->unset();
    return;
  }
  allOrNothing(name, [&] {
    m_lineUnread = m_plainClass;
    setValue(name, defaultValue);  // may replace the parameter
    if (ParamDefinition* now = findParam(name))
      now->unset();
  });
}

template <class Set>
void KSLObject::allOrNothing(const std::string& name, Set set)
{
  ParamDefinition::State before;  // of one that the object makes for the value: not set
  if (const ParamDefinition* param = m_params.find(name))
    before = param->getState();
  try {
    set();
  } catch (...) {
    ParamDefinition* now = m_params.findOwn(name);
    if (now && !(now->getState() == before)) {
      now->restore(std::move(before));
      valueRestored(*now);
    }
    throw;
  }
}

void KSLObject::setWhole(const std::string& name, const std::string& value)
{
  if (m_plainClass) {
    m_lineUnread = true;
    setValue(name, value);
    return;
  }
  allOrNothing(name, [&] { setValue(name, value); });
}

void KSLObject::setWhole(const std::string& name, const SharedText& value)
{
  if (m_storingClass) {
    if (ParamDefinition* param = findParamToSet(name, value.str()))
      return param->setAllowed(value);
  }
  const SharedText kept(value);  // where it stands it may be written meanwhile
  const ValueAtHand hand(kept);
  setWhole(name, kept.str());
}

bool KSLObject::takeLineUnread()
{
  const bool unread = m_lineUnread;
  m_lineUnread = false;
  return unread;
}

void KSLObject::setWholeWithoutPending(const std::string& name, const std::string& value)
{
  allOrNothing(name, [&] { setValueWithoutPending(name, value); });
}

void KSLObject::valueRestored(const ParamDefinition&) noexcept {}

bool KSLObject::isParamChanged(const std::string& name) const
{
  return readParam(name).isChanged();
}

void KSLObject::clearChangedParameters()
{
  m_params.forEachOwn([](ParamDefinition& param) { param.clearChanged(); });
}

void KSLObject::clearChangedParameters(const std::vector<std::string>& names)
{
  for (const std::string& name : names) {
    if (ParamDefinition* param = m_params.findOwn(name))
      param->clearChanged();
  }
}

std::vector<std::string> KSLObject::getParamNames(ParamFilter filter) const
{
  std::vector<std::string> names;
  forEachParam([&](const ParamDefinition& param) {
    if (filter & (param.isInternal() ? internalParams : externalParams))
      names.push_back(param.getName());
  });
  return names;
}

std::vector<std::string> KSLObject::getParamNamesInContext(ParamFilter filter) const
{
  std::vector<std::string> names;
  const ParamInclusion inclusion(*this, filter, false);
  forEachParam([&](const ParamDefinition& param) {
    if (inclusion.isListed(param))
      names.push_back(param.getName());
  });
  return names;
}

std::map<std::string, std::string> KSLObject::getParams(UnitSystemTypes::UnitsType units,
                                                        bool difference) const
{
  return PreferredUnits::valuesOf(*this, externalParams, units, difference);
}

std::map<std::string, std::string> KSLObject::getInternalParams(UnitSystemTypes::UnitsType units,
                                                                bool difference) const
{
  return PreferredUnits::valuesOf(*this, internalParams, units, difference);
}

void KSLObject::copyInternals(KSLObject* target) const
{
  if (!target)
    throw internal::nullPointer("KSLObject", "copyInternals",
                                _("Input parameter %s is a null pointer.", "p_target"));
  if (target->m_params.empty() && !target->m_paramNotify) {
    m_params.copyTo(target->m_params, m_name.empty());
  } else {
    forEachParam([target](const ParamDefinition& param) { target->addParameter(param.clone()); });
  }
  target->m_singleton = m_singleton;
  target->m_category = m_category;
  target->m_type = m_type;
  target->m_rules = m_rules;
}

// ---------------------------------------------------------------------------------------------------- state text

std::string KSLObject::getState(ParamFilter filter) const
{
  std::string text;
  appendState(text, filter);
  return text;
}

void KSLObject::appendState(std::string& out, ParamFilter filter) const
{
  StateTextLogger logger(out);
  traverseState(filter, false, &logger);
}

std::string KSLObject::getAppStrippedState() const
{
  std::string text;
  StateTextLogger logger(text);
  traverseState(externalParams, true, &logger);
  return text;
}

void KSLObject::traverseState(ParamFilter filter, bool strip, KSLStateLogger* logger) const
{
  if (!logger)
    throw internal::nullPointer("KSLObject", "traverseState",
                                _("Input parameter %s is a null pointer.", "p_logger"));
  StateTraversal(filter, strip, *logger).run(*this);
}

void KSLObject::write(std::ostream& out) const
{
  out << "m_name=\"" << m_name << "\"\n";
  out << "m_type=\"" << getType() << "\"\n";
  out << "m_paramMap={\n";
  forEachParam([this, &out](const ParamDefinition& param) {  // the addresses are those that getParam gives
    const void* own = m_params.own(param.getName(), paramObserver());
    out << '"' << param.getName() << " \"," << own << ";\n";
  });
  out << "}\nm_cat=not yet implemented.\n";
  out << "m_isSingleton=" << (m_singleton ? '1' : '0') << "\nm_dependents={\n";
  for (const Dependent& dependent : getDependents())
    out << '"' << dependent.getObjPath() << "\",\"" << dependent.getParamName() << "\";\n";
  out << "}\n";
}

// ----------------------------------------------------------------------------------------------------- the rest

std::vector<KSLObject*> KSLObject::getSchedulerParentObjects() const
{
  return {};
}

bool KSLObject::hasScheduler(std::string_view) const noexcept
{
  return false;
}

bool KSLObject::hasValidData() const
{
  return m_validData;
}

bool KSLObject::getBoundingBox(TripletBase<float>&, TripletBase<float>&) const
{
  return false;
}

}  // namespace orv
