#include "command/UpdateProcessor.h"

#include "platform/ORVException.h"
#include "platform/ORVProgress.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "database/UndoneObjects.h"
#include "database/ValueAtHand.h"
#include "command/DBUpdater.h"
#include "RecoveryLog.h"

#include <algorithm>

namespace orv {

// ------------------------------------------------------------------------------------------------ UpdateProcessor

namespace {

// Runs a step of a change; an error tells what it arose from. True when there was none.
template <class Step>
bool naming(const SharedText& path, const SharedText& param, Step step)
{
  try {
    step();
    return true;
  } catch (Error& error) {
    error.concern(path.copy(), param.str());
    throw;
  }
}

}  // namespace

std::size_t UpdateProcessor::process(const KSLChangeList& changes)
{
  m_list = &changes;
  const ScopeGuard end([this] { m_list = nullptr; });
  m_recorded = 0;
  std::size_t done = 0;
  Progress progress("changes", changes.size());
  ChangeGroups::Cursor cursor(changes);
  for (m_visited = 0; m_visited < changes.size();) {
    progress.advance(m_visited);
    const ChangeGroup group = *cursor.find(m_visited);  // the list may be changed meanwhile
    const std::size_t at = m_visited - cursor.first();
    if (const std::size_t applied = applyGroup(group, at, progress)) {
      m_visited += applied;
      done += applied;
      continue;
    }
    const KSLChange change = group[at];
    const auto step = [&] { visit(change); };
    const bool isDone =
        m_log ? m_log->attempt(change.path, change.name, step) : naming(change.path, change.name, step);
    done += isDone;
    ++m_visited;
  }
  return done;
}

// -------------------------------------------------------------------------------------------------------- groups

std::size_t UpdateProcessor::applyGroup(const ChangeGroup& group, std::size_t at, Progress& progress)
{
  using Object = ChangeGroup::Object;
  const ChangeGroup::Listed* const all = group.listed();
  if (all && m_visited < m_recorded) {
    if (!wentAlong())
      return 0;
    if (all->object == Object::last || (all->object == Object::first && at == 0))
      forget(group.path());
    return group.size() - at;
  }
  if (at > 0 || !m_history || m_log || m_history->getModifier() || !m_updater->createsObjects())
    return 0;
  if (!all)
    changeParam(group);
  else if (all->creates && !all->descending && all->object != Object::last)
    createGroup(group, progress);
  else if (!all->creates && all->descending && all->object == Object::last
           && m_updater->goesUnseen(group.path()))
    removeGroup(group);
  else
    return 0;
  return group.size();
}

// The inverses of a group, in the history from before the first change is made; when this ends, those of the changes that
// were made. Others may record meanwhile: what they did then stands behind the change that they did it in, and before
// the next one.
class UpdateProcessor::GroupRecord {
 public:
  GroupRecord(KSLChangeList& history, ChangeGroup inverse)
      : m_history(history),
        m_inverse(std::move(inverse)),
        m_begin(history.size())
  {
    ChangeGroups::add(m_history, m_inverse);
    m_end = m_history.size();
  }
  GroupRecord(const GroupRecord&) = delete;
  GroupRecord& operator=(const GroupRecord&) = delete;
  // The one that failed stays when it may have been recorded upon.
  ~GroupRecord()
  {
    if (m_history.size() > m_end)
      ChangeGroups::cut(m_history, m_begin, m_done + 1 - m_first);
    else if (m_history.size() == m_end)
      m_history.truncate(m_begin + m_done - m_first);
  }

  void did(std::size_t changes)
  {
    m_done = changes;
    if (m_history.size() <= m_end)
      return;
    ChangeGroups::cut(m_history, m_begin, m_done - m_first);
    m_first = m_done;
    m_begin = m_end = m_history.size();
    if (m_done == m_inverse.size())
      return;
    ChangeGroups::add(m_history, m_inverse.from(m_done));
    m_end = m_history.size();
  }

