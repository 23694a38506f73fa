#include "CheckedValues.h"

#include "platform/ORVExpressions.h"
#include "platform/ORVUtilities.h"
#include "database/FormulaNames.h"
#include "database/ObjectDB.h"
#include "rules/GenericKSLObject.h"
#include "services/VariableNames.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

namespace orv {

using LeafKind = SyntaxTree::LeafKind;
using ObjectIndex = CheckedValues::ObjectIndex;

namespace {

// False only for texts that are surely numbers, with units or without: most are.
bool mayUseNames(std::string_view text)
{
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '[')
      i = std::min(text.find(']', i), text.size() - 1);
    else if ((text[i] | 0x20) >= 'a' && (text[i] | 0x20) <= 'z')
      return true;
  }
  return false;
}

}  // namespace

CheckedValues::CheckedValues(CheckState& state) : m_state(state)
{
  for (const KSLObject* object : ObjectDB::instance()->getAllObjects())
    if (const auto* computing = dynamic_cast<const GenericKSLObject*>(object);
        computing && computing->definesNames())
      computing->forEachDefinedName([this](const std::string& name) { m_expressions[name]; });
}

bool CheckedValues::mayName(const CheckedType& type, const CheckedParam& param, const std::string& value)
{
  if (!type.computing || type.computing->waitsWithoutError())
    return false;
  return param.isExpression ? mayUseNames(value) : param.linksNames() || param.isOptional;
}

void CheckedValues::note(Index node, ObjectIndex object, const CheckedParam& param, const std::string& value)
{
  if (param.isExpression && param.values.takesText())
    checkExpression(node, object, param.definition->getName(), value);
  m_pending.push_back({object, node, &param, value});
}

// What a line before in this block may have set counts no more.
void CheckedValues::noteNone(ObjectIndex object, const CheckedParam& param)
{
  if (!param.linksNames() && !param.isOptional)
    return;
  for (std::size_t i = m_pending.size(); i-- > 0 && m_pending[i].object == object;)
    if (m_pending[i].param == &param)
      m_pending.erase(m_pending.begin() + static_cast<std::ptrdiff_t>(i));
  if (param.isOptional)
    return;
  m_links.setToDefault(object, param);
  m_users.erase({object, &param});
}

void CheckedValues::noteDefinition(Index node, ObjectIndex object, const std::string& name,
                                   const std::string& value)
{
  Expression& expression =
      m_expressions[name] = {m_state.text, node, object, value, checkExpression(node, object, name, value)};
  m_definitionsChanged = true;
  m_links.define(name);
  m_definers.insert(object);
  if (!m_state.collects)
    return;
  m_state.names.addDefined(node, name);
  for (const std::string& used : expression.uses)
    m_uses.push_back({CheckedObjects::root, used, placeOf(node)});
}

// The names that it uses.
std::vector<std::string> CheckedValues::checkExpression(Index node, ObjectIndex object,
                                                        const std::string& name, const std::string& value)
{
  ExpressionDef expression(value);
  try {
    if (!value.empty())
      expression.parse(name);
  } catch (const Error& error) {
    m_state.add(ErrorMsg(error), node, LeafKind::value, value, object, nullptr).parameter = name;
  }
  return expression.isParsed() ? expression.getNames() : std::vector<std::string>();
}

// Of a parameter that is set twice the last text counts.
void CheckedValues::settle()
{
  if (const Index removal = std::exchange(m_state.removal, SyntaxTree::none); removal != SyntaxTree::none)
    settleRemoval(removal);
  std::set<std::pair<ObjectIndex, const CheckedParam*>> seen;
  for (auto pending = m_pending.rbegin(); pending != m_pending.rend(); ++pending) {
    if (!m_state.objects[pending->object].alive
        || (m_pending.size() > 1 && !seen.emplace(pending->object, pending->param).second))
      continue;
    if (pending->param->isReference)
      checkReference(*pending);
    else if (pending->param->isFormula)
      checkFormula(*pending);
    else if (pending->param->isOptional)
      noteOptional(*pending);
    else
      checkNames(*pending);
  }
  m_pending.clear();
  if (std::exchange(m_definitionsChanged, false)) {
    for (const std::string& name : std::set<std::string>(m_used))
      checkUses(name, nullptr);
    checkCircles();
  }
  m_links.addCircles();
}

