#include "rules/GenericKSLObject.h"

#include "platform/ORVDynamicLoader.h"
#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/internal/ContextLocal.h"
#include "rules/LinkTransaction.h"
#include "rules/NameLink.h"
#include "rules/SchedulerTypes.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <ostream>
#include <utility>

namespace orv {

namespace {

constexpr const char* genericKSLObjectClass = "GenericKSLObject";

std::string notFoundText(std::string_view schedulerType, const std::string& objectType)
{
  return _("Scheduler type '%s' for object type '%s' not found.", schedulerType, objectType);
}

// Runs a step of a destructor; what it throws has no one to go to.
template <class Step>
void runEnding(Step step) noexcept
{
  const auto report = [](std::string text) {
    ErrorProgressReporter::instance()->reportError(
        internal::error(genericKSLObjectClass, "~GenericKSLObject", std::move(text)));
  };
  constexpr const char* operation = "~GenericKSLObject";
  try {
    try {
      step();
    } catch (const Unwind&) {  // of a failure that is told elsewhere
    } catch (const std::bad_alloc&) {
      report(_("Operation '%s' failed. Insufficient memory.", operation));
    } catch (const std::exception& exception) {
      report(_("Operation '%s' failed (system exception: %s).", operation, exception.what()));
    } catch (...) {
      report(_("Operation '%s' failed with unrecognized exception.", operation));
    }
  } catch (...) {}  // no memory for the text either
}

}  // namespace

// ------------------------------------------------------------------------------------------------ scheduler types

SchedulerTypes& GenericKSLObject::writableTypes()
{
  if (!m_types || m_types->refCount() > 1)
    m_types = refcnt_ptr<SchedulerTypes>(m_types ? new SchedulerTypes(*m_types) : new SchedulerTypes);
  return *m_types;
}

void GenericKSLObject::addScheduler(const std::string& schedulerType)
{
  if (m_types && m_types->contains(schedulerType))
    throw data::duplicate(genericKSLObjectClass, "addSchedulerObject",
                          _("Duplicate data: Scheduler type '%s' already exists.", schedulerType));
  writableTypes().insert(schedulerType);
}

void GenericKSLObject::addFunction(const std::string& schedulerType, const std::string& library,
                                   const std::string& function)
{
  const SchedulerTypes::Function* known =
      m_types ? std::as_const(*m_types).findFunction(schedulerType) : nullptr;
  if (!known)
    throw data::notFound(genericKSLObjectClass, "addFunction", notFoundText(schedulerType, getType()));
  if (!known->name.empty())
    throw data::duplicate(genericKSLObjectClass, "addFunction",
                          _("Duplicate data: Scheduler type '%s' for object type '%s' already exists.",
                            schedulerType, getType()));
  *writableTypes().findFunction(schedulerType) = {library, function};
}

void GenericKSLObject::addSchedulerLink(const std::string& from, const std::string& to)
{
  if (!writableTypes().addLink(from, to))
    throw data::duplicate(
        genericKSLObjectClass, "addSchedulerLink",
        _("Duplicate scheduler link between '%s:%s' and '%s:%s'.", getType(), from, getType(), to));
}

// --------------------------------------------------------------------------------------------- beginning and end

// An update under way. A calculation may delete the object that is being updated; its frame then knows.
class GenericKSLObject::ActiveUpdate {
 public:
  explicit ActiveUpdate(const GenericKSLObject* object)
      : m_innermost(*s_innermost),
        m_object(object),
        m_outer(std::exchange(m_innermost, this))
  {}
  ~ActiveUpdate() { m_innermost = m_outer; }
  ActiveUpdate(const ActiveUpdate&) = delete;
  ActiveUpdate& operator=(const ActiveUpdate&) = delete;

  bool objectLives() const { return m_object != nullptr; }
  static void forget(const GenericKSLObject* object) noexcept
  {
    for (ActiveUpdate* update = *s_innermost; update; update = update->m_outer) {
      if (update->m_object == object)
        update->m_object = nullptr;
    }
  }

