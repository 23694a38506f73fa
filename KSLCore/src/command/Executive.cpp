// Invariant: the history given to an update holds the inverse of each change that it applied, in order; so
// replaying it backwards takes back exactly what was done, also after a failure half-way.
#include "command/Executive.h"

#include "platform/ORVError.h"
#include "platform/ORVKSLAPI.h"
#include "platform/ORVProgress.h"
#include "platform/ORVUtilities.h"
#include "database/DependentUpdates.h"
#include "database/KSLCoreTreeAndLeafModel.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "rules/GenericKSLObject.h"
#include "rules/LinkTransaction.h"
#include "command/ActionFactory.h"
#include "command/DBUpdater.h"
#include "command/KSLCoreAPI.h"
#include "command/UpdateProcessor.h"

#include <utility>

namespace orv {

namespace {

constexpr const char* source = "KSLCore/src/Executive";
constexpr auto forward = KSLChangeList::Direction::forward;

}  // namespace

Executive::Executive() = default;
Executive::~Executive() = default;

void Executive::doAction(std::string line)
{
  const std::vector<std::string> words = ActionExecutor::splitActionLine(line);
  if (words.empty())
    throw ksl::invalid("Executive", "doAction", _("Empty action line."));
  if (!assertThat(m_actionFactory != nullptr, "m_actionFactory", source))
    throw internal::error("Executive", "doAction", _("Pointer to ActionFactory not set."));
  m_actionFactory->getExecutor(words.front())->invoke(words);
}

// --------------------------------------------------------------------------------------------------------- update

void Executive::update(const KSLChangeList& changes, KSLChangeList* history, KSLAPI* store)
{
  if (changes.empty() && m_pendingUpdates.empty())
    return;
  if (m_depth == 0)
    m_currentHistory = history;
  else if (history != m_currentHistory)  // an undo, say, submitted from within
    throw internal::error(
        "Executive", "update",
        _("Executive::update() called with differentKSLChangeList from higher invocation."));
  ++m_depth;
  // Also when a nested update returns: the outer drain then ends after the object whose recomputation made
  // the call. Deliberate.
  const ScopeGuard reset([this] {
    if (--m_depth == 0)
      m_currentHistory = nullptr;
    resetChangeProcessing();
  });
  applyUpdate(changes, history, store);
}

void Executive::replay(const KSLChangeList& changes, KSLChangeList* history, KSLAPI* store)
{
  const ScopeGuard end([this] { m_replays = false; });
  m_replays = true;
  update(changes, history, store);
}

void Executive::applyUpdate(const KSLChangeList& changes, KSLChangeList* history, KSLAPI* store)
{
  const bool queueWasEmpty = m_pendingUpdates.empty();
  ObjectDB* database = ObjectDB::instance();
  DependentUpdates dependents;
  const bool replays = std::exchange(m_replays, false);  // what is submitted from within is a change of its own
  LinkTransaction links(*database, replays ? LinkTransaction::Kind::replay : LinkTransaction::Kind::command,
                        m_relocation);
  ObjectDBUpdater updater(database, &dependents, &links);
  UpdateProcessor processor(&updater, history);
  processor.process(changes);
  processor.createWaiting();

  const refcnt_ptr<TreeAndLeafReadModel> model(new KSLCoreTreeAndLeafModel);
  const KSLChangeList* external = dependents.getExternalChanges(model.get());
  processor.process(*external);
  KSLAPIUpdateProcessor storeProcessor(store, false);
  external->process(forward, &storeProcessor);
  const KSLChangeList rewrites = links.rewrites();
  processor.process(rewrites);
  rewrites.process(forward, &storeProcessor);
  appendToChangedObjects(processor.getChanged());

  InternalParamUpdateProcessor internalProcessor(&updater);
  dependents.getInternalChanges(model.get())->process(forward, &internalProcessor);
  appendToChangedObjects(internalProcessor.getChanged());
  appendToChangedObjects(links.commit());

  if (queueWasEmpty)
    updateChangedObjects(database);
}

void Executive::updateNoAction(const KSLChangeList& changes, KSLChangeList* history, KSLAPI*)
{
  if (changes.empty() && m_pendingUpdates.empty())
    return;
  const ScopeGuard reset([this] { resetChangeProcessing(); });
  ObjectDBUpdaterNoAction updater(ObjectDB::instance());
  UpdateProcessor(&updater, history).process(changes);
}

void Executive::appendToChangedObjects(const std::set<std::string>& paths)
{
  m_pendingUpdates.insert(m_pendingUpdates.end(), paths.begin(), paths.end());
}

void Executive::updateChangedObjects(ObjectDB* database)
{
  const OperationTimer timer("Executive: update changed objects");
  if (m_updating)
    return;
  m_updating = true;
  const ScopeGuard end([this] {
    m_updating = false;
    KSLCoreAPI::instance()->notify(KSLCoreAPI::updateEnd);
  });
  KSLCoreAPI::instance()->notify(KSLCoreAPI::updateBegin);
  Progress progress("objects", m_pendingUpdates.size());
  for (std::size_t done = 0; !m_pendingUpdates.empty(); progress.advance(++done)) {
    const std::string path = std::move(m_pendingUpdates.front());
    m_pendingUpdates.pop_front();
    if (KSLObject* object = database->getObjectByPath(path))
      object->update();
  }
}

void Executive::resetChangeProcessing()
{
  m_updating = false;
  m_pendingUpdates.clear();
}

// --------------------------------------------------------------------------------------------------- forced update

void Executive::forceUpdate(const std::vector<std::string>& names)
{
  const OperationTimer timer("Executive: force Update");
  const ScopeGuard end([] { KSLCoreAPI::instance()->notify(KSLCoreAPI::updateEnd); });
  KSLCoreAPI::instance()->notify(KSLCoreAPI::updateBegin);
  for (const std::string& name : names)
    forceUpdateOf(name);
}

void Executive::forceUpdateOf(const std::string& name)
{
  const auto report = [](const Error& error) { ErrorProgressReporter::instance()->reportError(error); };
  KSLObject* object = nullptr;
  try {
    const ObjectDB* database = ObjectDB::instance();
    const bool isPath = name.find_first_of("/:") != std::string::npos;
    object = isPath ? database->getObjectByPath(name) : database->getObjectByName(name);
  } catch (const data::error& ambiguous) {
    return report(ambiguous);
  }
  if (!object)
    return report(internal::error("Executive", "forceUpdate",
                                  _("Object '%s' does not exist. Update ignored.", name),
                                  errorType::warning));
  if (!dynamic_cast<GenericKSLObject*>(
          object))  // the class word is older than the classes of today and stays
    return report(internal::error("Executive", "forceUpdate",
                                  _("Bad cast of %s '%s' to %s.", "KSLObject", name, "GeometricKSLObject"),
                                  errorType::internal));
  object->setPending();
  object->update();
}

// --------------------------------------------------------------------------------------------------------- objects

std::vector<KSLObject*> Executive::createNewObject(const std::string& parentPath, const std::string& type,
                                                   const std::string& name)
{
  std::vector<KSLObject*> created;
  KSLObject* object = doCreateNewObject(created, parentPath, type, name);
  created.push_back(object);
  return created;
}

KSLObject* Executive::doCreateNewObject(std::vector<KSLObject*>& created, const std::string& parentPath,
                                        const std::string& type, const std::string& name)
{
  ObjectDB* database = ObjectDB::instance();
  KSLPath parent(parentPath);
  std::vector<KSLPath::Component> missing;  // innermost first
  while (!parent.empty() && !database->getObjectByPath(parent.getFullPath())) {
    missing.push_back(parent[parent.size() - 1]);
    parent.pop();
  }
  std::string at = parent.getFullPath();
  for (std::size_t i = missing.size(); i-- > 0;) {
    created.push_back(
        database->addObject(ObjectFactory::instance()->createObject(at, missing[i].type, missing[i].name)));
    at = created.back()->getPath();
  }
  return database->addObject(ObjectFactory::instance()->createObject(at, type, name));
}

}  // namespace orv