void CheckedValues::finish()
{
  for (const Missing& missing : m_missing)
    lookLater(missing);
  for (const MissingName& missing : m_missingNames)
    lookLater(missing);
}

void CheckedValues::collectLater()
{
  for (const Missing& missing : m_missing)
    if (const CheckedObjects::Hit hit = resolve(missing); hit.object != CheckedObjects::none) {
      m_state.names.begin(*missing.place.tree, missing.place.text);
      m_state.names.addItem(missing.place.node, missing.number, m_state.objects[hit.object].path);
    }
  for (const MissingName& missing : m_missingNames)
    addUse(missing.object, missing.name, missing.place);
  for (const LaterUse& use : m_uses)
    addUse(use.object, use.name, use.place);
  for (const TextUse& use : m_textUses)
    addUse(use);
}

// What no object is called means something else. In a formula it may be a component of what stands before the dot.
void CheckedValues::addUse(const TextUse& use)
{
  const ParamDefinition& definition = *use.param->definition;
  const CheckedObjects::Hit hit = use.param->isFormula
                                      ? m_state.objects.resolveInFormula(use.object, use.name, definition)
                                      : m_state.objects.resolve(use.object, use.name, definition);
  if (!hit.fits)
    return;
  const CheckedObjects::Object& object = m_state.objects[hit.object];
  m_state.names.begin(*use.place.tree, use.place.text);
  if (!use.param->isFormula)
    return m_state.names.addItem(use.place.node, use.number, object.path);
  const std::size_t length =
      object.name == use.name ? use.name.size() : FormulaNames::holderOf(use.name).size();
  m_state.names.addFormulaUses(use.place.node, use.name, length, object.path);
}

void CheckedValues::addUse(ObjectIndex object, const std::string& name, const Place& place)
{
  m_state.names.begin(*place.tree, place.text);
  if (m_expressions.count(name) > 0)
    m_state.names.addUses(place.node, name, true, name);
  else if (const CheckedObjects::Hit hit = resolveVariable(object, name); hit.fits)
    m_state.names.addUses(place.node, name, false, m_state.objects[hit.object].path);
}

CheckedObjects::Hit CheckedValues::resolve(const Missing& missing) const
{
  return m_state.objects.resolve(missing.object, missing.item, *missing.param->definition);
}

void CheckedValues::checkReference(const Pending& pending)
{
  const ParamDefinition& definition = *pending.param->definition;
  std::vector<ObjectIndex> targets;
  std::size_t number = 0;
  for (const std::string& item : StringUtilities::splitValue(pending.value)) {
    const std::size_t place = number++;
    const std::string name(StringUtilities::unquoted(item));
    if (name.empty() || definition.getAllowedValues().count(item) > 0)
      continue;
    const CheckedObjects::Hit hit = m_state.objects.resolve(pending.object, item, definition);
    if (m_state.collects && hit.object != CheckedObjects::none)
      m_state.names.addItem(pending.node, place, m_state.objects[hit.object].path);
    if (!hit.candidates.empty())
      addAmbiguous(pending, name, hit.candidates);
    else if (hit.object == CheckedObjects::none)
      addMissing(pending, item, name, place);
    else if (!hit.fits && m_state.objects[pending.object].type->hasScheduler(definition.getLocalType()))
      m_state.add(CheckState::error(
                      "GenericKSLObject", "makeParentLinks",
                      _("Cannot connect parameter %s to object %s(it does not have Scheduler type %s).",
                        definition.getName(), m_state.objects[hit.object].path, definition.getRemoteType())),
                  pending.node, LeafKind::value, name, pending.object, pending.param);
    else if (hit.fits)
      targets.push_back(hit.object);
  }
  m_links.set(pending.object, *pending.param, pending.node, std::move(targets));
}

