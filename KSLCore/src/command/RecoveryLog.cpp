#include "RecoveryLog.h"

#include "platform/ORVKSLAPI.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "database/ObjectDB.h"

namespace orv {

namespace {

constexpr std::string_view rulesPath = "/RULES";  // the library's, in the store alone

// Takes texts over into a store from the database.
class Adoption {
 public:
  explicit Adoption(KSLAPI& store) : m_store(store), m_change(&store, false) {}

  void param(const std::string& path, const std::string& name)
  {
    const KSLObject* object = ObjectDB::instance()->getObjectByPath(path);
    if (!object)
      return m_change.deletedObject(path);
    const ParamDefinition* param = object->lookUpParam(name);
    if (param && param->hasBeenSet())
      m_change.newParam(path, name, param->getValue());
    else
      m_change.deletedParam(path, name, {});
  }

  // With all below it. What calculations have set stays theirs.
  void object(const std::string& path)
  {
    const KSLObject* top = ObjectDB::instance()->getObjectByPath(path);
    if (!top)
      return m_change.deletedObject(path);
    std::vector<const KSLObject*> waiting{top};
    while (!waiting.empty()) {
      const KSLObject* object = waiting.back();
      waiting.pop_back();
      contents(*object);
      object->forEachChild([&](const KSLObject* child) {
        m_change.visit(KSLChange::createObject(child->getSharedPath()));
        m_store.moveLast(child->getSharedPath());
        waiting.push_back(child);
      });
    }
    if (const KSLObject* parent = top->getParentObject())
      parent->forEachChild([&](const KSLObject* child) { m_store.moveLast(child->getSharedPath()); });
  }

 private:
  void contents(const KSLObject& object)
  {
    const WholePath whole(object.getSharedPath());
    const std::string& path = whole.str();
    if (!path.empty())
      m_change.visit(KSLChange::createObject(object.getSharedPath()));
    for (const KSLAPI::ObjectInfo& info : m_store.getObjectInfo(path.empty() ? "/" : path)) {
      if (info.getKind() == "Param")
        param(path, info.getName());
      else if (info.getPath() != rulesPath && !ObjectDB::instance()->getObjectByPath(info.getPath()))
        m_change.deletedObject(info.getPath());
    }
    object.forEachParam([&](const ParamDefinition& param) {
      if (param.hasBeenSet() && !param.isInternal())
        m_change.newParam(path, param.getName(), param.getValue());
    });
  }

  KSLAPI& m_store;
  KSLAPIUpdateProcessor m_change;
};

}  // namespace

void RecoveryLog::noteCreated(const SharedText& path) noexcept
{
  try {
    m_created.push_back(path);
  } catch (...) {
    m_incomplete = true;
  }
}

void RecoveryLog::noteFailed(const SharedText& path, const SharedText& param) noexcept
{
  try {
    m_failed.emplace(path, param);
  } catch (...) {
    m_incomplete = true;
  }
}

// Each takeover leaves what it has done in place, so one that fails is attempted once more; then all is taken over.
void RecoveryLog::settle(KSLAPI& store)
{
  for (const SharedText& path : m_created)
    store.moveLast(path);
  const auto insist = [this](const auto& step) { return attempt(step) || attempt(step); };
  if (!insist([&] { noteLoaded(store); }))
    m_incomplete = true;
  Adoption adoption(store);
  for (const auto& [object, param] : m_failed) {
    const auto takeOver = [&, &path = object, &name = param] {
      const WholePath whole(path);
      name.empty() ? adoption.object(whole.str()) : adoption.param(whole.str(), name.str());
    };
    if (!insist(takeOver))
      m_incomplete = true;
  }
  if (m_incomplete)
    insist([&] { adoption.object({}); });
}

// What somebody put into the store while objects were recovered, by none of the ways that are refused: the recovery's own
// changes do not stand in the list.
void RecoveryLog::noteLoaded(KSLAPI& store)
{
  const KSLChangeList& changes = *store.getKSLChangeList();
  for (std::size_t i = 0; i < changes.size(); ++i)
    m_failed.emplace(changes[i].path, changes[i].name);
  store.clearKSLChangeList();
}

void RecoveryLog::report()
{
  if (!m_failure.isPending())
    return;
  m_failure.report();
  const bool told = attemptOnce([] {
    ErrorProgressReporter::instance()->reportError(ErrorMsg(
        "KSLInterface", "parseHistory",
        _("An attempt to recover from a previous error has failed.\nThe application is likely to be in an "
          "unstable state."),
        errorType::system));
  });
  if (!told)
    m_failure.report();
}

}  // namespace orv
