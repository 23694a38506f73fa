#include "PlanDifference.h"

#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"

#include <map>
#include <optional>
#include <string>
#include <utility>

namespace orv {

namespace {

using ParamValues = KSLUpdateInfo::ParamValues;

// Plays items on top of the database as it is.
class Difference {
 public:
  void apply(const KSLUpdateInfo::UpdateItem& item)
  {
    for (const auto& [path, values] : item.objects) {
      if (item.type == KSLUpdateInfo::objectDeleteUpdate)
        remove(path);
      else if (item.type == KSLUpdateInfo::paramDeleteUpdate)
        unset(path, values);
      else
        set(path, values);
    }
  }

  std::vector<Plan::Object> objects() const
  {
    std::vector<Plan::Object> all;
    for (const auto& [path, state] : m_states)
      if (std::optional<Plan::Object> object = objectOf(path, state))
        all.push_back(std::move(*object));
    return all;
  }

 private:
  struct State {
    bool exists = true;
    ParamValues values;
  };

  static const KSLObject* before(const std::string& path)
  {
    return ObjectDB::instance()->getObjectByPath(path);
  }

  void remove(const std::string& path)
  {
    for (auto at = m_states.lower_bound(path);
         at != m_states.end() && at->first.compare(0, path.size(), path) == 0; ++at)
      if (PathUtils::isSameOrBelow(at->first, path))
        at->second = {false, {}};
    std::vector<const KSLObject*> waiting;
    if (const KSLObject* object = before(path))
      waiting.push_back(object);
    while (!waiting.empty()) {
      const KSLObject* object = waiting.back();
      waiting.pop_back();
      m_states[object->getPath()] = {false, {}};
      object->forEachChild([&](const KSLObject* child) { waiting.push_back(child); });
    }
    m_states[path] = {false, {}};
  }

  void set(const std::string& path, const ParamValues& values)
  {
    State& state = m_states[path];
    state.exists = true;
    for (const auto& [name, status] : values)
      state.values[name] = status;
  }

  void unset(const std::string& path, const ParamValues& values)
  {
    State& state = m_states[path];
    for (const auto& [name, status] : values)
      state.values[name].set = false;
  }

  static std::optional<Plan::Object> objectOf(const std::string& path, const State& state)
  {
    const KSLObject* object = before(path);
    Plan::Object result{Plan::Object::changed, path, {}};
    if (!object && !state.exists)
      return std::nullopt;  // came and went
    if (!object)
      result.kind = Plan::Object::added;
    else if (!state.exists)
      result.kind = Plan::Object::deleted;
    for (const auto& [name, status] : state.values) {
      const ParamDefinition* param = object ? object->lookUpParam(name) : nullptr;
      const std::string former = param ? param->getValue() : std::string();
      if (object ? former != status.value : status.set && !status.internal)
        result.params.push_back({name, former, status.value, status.internal});
    }
    if (result.kind == Plan::Object::changed && result.params.empty())
      return std::nullopt;
    return result;
  }

  std::map<std::string, State> m_states;
};

}  // namespace

std::vector<Plan::Object> differenceOf(const std::vector<Plan::Step>& steps)
{
  Difference difference;
  for (const Plan::Step& step : steps)
    for (const KSLUpdateInfo::UpdateItem& item : step.items)
      difference.apply(item);
  return difference.objects();
}

}  // namespace orv