void CheckedValues::noteOptional(const Pending& pending)
{
  std::size_t number = 0;
  for (const std::string& item :
       StringUtilities::splitValue(m_state.collects ? pending.value : std::string()))
    m_textUses.push_back({pending.object, pending.param, item, placeOf(pending.node), number++});
}

// What is no object's name is the calculation's affair.
void CheckedValues::checkFormula(const Pending& pending)
{
  std::vector<std::string> names = FormulaNames::namesIn(pending.value);
  for (const std::string& name : names) {
    const CheckedObjects::Hit hit =
        m_state.objects.resolveInFormula(pending.object, name, *pending.param->definition);
    if (!hit.candidates.empty())
      addAmbiguous(pending, name, hit.candidates);
    if (m_state.collects)
      m_textUses.push_back({pending.object, pending.param, name, placeOf(pending.node), 0});
  }
  m_links.set(pending.object, *pending.param, pending.node, {}, std::move(names));
}

void CheckedValues::addMissing(const Pending& pending, const std::string& item, const std::string& name,
                               std::size_t number)
{
  if (m_state.unforeseen)
    return;
  const ParamDefinition& definition = *pending.param->definition;
  CheckFinding& finding = m_state.add(
      CheckState::error("GenericKSLObject", "makeParentLinks",
                        _("Object '%s' referred to in '%s' does not exist.", name, definition.getName())),
      pending.node, LeafKind::value, name, pending.object, pending.param);
  m_missing.push_back(
      {m_state.findings.size() - 1, pending.object, pending.param, item, placeOf(pending.node), number});
  constexpr std::size_t most = 50;  // of the findings that list what there is
  if (m_missing.size() > most)
    return;
  for (const ObjectIndex child : m_state.objects[CheckedObjects::root].children)
    if (m_state.objects[child].type->hasScheduler(definition.getRemoteType()))
      finding.valid.push_back(m_state.objects[child].name);
}

void CheckedValues::addAmbiguous(const Pending& pending, const std::string& name,
                                 const std::vector<ObjectIndex>& candidates)
{
  CheckFinding& finding =
      m_state.add(CheckState::error("GenericKSLObject", "makeParentLinks",
                                    _("More than one object with name '%s' exists.", name)),
                  pending.node, LeafKind::value, name, pending.object, pending.param);
  for (const ObjectIndex candidate : candidates) {
    finding.valid.push_back(m_state.objects[candidate].path);
    finding.notes.push_back(
        {(*m_state.tree)[pending.node].offset, _("it may be '%s'", m_state.objects[candidate].path)});
  }
}

void CheckedValues::checkNames(const Pending& pending)
{
  std::vector<ObjectIndex> objects;
  std::vector<std::string> named;
  for (const std::string& item : StringUtilities::splitValue(pending.value)) {
    ExpressionDef expression(item);
    try {
      expression.parse();
    } catch (const data::invalid&) {
      continue;  // told already
    }
    for (const std::string& name : expression.getUnknownFunctions())
      m_state.add(CheckState::error("GenericKSLObject", "makeVariableLinks",
                                    _("Expression '%s' depends on a function '%s' which does not exist.",
                                      pending.value, name)),
                  pending.node, LeafKind::value, name, pending.object, pending.param);
    for (const std::string& name : expression.getNames()) {
      checkName(pending, name, objects);
      if (m_expressions.count(name) > 0)
        named.push_back(name);
    }
  }
  if (named.empty())
    m_users.erase({pending.object, pending.param});
  else
    m_users[{pending.object, pending.param}] = {pending.value, named};
  m_links.set(pending.object, *pending.param, pending.node, std::move(objects), std::move(named));
}