 private:
  KSLChangeList& m_history;
  const ChangeGroup m_inverse;
  std::size_t m_begin;      // of what stands in the history
  std::size_t m_end = 0;    // and its end; more is others'
  std::size_t m_first = 0;  // change of the group that stands at the begin
  std::size_t m_done = 0;
};

void UpdateProcessor::createGroup(const ChangeGroup& group, Progress& progress)
{
  const ChangeGroup::Listed& all = *group.listed();
  GroupRecord record(*m_history, group.inverse());
  std::size_t done = 0;
  if (all.object == ChangeGroup::Object::first) {
    if (all.params() == 0)
      newObject(group.path());
    record.did(++done);
  }
  KSLObject* object = nullptr;
  std::size_t count = 0;
  for (std::size_t i = all.from; i < all.run.size() && done < group.size(); ++i) {
    if (done > 0)
      progress.advance(m_visited + done);
    const SharedText& name = all.run.name(i);
    naming(group.path(), name, [&] {
      if (i == 0 && done == 1 && putBack(group.path(), all.run)) {
        done = group.size() - 1;  // with all that follow
        return;
      }
      if (!object || m_updater->changeCount() != count) {
        object = objectToSet(group.path());
        count = m_updater->changeCount();
      }
      if (object)
        object->setWhole(name.str(), all.run.value(i));
    });
    record.did(++done);
  }
}

// Whether it is there now, with these parameters, because an undo had kept it. Who watches how far it goes is told of each
// parameter by itself.
bool UpdateProcessor::putBack(const SharedText& path, const store::ParamRun& params)
{
  if (!m_toPutBack || m_toPutBack->empty() || ProgressWatcher::get() || m_updater->find(path))
    return false;
  createWaiting();
  const KSLObject* const object =
      m_updater->find(path) ? nullptr : m_updater->putBack(path, params, *m_toPutBack);
  if (object)
    noteChanged(path, object);
  return object != nullptr;
}

void UpdateProcessor::changeParam(const ChangeGroup& group)
{
  const ChangeGroup::Changed& change = *group.changed();
  const std::size_t before = m_history->size();
  ChangeGroups::add(*m_history, group.inverse());
  ScopeGuard unrecord([&] {
    if (m_history->size() == before + 1)  // else others have recorded since
      m_history->truncate(before);
  });
  naming(group.path(), change.name, [&] {
    KSLObject* const object = m_updater->find(group.path());
    if (!(m_lastChanged == group.path()))
      noteChanged(group.path(), object);
    if (object)
      object->setWhole(change.name.str(), change.value);
  });
  unrecord.dismiss();
}

KSLObject* UpdateProcessor::objectToSet(const SharedText& path)
{
  KSLObject* object = m_updater->find(path);
  if (!object) {
    createWaiting();
    ensureObject(path);
    object = m_updater->find(path);
  }
  if (!(m_lastChanged == path))
    noteChanged(path, object);
  return object;
}

// Nobody could see its parameters being unset one by one before it goes.
void UpdateProcessor::removeGroup(const ChangeGroup& group)
{
  const std::size_t before = m_history->size();
  ChangeGroups::add(*m_history, group.inverse());
  const std::size_t after = m_history->size();
  const std::size_t changesBefore = m_updater->changeCount();
  ScopeGuard unrecord([&] {
    if (m_updater->changeCount() == changesBefore && m_history->size() == after)
      m_history->truncate(before);
  });
  forget(group.path());
  const ChangeGroup::Listed& all = *group.listed();
  const bool mayKeep = m_takenOut && all.from == 0 && !all.run.empty();
  naming(group.path(), {}, [&] {
    if (!mayKeep || !m_updater->takeOut(group.path(), all.run, *m_takenOut))
      m_updater->deleteObject(group.path());
  });
  unrecord.dismiss();
}

// ------------------------------------------------------------------------------------------------- single changes

void UpdateProcessor::visit(const KSLChange& change)
{
  if (m_history && (!m_list || m_visited >= m_recorded))
    visitRecorded(change);
  else if (!wentAlong())
    apply(change);
  else if (change.kind == KSLChange::Kind::deleteObject)
    forget(change.path);
}

// True for what the list names behind the deletion of an object that it was in, when no object has come or gone since.
bool UpdateProcessor::wentAlong() const
{
  return m_history && m_updater->createsObjects() && m_updater->changeCount() == m_goneCount;
}

// Changes come object by object: what was found out for one parameter holds for the next.
void UpdateProcessor::apply(const KSLChange& change)
{
  const ValueAtHand value(change.value);
  const bool ofParam = !change.name.empty();
  m_sameObject = ofParam && change.path.same(m_objectPath) && m_updater->changeCount() == m_objectCount;
  make(change);
  m_objectPath = m_sameObject || (ofParam && m_updater->hasObject(change.path)) ? change.path : SharedText();
  m_objectCount = m_updater->changeCount();
}

// As KSLChangeProcessor::visit, which puts paths together.
void UpdateProcessor::make(const KSLChange& change)
{
  switch (change.kind) {
    case KSLChange::Kind::createObject:
      return newObject(change.path);
    case KSLChange::Kind::deleteObject:
      return deletedObject(change.path);
    case KSLChange::Kind::createParam:
      return newParam(change.path, change.name.str(), change.value.str());
    case KSLChange::Kind::deleteParam:
      return deletedParam(change.path, change.name.str());
    case KSLChange::Kind::changeParam:
      return changedParam(change.path, change.name.str(), change.value.str());
  }
}

void UpdateProcessor::visitRecorded(const KSLChange& change)
{
  const std::size_t before = m_history->size();
  const std::size_t changesBefore = m_updater->changeCount();
  std::size_t after = before;
  try {
    record(change);
    after = m_history->size();
    apply(change);
    m_goneCount = m_updater->changeCount();
  } catch (...) {
    const bool leftNothing =
        change.kind != KSLChange::Kind::deleteObject || m_updater->changeCount() == changesBefore;
    if (leftNothing && (after == before || m_history->size() == after))  // else others have recorded since
      m_history->truncate(before);
    throw;
  }
}

void UpdateProcessor::record(const KSLChange& change)
{
  m_recorded = m_visited + 1;
  if (change.kind != KSLChange::Kind::deleteObject || !m_list)
    return m_history->add(change.inverse());
  const auto goesAlong = [&](const ChangeGroup& group) {
    return group.listed() && !group.listed()->creates && group.path().isSameOrBelow(change.path);
  };
  ChangeGroups::Cursor cursor(*m_list);
  for (m_recorded = m_visited; m_recorded < m_list->size();) {
    const ChangeGroup& group = *cursor.find(m_recorded);
    if (!goesAlong(group))
      return;
    if (const std::size_t at = m_recorded - cursor.first())
      m_history->add(group[at].inverse());
    else
      ChangeGroups::add(*m_history, group.inverse());
    m_recorded += m_recorded == cursor.first() ? group.size() : 1;
  }
}

void UpdateProcessor::newObject(const SharedText& path)
{
  if (m_updater->createsObjects() && !m_updater->find(path))
    m_waiting.push_back({path, false});
}

void UpdateProcessor::deletedObject(const SharedText& path)
{
  forget(path);
  if (!m_updater->hasObject(path))
    return;
  m_updater->deleteObject(path);
}

void UpdateProcessor::newParam(const SharedText& path, const std::string& name, const std::string& value)
{
  if (!m_sameObject && m_updater->createsObjects() && !m_updater->hasObject(path)) {
    createWaiting();
    ensureObject(path);
  }
  noteVisited(path);
  m_updater->setParam(path, name, value);
}

void UpdateProcessor::changedParam(const SharedText& path, const std::string& name,
                                   const std::string& newValue)
{
  noteVisited(path);
  m_updater->setParam(path, name, newValue);
}

void UpdateProcessor::deletedParam(const SharedText& path, const std::string& name)
{
  noteVisited(path);
  m_updater->unsetParam(path, name);
}

void UpdateProcessor::createWaiting()
{
  if (m_waiting.empty())
    return;
  dropDeleted(m_waiting);
  std::vector<Waiting> waiting;
  waiting.swap(m_waiting);
  for (const Waiting& entry : waiting) {
    if (m_log)
      m_log->attempt(entry.path, SharedText(), [&] { ensureObject(entry.path); });
    else
      ensureObject(entry.path);
  }
}

// Leaves the objects that no later deletion takes away.
void UpdateProcessor::dropDeleted(std::vector<Waiting>& waiting)
{
  const auto isDeletion = [](const Waiting& entry) { return entry.deleted; };
  if (std::none_of(waiting.begin(), waiting.end(), isDeletion))
    return;
  std::set<SharedText> deleted;
  for (std::size_t i = waiting.size(); i-- > 0;) {
    if (waiting[i].deleted)
      deleted.insert(waiting[i].path);
    for (SharedText at = waiting[i].path; !at.empty() && !waiting[i].deleted; at = at.parent())
      waiting[i].deleted = deleted.count(at) > 0;
  }
  waiting.erase(std::remove_if(waiting.begin(), waiting.end(), isDeletion), waiting.end());
}

// Parents first, whatever the order of the changes. What is made here beyond the changes has no inverse of
// its own: the store reports every object that it makes, so its list is complete.
void UpdateProcessor::ensureObject(const SharedText& path)
{
  std::vector<SharedText> missing;
  for (SharedText at = path; !m_updater->hasParentOf(at); missing.push_back(at))
    at = at.parent();
  for (std::size_t i = missing.size(); i-- > 0;)
    create(missing[i]);
  if (!m_updater->find(path))
    create(path);
}

void UpdateProcessor::create(const SharedText& path)
{
  naming(path, {}, [&] { m_updater->createObject(path); });
  if (m_log)
    m_log->noteCreated(path);
  noteChanged(path, m_updater->find(path));
}

void UpdateProcessor::forget(const SharedText& deletedPath)
{
  if (!m_waiting.empty())
    m_waiting.push_back({deletedPath, true});
}

void UpdateProcessor::noteChanged(const SharedText& path)
{
  if (!(m_lastChanged == path))
    noteChanged(path, m_updater->find(path));
}

// Who watches is told of all objects; else those that compute nothing need no update.
void UpdateProcessor::noteChanged(const SharedText& path, const KSLObject* object)
{
  if (object && (m_updater->computes(*object) || ProgressWatcher::get()))
    m_changed.push_back(path);
  m_lastChanged = path;
}

void UpdateProcessor::noteVisited(const SharedText& path)
{
  if (!m_sameObject)
    noteChanged(path);
}

// ----------------------------------------------------------------------------------- InternalParamUpdateProcessor

namespace {

constexpr const char* updateProcessorSource = "KSLCore/src/Executive";

}  // namespace

void InternalParamUpdateProcessor::newObject(const std::string&)
{
  reportAssertion("Unexpected call to InternalParamChangeProcessor::newObject", updateProcessorSource);
}

void InternalParamUpdateProcessor::deletedObject(const std::string&)
{
  reportAssertion("Unexpected call to InternalParamChangeProcessor::deletedObject", updateProcessorSource);
}

void InternalParamUpdateProcessor::newParam(const std::string& path, const std::string& name,
                                            const std::string& value)
{
  const SharedText shared(path);
  m_updater->setParam(shared, name, value);
  m_changed.insert(shared);
}

void InternalParamUpdateProcessor::changedParam(const std::string& path, const std::string& name,
                                                const std::string& newValue, const std::string&)
{
  newParam(path, name, newValue);
}

void InternalParamUpdateProcessor::deletedParam(const std::string&, const std::string&, const std::string&)
{
  reportAssertion("Unexpected call to InternalParamChangeProcessor::deletedParam", updateProcessorSource);
}

}  // namespace orv
