#include "database/DependentUpdates.h"

#include "platform/ORVAbstractDataModels.h"
#include "platform/ORVKSLAPI.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "database/ParamDefinition.h"

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>

namespace orv {

namespace {

using DependentUpdates_private::ParamUpdate;
using Item = DependentUpdates::References::Item;

bool sameParam(const ParamUpdate& a, const ParamUpdate& b)
{
  return a.objectPath == b.objectPath && a.paramName == b.paramName;
}

bool before(const ParamUpdate& a, const ParamUpdate& b)
{
  return std::tie(a.objectPath, a.paramName) < std::tie(b.objectPath, b.paramName);
}

// Blanks around items are none of theirs.
std::vector<std::string> sortedItems(const std::string& value)
{
  std::vector<std::string> items = StringUtilities::stringToVector(value, ',');
  for (std::string& item : items)
    item = StringUtilities::removeWhitespace(item);
  std::sort(items.begin(), items.end());
  return items;
}

// The items that all values of the run name.
template <class Iterator>
std::string mergedValue(Iterator first, Iterator end)
{
  std::vector<std::string> items = sortedItems(first->value);
  while (++first != end) {
    const std::vector<std::string> others = sortedItems(first->value);
    std::vector<std::string> common;
    std::set_intersection(items.begin(), items.end(), others.begin(), others.end(),
                          std::back_inserter(common));
    items.swap(common);
  }
  return StringUtilities::vectorToString(items, ',');
}

void rebuild(const TreeAndLeafReadModel* model, const std::vector<ParamUpdate>& updates,
             KSLChangeList& changes)
{
  changes.clear();
  for (const ParamUpdate& update : updates) {
    const std::string present = model->getParameterValue(KSLPath(update.objectPath), update.paramName);
    if (present != update.value)
      changes.changeParam(update.objectPath, update.paramName, update.value, present);
  }
}

}  // namespace

DependentUpdates::DependentUpdates() = default;
DependentUpdates::~DependentUpdates() = default;

void DependentUpdates::setModifiedParam(const std::string& objectPath, const std::string& paramName,
                                        const std::string& value, bool internal)
{
  (internal ? m_internalUpdates : m_externalUpdates).push_back({objectPath, paramName, value});
  m_synchronised = false;
}

void DependentUpdates::setGoing(const std::string& goingPath, const std::string& objectPath,
                                const ParamDefinition& param, const std::function<References()>& references)
{
  References& known = m_references[{objectPath, param.getName()}];
  if (known.items.empty() || known.value != param.getValue())
    known = references();
  const auto mark = [&known](const std::string& from, const auto& isMeant) {
    auto at = std::lower_bound(known.items.begin(), known.items.end(), from,
                               [](const Item& item, const std::string& path) { return item.path < path; });
    for (; at != known.items.end() && isMeant(at->path); ++at)
      at->going = true;
  };
  mark(goingPath, [&goingPath](const std::string& path) { return path == goingPath; });
  const std::string below = goingPath + "/";
  mark(below, [&below](const std::string& path) { return path.compare(0, below.size(), below) == 0; });
  m_synchronised = false;
}

const KSLChangeList* DependentUpdates::getExternalChanges(const TreeAndLeafReadModel* model)
{
  syncChangeLists(model);
  return m_externalChanges.get();
}

const KSLChangeList* DependentUpdates::getInternalChanges(const TreeAndLeafReadModel* model)
{
  syncChangeLists(model);
  return m_internalChanges.get();
}

void DependentUpdates::syncChangeLists(const TreeAndLeafReadModel* model)
{
  if (m_synchronised)
    return;
  if (!m_externalChanges)
    m_externalChanges = std::make_unique<KSLChangeList>("Dependent KSL - external params");
  if (!m_internalChanges)
    m_internalChanges = std::make_unique<KSLChangeList>("Dependent KSL - internal params");
  settleReferences(model);
  consolidateUpdates(model, m_externalUpdates);
  rebuild(model, m_externalUpdates, *m_externalChanges);
  consolidateUpdates(model, m_internalUpdates);
  rebuild(model, m_internalUpdates, *m_internalChanges);
  m_synchronised = true;
}

void DependentUpdates::settleReferences(const TreeAndLeafReadModel* model)
{
  const std::size_t now = ObjectDB::instance()->changeCount();
  for (auto& [param, references] : m_references) {
    const auto& [path, name] = param;
    const auto isGone = [&, untouched = references.reportedAt == now](const Item& item) {
      return item.going && (untouched || !model->hasObject(KSLPath(item.path)));
    };
    if (model->getParameterValue(KSLPath(path), name) != references.value
        || std::erase_if(references.items, isGone) == 0)
      continue;
    std::vector<std::string> kept;
    for (Item& item : references.items)
      kept.push_back(std::move(item.text));
    setModifiedParam(path, name,
                     kept.empty() ? references.whenEmpty : StringUtilities::vectorToString(kept, ','),
                     references.internal);
  }
  m_references.clear();
}

void DependentUpdates::consolidateUpdates(const TreeAndLeafReadModel* model,
                                          std::vector<ParamUpdate>& updates)
{
  std::stable_sort(updates.begin(), updates.end(), before);
  std::vector<ParamUpdate> merged;
  for (auto run = updates.begin(); run != updates.end();) {
    const auto end = std::find_if_not(run, updates.end(),
                                      [&run](const ParamUpdate& update) { return sameParam(*run, update); });
    if (model->hasObject(KSLPath(run->objectPath)))
      merged.push_back({run->objectPath, run->paramName, mergedValue(run, end)});
    run = end;
  }
  updates.swap(merged);
}

}  // namespace orv
