// Invariants of an update:
//  1. The history holds the inverse of each change that was applied, in order, from before it was made; so replaying it
//     backwards takes back what was done, also after a failure half-way.
//  2. Changes reach the database in the order in which they were merged into the store, also those of texts that
//     somebody submits while others are being applied.
#include "command/Executive.h"

#include "platform/ORVError.h"
#include "platform/ORVKSLAPI.h"
#include "platform/ORVProgress.h"
#include "platform/ORVUtilities.h"
#include "database/DependentUpdates.h"
#include "database/KSLCoreTreeAndLeafModel.h"
#include "database/NamesBeside.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "rules/GenericKSLObject.h"
#include "rules/LinkTransaction.h"
#include "command/ActionFactory.h"
#include "command/CommandNotifier.h"
#include "command/DBUpdater.h"
#include "command/UpdateProcessor.h"
#include "RecoveryLog.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

namespace orv {

namespace {

constexpr const char* executiveSource = "KSLCore/src/Executive";
constexpr auto forward = KSLChangeList::Direction::forward;

}  // namespace

Executive::Executive() : m_updateWords{"update"}, m_deferred(std::make_unique<KSLChangeList>()) {}
Executive::~Executive() = default;

void Executive::doAction(std::string line)
{
  const std::vector<std::string> words = ActionExecutor::splitActionLine(line);
  if (words.empty())
    throw ksl::invalid("Executive", "doAction", _("Empty action line."));
  doAction(words);
}

// An executor stays registered as long as its factory lives.
void Executive::doUpdate()
{
  if (!m_updateExecutor) {
    if (!m_actionFactory)
      return doAction(m_updateWords);
    m_updateExecutor = m_actionFactory->getExecutor(m_updateWords.front());
  }
  m_updateExecutor->invoke(m_updateWords);
}

void Executive::doAction(const std::vector<std::string>& words)
{
  if (!assertThat(m_actionFactory != nullptr, "m_actionFactory", executiveSource))
    throw internal::error("Executive", "doAction", _("Pointer to ActionFactory not set."));
  m_actionFactory->getExecutor(words.front())->invoke(words);
}

// --------------------------------------------------------------------------------------------------------- update

// What an update applies, and how it meets failures: without a log the first ends it.
struct Executive::Work {
  const KSLChangeList& changes;
  KSLChangeList* history;
  KSLAPI* store;
  bool replays = false;  // history: no name has to mean anything
  RecoveryLog* log = nullptr;
  UndoneObjects* takenOut = nullptr;
  UndoneObjects* toPutBack = nullptr;