// An object that the name stands for is added.
void CheckedValues::checkName(const Pending& pending, const std::string& name,
                              std::vector<ObjectIndex>& objects)
{
  const CheckedType& type = *m_state.objects[pending.object].type;
  const CheckedParam* own = name == pending.param->definition->getName() ? nullptr : type.findParam(name);
  if (own && !VariableNames::isComputed(*own->definition))
    return;
  if (m_expressions.count(name) > 0) {
    if (m_state.collects)
      m_state.names.addUses(pending.node, name, true, name);
    return checkUses(name, &pending);
  }
  const CheckedObjects::Hit hit = resolveVariable(pending.object, name);
  if (m_state.collects && hit.fits)
    m_state.names.addUses(pending.node, name, false, m_state.objects[hit.object].path);
  if (!hit.candidates.empty())
    addAmbiguous(pending, name, hit.candidates);
  else if (hit.object == CheckedObjects::none && !m_state.unforeseen)
    addMissingName(pending, name);
  else if (hit.object != CheckedObjects::none && !hit.fits)
    m_state.add(
        CheckState::error("GenericKSLObject", "makeVariableLinks",
                          _("Expression '%s' tries to use object '%s' as a variable.", pending.value, name)),
        pending.node, LeafKind::value, name, pending.object, pending.param);
  else if (hit.fits)
    objects.push_back(hit.object);
}

void CheckedValues::addMissingName(const Pending& pending, const std::string& name)
{
  m_state
      .add(CheckState::error(
               "GenericKSLObject", "makeVariableLinks",
               _("Expression '%s' depends on a variable '%s' which does not exist.", pending.value, name)),
           pending.node, LeafKind::value, name, pending.object, pending.param)
      .valid = expressionNames();
  m_missingNames.push_back({m_state.findings.size() - 1, pending.object, name, placeOf(pending.node)});
}

std::vector<std::string> CheckedValues::expressionNames() const
{
  std::vector<std::string> names;
  for (const auto& [name, expression] : m_expressions)
    names.push_back(name);
  return names;
}

// A name that is used, and what the expression of this name uses in its turn. Told where the expression stands, else at
// its user.
void CheckedValues::checkUses(const std::string& top, const Pending* user)
{
  std::vector<std::string> waiting{top};
  std::set<std::string> seen{top};
  while (!waiting.empty()) {
    const std::string name = std::move(waiting.back());
    waiting.pop_back();
    const auto found = m_expressions.find(name);
    if (found == m_expressions.end())
      continue;
    m_used.insert(name);
    for (const std::string& used : found->second.uses) {
      if (m_expressions.count(used) > 0 ? !seen.insert(used).second : isVariableObject(used))
        continue;
      if (m_expressions.count(used) > 0)
        waiting.push_back(used);
      else
        addMissingUse(name, found->second, used, user);
    }
  }
}

void CheckedValues::checkCircles()
{
  const std::optional<std::pair<std::string, std::string>> circle = findCircle(m_expressions, m_state.text);
  if (!circle)
    return;
  const auto& [name, used] = *circle;
  const Expression& expression = m_expressions.at(name);
  const std::string path = m_state.objects[expression.object].path;
  m_state
      .add(CheckState::error(
               "SchedulerObject", "addChild",
               name == used
                   ? _("Tried to make object %s (%s) reference itself.", path, name)
                   : _("Attempt to create a cyclic dependency between object %s (%s) and object %s (%s).",
                       path, used, path, name)),
           expression.node, LeafKind::value, used, expression.object, nullptr)
      .parameter = name;
}

