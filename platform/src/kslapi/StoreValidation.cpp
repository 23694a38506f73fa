#include "StoreValidation.h"

#include "platform/ORVError.h"
#include "platform/internal/ChangeGroup.h"

#include <algorithm>
#include <utility>

namespace orv::store {

namespace {

constexpr std::size_t mostKnown = 64;  // parameters of a type that are looked through

[[noreturn]] void refuse(std::string message, const SharedText& path, Diagnostic more)
{
  more.object = path.copy();
  throw diagnosed(ksl::invalid("KSLAPI", "validateKSLData", std::move(message)), std::move(more));
}

// Type of the object that this one is in; empty at the top. A long path holds the text of its parent.
std::string_view typeAbove(const SharedText& path)
{
  if (path.isLong())
    return typeOf(lastComponent(path.parent()));
  const std::string_view parent = PathUtils::parentPath(path.str());
  return typeOf(parent.substr(parent.rfind('/') + 1));
}

}  // namespace

void Validation::check(const KSLChangeList& changes)
{
  ChangeGroups::Cursor cursor(changes);
  for (std::size_t i = 0; i < changes.size();) {
    const ChangeGroup group = *cursor.find(i);  // who is told may change the list
    check(group);
    i += group.size();
  }
}

void Validation::check(const ChangeGroup& group)
{
  const ChangeGroup::Listed* const all = group.listed();
  if (!all) {
    const ChangeGroup::Changed& change = *group.changed();
    enter(group.path());
    if (Judge* const known = judgeOf(change.name))
      judge(*known, change.name, change.value);
    return;
  }
  if (!all->creates)
    return;
  enter(group.path());
  if (all->object == ChangeGroup::Object::first)
    checkPlace();
  const store::ParamRun& run = all->run;
  for (std::size_t i = 0, count = all->params(); i < count; ++i) {
    const std::size_t param = all->descending ? run.size() - 1 - i : all->from + i;
    if (Judge* const known = judgeOf(run.name(param)))
      judge(*known, run.name(param), run.value(param));
  }
  if (all->object == ChangeGroup::Object::last)
    checkPlace();
}

void Validation::enter(const SharedText& path)
{
  if (m_type && path.same(m_path))
    return;
  if (!isLike(path)) {
    const std::string_view component = path.component();
    const std::string_view type = typeOf(component.substr(component.starts_with('/') ? 1 : 0));
    if (!m_type || m_type->first != type) {
      if (m_rules.kindOf(type) == Kind::unknown)
        refuse(_("Object type '%s' is not defined.", type), path,
               oneOf(std::string(type), m_validator ? m_validator->typeNames() : std::vector<std::string>()));
      m_type = &*m_types.try_emplace(std::string(type)).first;
    }
    const std::size_t colon = component.find(':');
    const bool mayHaveOthers = !path.isLong() && colon != std::string_view::npos;
    m_prefix = mayHaveOthers ? path.size() - component.size() + colon + 1 : 0;
    m_mayStand = false;
  }
  m_path = path;
  m_next = 0;
}

// Whether it is in the same object as the one under way, and of the same type.
bool Validation::isLike(const SharedText& path) const
{
  if (m_prefix == 0 || path.isLong())
    return false;
  const std::string_view text = path.str();
  return text.substr(0, m_prefix) == std::string_view(m_path.str()).substr(0, m_prefix)
         && text.find('/', m_prefix) == std::string_view::npos;
}

void Validation::checkPlace()
{
  if (!m_validator || m_mayStand)
    return;
  const std::string_view parent = typeAbove(m_path);
  std::vector<std::string>& parents = m_type->second.parents;
  m_mayStand = std::find(parents.begin(), parents.end(), parent) != parents.end();
  if (m_mayStand)
    return;
  if (m_validator->mayStandIn(m_type->first, parent)) {
    parents.emplace_back(parent);
    m_mayStand = true;
  } else {
    m_validator->checkObject(m_text.of(m_path));
  }
}

void Validation::judge(Judge& judge, const SharedText& name, const SharedText& value) const
{
  if (judge.takes(value.str()))
    return;
  const std::string reason = judge.whyRefused(value.str());
  if (!reason.empty())
    refuse(_("Parameter '%s' of object '%s' cannot have value '%s'.", name.str(), m_path.copy(), value.str()),
           m_path, {.parameter = name.str(), .subject = value.str(), .notes = {{0, 0, reason}}});
}

// Throws for a parameter that the type does not list.
Validation::Judge* Validation::findJudge(const SharedText& name)
{
  const std::vector<Param>& params = m_type->second.params;
  const auto known = std::find_if(params.begin(), params.end(),
                                  [&name](const Param& param) { return param.name.same(name); });
  if (known == params.end())
    return learn(name);
  m_next = static_cast<std::size_t>(known - params.begin()) + 1;
  return known->judge.get();
}

Validation::Judge* Validation::learn(const SharedText& name)
{
  const std::string& type = m_type->first;
  if (!m_rules.listsParam(type, name.str())) {
    Diagnostic more = oneOf(name.str(), m_rules.paramsOf(type));
    more.parameter = name.str();
    refuse(_("Parameter '%s' is not defined for object type '%s'.", name.str(), type), m_path,
           std::move(more));
  }
  std::unique_ptr<Judge> made = makeJudge(name.str());
  Judge* const judge = made.get();
  std::vector<Param>& params = m_type->second.params;
  if (params.size() < mostKnown)
    params.push_back({name, std::move(made)});
  else
    m_unkept = std::move(made);
  m_next = params.size();
  return judge;
}

namespace {

// Asks for each value.
class AskingJudge final : public ValueJudges::Judge {
 public:
  AskingJudge(const KSLValidator& validator, std::string type, std::string param)
      : m_validator(validator),
        m_type(std::move(type)),
        m_param(std::move(param))
  {}
  std::string whyRefused(const std::string& value) override
  {
    return m_validator.whyRefused(m_type, m_param, value);
  }

 private:
  const KSLValidator& m_validator;
  const std::string m_type;
  const std::string m_param;
};

}  // namespace

std::unique_ptr<Validation::Judge> Validation::makeJudge(const std::string& param) const
{
  const std::string& type = m_type->first;
  if (m_judges)
    return m_judges->judgeOf(type, param);
  if (!m_validator || !m_validator->judgesValues(type, param))
    return nullptr;
  return std::make_unique<AskingJudge>(*m_validator, type, param);
}

}  // namespace orv::store