  template <class Step>
  bool attempt(Step step) const
  {
    if (log)
      return log->attempt(step);
    step();
    return true;
  }
  void process(const KSLChangeList& list, KSLChangeProcessor& processor) const
  {
    if (!log)
      return list.process(forward, &processor);
    for (std::size_t i = 0; i < list.size(); ++i)
      log->attempt(list[i].path, list[i].name, [&] { processor.visit(list[i]); });
  }
};

void Executive::update(const KSLChangeList& changes, KSLChangeList* history, KSLAPI* store)
{
  run({.changes = changes, .history = history, .store = store});
}

void Executive::replay(const KSLChangeList& changes, KSLChangeList* history, KSLAPI* store,
                       UndoneObjects* takenOut, UndoneObjects* toPutBack)
{
  run({.changes = changes,
       .history = history,
       .store = store,
       .replays = true,
       .takenOut = takenOut,
       .toPutBack = toPutBack});
}

void Executive::recover(const KSLChangeList& changes, KSLAPI* store, RecoveryLog& log)
{
  run({.changes = changes, .history = nullptr, .store = store, .replays = true, .log = &log});
}

void Executive::run(const Work& work)
{
  if (work.changes.empty() && m_pendingUpdates.empty())
    return;
  if (m_depth == 0)
    m_currentHistory = work.history;
  else if (work.history != m_currentHistory)  // an undo, say, submitted from within
    throw internal::error(
        "Executive", "update",
        _("Executive::update() called with differentKSLChangeList from higher invocation."));
  if (m_applying) {
    ChangeListCopyProcessor defer(*m_deferred);
    return work.changes.process(forward, &defer);
  }
  ++m_depth;
  // Also when a nested update returns: the outer drain then ends after the object whose recomputation made
  // the call. Deliberate.
  const ScopeGuard reset([this] {
    if (--m_depth == 0)
      m_currentHistory = nullptr;
    resetChangeProcessing();
  });
  applyUpdate(work);
}

void Executive::applyUpdate(const Work& work)
{
  LinkTransaction links(*ObjectDB::instance(),
                        work.replays ? LinkTransaction::Kind::replay : LinkTransaction::Kind::command,
                        m_relocation);
  {
    const ScopeGuard applied([this] {
      m_applying = false;
      m_deferred->clear();
    });
    m_applying = true;
    applyAll(work.changes, work, links);
    while (!m_deferred->empty()) {  // while the dependents' changes were made
      KSLChangeList more;
      more.swapChanges(*m_deferred);
      applyAll(more, work, links);
    }
  }
  work.attempt([&] { appendToChangedObjects(links.commit()); });
  updateChangedObjects(ObjectDB::instance(), work.log);
}

void Executive::applyAll(const KSLChangeList& changes, const Work& work, LinkTransaction& links)
{
  DependentUpdates dependents;
  ObjectDBUpdater updater(ObjectDB::instance(), &dependents, &links);
  UpdateProcessor processor(&updater, work.history, work.log);
  processor.keepTakenOut(work.takenOut);
  processor.putBackFrom(work.toPutBack);
  const std::size_t done = processor.process(changes);
  if (work.log)
    work.log->putBack += done;
  while (!m_deferred->empty()) {
    KSLChangeList more;
    more.swapChanges(*m_deferred);
    processor.process(more);
  }
  if (!work.attempt([&] { processor.createWaiting(); }))
    work.log->noteIncomplete();
  work.attempt([&] { applyDependents(work, dependents, links, processor); });
  work.attempt([&] { appendToChangedObjects(processor.takeChanged()); });
  if (!dependents.empty())  // who changes in what is in no text is updated behind the others
    work.attempt([&] { applyInternal(work, dependents, updater); });
}

void Executive::applyDependents(const Work& work, DependentUpdates& dependents, LinkTransaction& links,
                                UpdateProcessor& processor)
{
  KSLAPIUpdateProcessor storeProcessor(work.store, false);
  const auto applyInBoth = [&](const KSLChangeList& changes) {
    if (changes.empty())
      return;
    work.process(changes, storeProcessor);
    processor.process(changes);
  };
  if (!dependents.empty()) {
    const KSLCoreTreeAndLeafModel model;
    applyInBoth(*dependents.getExternalChanges(&model));
  }
  applyInBoth(links.rewrites());
}

void Executive::applyInternal(const Work& work, DependentUpdates& dependents, DBUpdater& updater)
{
  const KSLCoreTreeAndLeafModel model;
  InternalParamUpdateProcessor processor(&updater);
  work.process(*dependents.getInternalChanges(&model), processor);
  appendToChangedObjects(processor.getChanged());
}

void Executive::updateNoAction(const KSLChangeList& changes, KSLChangeList* history, KSLAPI* store)
{
  if (changes.empty() && m_pendingUpdates.empty())
    return;
  KSLChangeList more;
  {
    const ScopeGuard reset([this] { resetChangeProcessing(); });
    // Updates from within wait: they might delete what is being changed.
    const bool waits = std::exchange(m_applying, true);
    const ScopeGuard applied([this, waits] {
      m_applying = waits;
      if (!waits)
        m_deferred->clear();
    });
    ObjectDBUpdaterNoAction updater(ObjectDB::instance());
    UpdateProcessor(&updater, history).process(changes);
    if (!waits)
      more.swapChanges(*m_deferred);
  }
  if (!more.empty())
    update(more, history, store);
}

void Executive::appendToChangedObjects(const std::set<SharedText>& paths)
{
  m_pendingUpdates.insert(m_pendingUpdates.end(), paths.begin(), paths.end());
}

namespace {

// A path among others, with what stands first in it where they differ.
struct SortedPath {
  std::uint64_t first = 0;  // eight characters, and the eight behind them
  std::uint64_t second = 0;
  const SharedText* path = nullptr;