 private:
  static ContextLocal<ActiveUpdate*> s_innermost;
  ActiveUpdate*& m_innermost;
  const GenericKSLObject* m_object;
  ActiveUpdate* m_outer;
};

constinit ContextLocal<GenericKSLObject::ActiveUpdate*> GenericKSLObject::ActiveUpdate::s_innermost;

GenericKSLObject::GenericKSLObject() : m_dueLinks(0), m_hasPlainTexts(0) {}

// The schedulers end last, and take their edges with them.
GenericKSLObject::~GenericKSLObject()
{
  ActiveUpdate::forget(this);
  LinkTransaction* transaction = m_markPlace != 0 ? LinkTransaction::current() : nullptr;
  if (transaction)
    transaction->forget(*this);
  if (NameIndex* index = m_hasPlainTexts ? NameIndex::current() : nullptr)
    index->forgetPlaces(*this);
  runEnding([this] { m_links.clear(); });
  runEnding([this] { removeAllParameters(); });
}

void GenericKSLObject::registerBaseType()
{
  auto prototype = std::make_unique<GenericKSLObject>();
  registerBaseTypeWithFactory(genericKSLObjectClass, prototype.get());
  (void)prototype.release();  // the factory's, now that it has taken it
}

KSLObject* GenericKSLObject::clone() const
{
  auto copy = std::make_unique<GenericKSLObject>();
  copy->setPlainClass();
  copyInternals(copy.get());
  return copy.release();
}

void GenericKSLObject::copyInternals(GenericKSLObject* target) const
{
  DataKSLObject::copyInternals(target);
  if (m_types)
    m_types->settle();
  target->m_types = m_types;
}

void GenericKSLObject::initialize(const std::string& parentPath, const std::string& name)
{
  checkNotInitialized();
  DataKSLObject::initialize(parentPath, name);
  ScopeGuard undo([this] {
    m_schedulers.clear();
    m_links.clear();
  });
  makeSchedulers();
  joinSchedulers();
  linkDefaults();
  setPending();
  undo.dismiss();
}

void GenericKSLObject::initialize(const std::string& name)
{
  initialize({}, name);
}

// A type without schedulers leaves the complaint to setPath.
void GenericKSLObject::checkNotInitialized() const
{
  if (!m_schedulers.empty())
    throw data::invalid(genericKSLObjectClass, "initialize",
                        _("Scheduler object of type '%s' in object '%s' is not null.",
                          m_schedulers.front().getType(), getName()));
}

void GenericKSLObject::makeSchedulers()
{
  if (!m_types)
    return;
  m_types->settle();
  m_schedulers.reserve(m_types->entries().size());
  for (const SchedulerTypes::Entry& entry : m_types->entries())
    m_schedulers.emplace_back(getName(), this, entry.type);
}

// Nothing else leads to or from them yet.
void GenericKSLObject::joinSchedulers()
{
  if (!m_types)
    return;
  if (m_types->isAcyclic()) {
    for (const auto& [from, to] : m_types->links())
      m_schedulers[from].addChild(&m_schedulers[to], false);
    return;
  }
  m_types->forEachLink([this](const std::string& from, const std::string& to) {
    getSchedulerObject(from)->addChild(getSchedulerObject(to), true);
  });
}

// ------------------------------------------------------------------------------------------------------ schedulers

SchedulerObject* GenericKSLObject::findSchedulerObject(std::string_view schedulerType) const noexcept
{
  if (m_schedulers.empty())
    return nullptr;
  const std::size_t index = m_types->find(schedulerType);
  return index == SchedulerTypes::npos ? nullptr : const_cast<SchedulerObject*>(&m_schedulers[index]);
}

SchedulerObject* GenericKSLObject::getSchedulerObject(const std::string& schedulerType) const
{
  if (SchedulerObject* scheduler = findSchedulerObject(schedulerType))
    return scheduler;
  throw data::notFound(genericKSLObjectClass, "getSchedulerObject", notFoundText(schedulerType, getType()));
}

void GenericKSLObject::setPending()
{
  for (SchedulerObject& scheduler : m_schedulers)
    scheduler.setPending();
}

SchedulerObject* GenericKSLObject::localScheduler(const ParamDefinition::Rules& rules) const noexcept
{
  if (m_schedulers.empty())
    return nullptr;
  const std::size_t index = m_types->useOf(rules).scheduler;
  return index == SchedulerTypes::npos ? nullptr : const_cast<SchedulerObject*>(&m_schedulers[index]);
}

void GenericKSLObject::setLocalPending(const ParamDefinition& param, LinkTransaction* transaction)
{
  SchedulerObject* scheduler = localScheduler(*param.getRules());
  if (!scheduler)
    return;
  if (SchedulerTrace* trace = SchedulerObject::getTrace())
    trace->parameterSet(*scheduler, param.getName());
  const auto index = static_cast<std::size_t>(scheduler - m_schedulers.data());
  if (transaction && index < 64)
    transaction->markLater(*this, index);
  else
    scheduler->setPending();
}

bool GenericKSLObject::hasScheduler(std::string_view schedulerType) const noexcept
{
  return findSchedulerObject(schedulerType) != nullptr;
}

void GenericKSLObject::update()
{
  createDelayedParamLinks();
  const ActiveUpdate update(this);
  for (std::size_t i = 0; update.objectLives() && i < m_schedulers.size(); ++i)
    m_schedulers[i].update();
}

// ------------------------------------------------------------------------------------------- what calculations keep

ObjectData::~ObjectData() = default;

void GenericKSLObject::keepData(const std::string& schedulerType, std::unique_ptr<ObjectData> data)
{
  const auto index = static_cast<std::size_t>(getSchedulerObject(schedulerType) - m_schedulers.data());
  if (!m_data)
    m_data = std::make_unique<KeptData>(m_schedulers.size());
  (*m_data)[index].swap(data);
}

const ObjectData* GenericKSLObject::getData(std::string_view schedulerType) const noexcept
{
  const SchedulerObject* scheduler = m_data ? findSchedulerObject(schedulerType) : nullptr;
  if (!scheduler || scheduler->isPending())
    return nullptr;
  return (*m_data)[static_cast<std::size_t>(scheduler - m_schedulers.data())].get();
}

void GenericKSLObject::dropData(std::size_t scheduler) noexcept
{
  if (m_data)
    (*m_data)[scheduler].reset();
}

namespace {

std::string inFunction(const SchedulerTypes::Function& function, const std::string& schedulerType)
{
  return _("in calculate function '%s' of '%s', for scheduler type '%s'", function.name, function.library,
           schedulerType);
}

}  // namespace

// Nothing of this object may be touched once the function runs: it may delete the object.
void GenericKSLObject::calculate(const std::string& schedulerType)
{
  const std::size_t index = m_types ? m_types->find(schedulerType) : SchedulerTypes::npos;
  if (index == SchedulerTypes::npos || m_types->entries()[index].function.name.empty())
    return;
  dropData(index);
  const auto types = m_types;  // they may end with the object
  const SchedulerTypes::Function& function = types->entries()[index].function;
  SharedLibrary* loader = SharedLibrary::instance();
  const std::unique_ptr<CalculateFunction> instance(loader->getInstance(function.library, function.name));
  if (!instance) {
    if (!loader->getLastError().empty())
      ErrorProgressReporter::instance()->reportError(
          ErrorMsg(genericKSLObjectClass, "calculate", loader->getLastError(), errorType::warning));
    throw data::notFound(genericKSLObjectClass, "calculate",
                         _("Calculate function '%s' in library '%s' for object type '%s' was not found.",
                           function.name, function.library, getType()));
  }
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the caller's may end with the object
  const std::string type = schedulerType;
  const ActiveUpdate calculation(this);
  ScopeGuard drop([&] {
    if (calculation.objectLives())
      dropData(index);
  });
  try {
    instance->calculate(this, type);
    drop.dismiss();
  } catch (Error& error) {
    error.explain(inFunction(function, type));
    throw;
  } catch (const std::exception& failure) {
    ErrorProgressReporter::instance()->noteConcern(failure, {.notes = {{0, 0, inFunction(function, type)}}});
    throw;
  }
}

// ------------------------------------------------------------------------------------------------------ for people

namespace {

bool isObjectBefore(const KSLObject* a, const KSLObject* b)
{
  return a->getPath() < b->getPath();
}

// "path (type) xcount" for each edge, sorted.
std::string edgesText(const LinkMap& edges)
{
  std::vector<std::string> texts;
  texts.reserve(edges.size());
  for (const LinkMap::Entry& edge : edges)
    texts.push_back(_("%s (%s) x%d", edge.first->getPath(), edge.first->getType(), edge.count()));
  std::sort(texts.begin(), texts.end());
  return texts.empty() ? "none" : StringUtilities::vectorToString(texts, ", ");
}

void writeList(std::ostream& out, const char* name, const std::vector<std::string>& items)
{
  out << name << "=\"" << StringUtilities::vectorToString(items, ", ") << "\"\n";
}

}  // namespace

std::string GenericKSLObject::schedulerInfo(const SchedulerObject& scheduler)
{
  std::string text = "  " + scheduler.getType();
  text.append(scheduler.isPending() ? ": pending" : ": clean");
  text.append("; parents: ").append(edgesText(scheduler.getParents()));
  return text.append("; children: ").append(edgesText(scheduler.getChildren())).append("\n");
}

std::string GenericKSLObject::getSchedulerInfo() const
{
  std::string text = DataKSLObject::getSchedulerInfo();
  for (const SchedulerObject& scheduler : m_schedulers)
    text += schedulerInfo(scheduler);
  return text;
}

std::vector<KSLObject*> GenericKSLObject::getSchedulerParentObjects() const
{
  std::vector<KSLObject*> objects;
  for (const SchedulerObject& scheduler : m_schedulers) {
    for (const LinkMap::Entry& edge : scheduler.getParents()) {
      KSLObject* object = edge.first->getKSLObject();
      if (object && object != this)
        objects.push_back(object);
    }
  }
  std::sort(objects.begin(), objects.end(), isObjectBefore);
  objects.erase(std::unique(objects.begin(), objects.end()), objects.end());
  return objects;
}

void GenericKSLObject::write(std::ostream& out) const
{
  DataKSLObject::write(out);
  std::vector<std::string> functions;
  std::vector<std::string> schedulerLinks;
  std::vector<std::string> schedulers;
  if (m_types) {
    m_types->settle();
    for (const auto& [type, function] : m_types->entries()) {
      schedulers.push_back(type.str());
      if (!function.name.empty())
        functions.push_back(_("%s: %s %s", type.str(), function.library, function.name));
    }
    m_types->forEachLink([&schedulerLinks](const std::string& from, const std::string& to) {
      schedulerLinks.push_back(_("%s: %s", from, to));
    });
  }
  writeList(out, "m_delayedParams", getDelayedParams());
  writeList(out, "m_funcMap", functions);
  writeList(out, "m_schedLinkMap", schedulerLinks);
  writeList(out, "m_schedMap", schedulers);
}

}  // namespace orv