// Expressions go with the objects that define them, unless a value needs one.
void CheckedValues::settleRemoval(Index node)
{
  std::set<std::string> gone;
  if (std::erase_if(m_definers, [this](ObjectIndex object) { return !m_state.objects[object].alive; }) > 0)
    for (const auto& [name, expression] : m_expressions)
      if (!m_state.objects[expression.object].alive)
        gone.insert(name);
  if (gone.empty())
    return;
  for (const auto& [key, user] : m_users) {
    std::string name;
    if (!m_state.objects[key.first].alive)
      continue;
    const Expression* const expression = lostBy(user, gone, name);
    if (name.empty())
      continue;
    m_state.add(CheckState::error("GenericKSLObject", "makeVariableLinks",
                                  _("Expression '%s' depends on a variable '%s' which does not exist.",
                                    expression ? expression->value : user.value, name)),
                node, LeafKind::arguments, {}, key.first, key.second);
    return;
  }
  for (const std::string& name : gone)
    m_expressions.erase(name);
}

// The name of a lost expression that the user needs, itself or through others, of which the last is returned.
const CheckedExpression* CheckedValues::lostBy(const User& user, const std::set<std::string>& gone,
                                               std::string& name) const
{
  std::vector<std::pair<const Expression*, const std::string*>> waiting;
  std::set<std::string_view> seen;
  const auto wait = [&](const Expression* expression, const std::vector<std::string>& names) {
    for (const std::string& each : names)
      if (seen.insert(each).second)
        waiting.emplace_back(expression, &each);
  };
  wait(nullptr, user.names);
  while (!waiting.empty()) {
    const auto [expression, each] = waiting.back();
    waiting.pop_back();
    if (gone.count(*each) > 0 && !isVariableObject(*each)) {
      name = *each;
      return expression;
    }
    if (const auto found = m_expressions.find(*each); found != m_expressions.end())
      wait(&found->second, found->second.uses);
  }
  return nullptr;
}

bool CheckedValues::isVariableObject(const std::string& name) const
{
  return resolveVariable(CheckedObjects::root, name).fits;
}

CheckedObjects::Hit CheckedValues::resolveVariable(ObjectIndex from, const std::string& name) const
{
  return m_state.objects.resolve(from, name, {}, [](const CheckedType& type) { return type.isVariable; });
}

void CheckedValues::addMissingUse(const std::string& name, const Expression& expression,
                                  const std::string& used, const Pending* user)
{
  const bool isHere = expression.text == m_state.text;
  if (m_state.unforeseen || (!isHere && !user))
    return;
  CheckFinding& finding = m_state.add(
      CheckState::error(
          "GenericKSLObject", "makeVariableLinks",
          _("Expression '%s' depends on a variable '%s' which does not exist.", expression.value, used)),
      isHere ? expression.node : user->node, LeafKind::value, used, isHere ? expression.object : user->object,
      nullptr);
  finding.parameter = isHere ? name : user->param->definition->getName();
  finding.valid = expressionNames();
  m_missingNames.push_back({m_state.findings.size() - 1, CheckedObjects::root, used,
                            placeOf(isHere ? expression.node : user->node)});
}

// An object that comes later is there in the end, but not in time.
void CheckedValues::lookLater(const Missing& missing)
{
  const CheckedObjects::Hit hit = resolve(missing);
  if (hit.object == CheckedObjects::none)
    return;
  CheckFinding& finding = m_state.findings[missing.finding];
  const CheckedObjects::Object& found = m_state.objects[hit.object];
  if (found.text == finding.text) {
    finding.notes.push_back({found.offset, _("It is defined here, which is too late.")});
    return;
  }
  finding.error = CheckState::warning(
      "GenericKSLObject", "makeParentLinks",
      _("Object '%s' referred to in '%s' is defined in a later text.", finding.subject, finding.parameter));
  finding.valid.clear();
  finding.isLater = true;
}

void CheckedValues::lookLater(const MissingName& missing)
{
  CheckFinding& finding = m_state.findings[missing.finding];
  const auto expression = m_expressions.find(missing.name);
  if (expression != m_expressions.end())
    finding.isLater = expression->second.text != finding.text;
  else if (const CheckedObjects::Hit hit = resolveVariable(missing.object, missing.name); hit.fits)
    finding.isLater = m_state.objects[hit.object].text != finding.text;
}

}  // namespace orv