  // REQUIRES: neither path is long, and both begin alike.
  bool operator<(const SortedPath& other) const
  {
    if (first != other.first)
      return first < other.first;
    return second != other.second ? second < other.second : path->str() < other.path->str();
  }
};

// Eight characters as a number, in the order of texts; what is missing counts as zeros.
std::uint64_t sortWordAt(std::string_view text, std::size_t at)
{
  std::uint64_t word = 0;
  if (at < text.size())
    std::memcpy(&word, text.data() + at, std::min(text.size() - at, sizeof word));
  if constexpr (std::endian::native == std::endian::little) {
    constexpr std::uint64_t bytes = 0x00ff00ff00ff00ff;
    constexpr std::uint64_t pairs = 0x0000ffff0000ffff;
    word = (word & bytes) << 8 | (word >> 8 & bytes);
    word = (word & pairs) << 16 | (word >> 16 & pairs);
    word = word << 32 | word >> 32;
  }
  return word;
}

// How much all of them begin with.
std::size_t commonLength(const std::vector<SharedText>& paths)
{
  const std::string& first = paths.front().str();
  std::size_t common = first.size();
  for (const SharedText& path : paths) {
    common = std::min(common, path.size());
    const auto end = first.begin() + static_cast<std::ptrdiff_t>(common);
    common =
        static_cast<std::size_t>(std::mismatch(first.begin(), end, path.str().begin()).first - first.begin());
  }
  return common;
}

// Objects of one block differ in the ends of their paths: few pairs need a look at their texts. They come object by object,
// so most stand in runs that are in order: a merge finds them.
void sortPaths(std::vector<SharedText>& paths)
{
  if (paths.size() < 2)
    return;
  if (std::any_of(paths.begin(), paths.end(), [](const SharedText& path) { return path.isLong(); }))
    return std::stable_sort(paths.begin(), paths.end());
  const std::size_t common = commonLength(paths);
  std::vector<SortedPath> order;
  order.reserve(paths.size());
  for (const SharedText& path : paths)
    order.push_back(
        {sortWordAt(path.str(), common), sortWordAt(path.str(), common + sizeof(std::uint64_t)), &path});
  std::stable_sort(order.begin(), order.end());
  std::vector<SharedText> sorted;
  sorted.reserve(paths.size());
  for (const SortedPath& place : order)
    sorted.push_back(*place.path);
  paths.swap(sorted);
}

}  // namespace

// Each once, in path order.
void Executive::appendToChangedObjects(std::vector<SharedText> paths)
{
  if (paths.size() == 1)
    return m_pendingUpdates.push_back(std::move(paths.front()));
  sortPaths(paths);
  const auto end = std::unique(paths.begin(), paths.end());
  m_pendingUpdates.insert(m_pendingUpdates.end(), std::move_iterator(paths.begin()), std::move_iterator(end));
}

void Executive::updateChangedObjects(ObjectDB* database, RecoveryLog* log)
{
  const OperationTimer timer("Executive: update changed objects");
  if (m_updating)
    return;
  m_updating = true;
  const ScopeGuard end([this] {
    m_updating = false;
    CommandNotifier::notify(CommandNotifier::updateEnd);
  });
  const auto attempt = [log](const auto& step) { log ? void(log->attempt(step)) : step(); };
  const auto tell = [] { CommandNotifier::notify(CommandNotifier::updateBegin); };
  log ? void(log->attemptOnce(tell)) : tell();
  Progress progress("objects", m_pendingUpdates.size());
  for (std::size_t done = 0; !m_pendingUpdates.empty(); progress.advance(++done)) {
    const SharedText path = std::move(m_pendingUpdates.front());
    m_pendingUpdates.pop_front();
    KSLObject* object = database->getObjectByPath(path);
    if (!object)
      continue;
    try {
      attempt([object] { object->update(); });
    } catch (Error& error) {
      error.concern(path.copy());
      throw;
    }
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
  const ScopeGuard end([] { CommandNotifier::notify(CommandNotifier::updateEnd); });
  CommandNotifier::notify(CommandNotifier::updateBegin);
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
    return report(
        diagnosed(internal::error("Executive", "forceUpdate",
                                  _("Object '%s' does not exist. Update ignored.", name), errorType::warning),
                  unknownObject(name)));
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
