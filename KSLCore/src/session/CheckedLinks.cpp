#include "CheckedLinks.h"

#include "platform/ORVUtilities.h"
#include "database/FormulaNames.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"

#include <algorithm>

namespace orv {

using Object = CheckedLinks::Object;

namespace {

constexpr std::size_t ofDatabase = static_cast<std::size_t>(-1);

}  // namespace

// The kinds of data of an object that a parameter asks for when it names the object.
std::vector<std::string_view> CheckedLinks::sourcesIn(const CheckedType& target, const CheckedParam& param)
{
  if (param.isExpression)
    return {target.valueSchedulers.begin(), target.valueSchedulers.end()};
  const auto kind =
      std::find(target.schedulers.begin(), target.schedulers.end(), param.definition->getRemoteType());
  return kind == target.schedulers.end() ? std::vector<std::string_view>()
                                         : std::vector<std::string_view>{*kind};
}

// Those that it may ask for, whatever it names.
std::vector<std::string> CheckedLinks::sourcesOf(const CheckedParam& param) const
{
  return param.isExpression ? m_valueKinds : std::vector{param.definition->getRemoteType()};
}

void CheckedLinks::findKinds()
{
  const std::vector<std::string> names = ObjectFactory::instance()->getObjectTypes();
  std::set<std::string> valueKinds;
  for (const std::string& name : names) {
    const CheckedType& type = *m_state.types.find(name);
    valueKinds.insert(type.valueSchedulers.begin(), type.valueSchedulers.end());
  }
  m_valueKinds.assign(valueKinds.begin(), valueKinds.end());
  for (const std::string& name : names) {
    const CheckedType& type = *m_state.types.find(name);
    for (const auto& [from, to] : type.links)
      m_kinds[from].insert(to);
    for (const auto& [unused, each] : type.params)
      if (each.linksNames())
        for (const std::string& kind : sourcesOf(each))
          m_kinds[kind].insert(each.definition->getLocalType());
  }
}

bool CheckedLinks::mayCircle(const CheckedParam& param)
{
  if (m_kinds.empty())
    findKinds();
  std::set<std::string> reached{param.definition->getLocalType()};
  std::vector<std::string> waiting{param.definition->getLocalType()};
  while (!waiting.empty()) {
    const std::string kind = std::move(waiting.back());
    waiting.pop_back();
    for (const std::string& next : m_kinds[kind])
      if (reached.insert(next).second)
        waiting.push_back(next);
  }
  const std::vector<std::string> sources = sourcesOf(param);
  return std::any_of(sources.begin(), sources.end(),
                     [&reached](const std::string& kind) { return reached.count(kind) > 0; });
}

const std::vector<const CheckedParam*>& CheckedLinks::circularOf(const CheckedType& type)
{
  const auto [found, isNew] = m_circular.try_emplace(&type);
  if (isNew)
    for (const auto& [name, param] : type.params)
      if (param.linksNames() && type.hasScheduler(param.definition->getLocalType()) && mayCircle(param))
        found->second.push_back(&param);
  return found->second;
}

void CheckedLinks::set(Object object, const CheckedParam& param, SyntaxTree::Index node,
                       std::vector<Object> targets, std::vector<std::string> names)
{
  const std::vector<const CheckedParam*>& circular = circularOf(*m_state.objects[object].type);
  if (std::find(circular.begin(), circular.end(), &param) == circular.end())
    return;
  m_used.insert(targets.begin(), targets.end());
  m_usesFormulas = m_usesFormulas || param.isFormula;
  m_usesNames = m_usesNames || (!param.isFormula && !names.empty());
  m_named[{object, &param}] = {m_state.text, node, std::move(targets), std::move(names), false};
  m_news.emplace_back(object, &param);
}

void CheckedLinks::setToDefault(Object object, const CheckedParam& param)
{
  if (m_state.objects[object].text != ofDatabase && m_named.count({object, &param}) == 0)
    return;  // it has its default
  const std::vector<const CheckedParam*>& circular = circularOf(*m_state.objects[object].type);
  if (std::find(circular.begin(), circular.end(), &param) != circular.end())
    m_named[{object, &param}] = {m_state.text, 0, {}, {}, true};
}

// ------------------------------------------------------------------------------------------------------- what is there

// Those of the names that are objects' now: others may be so later.
std::vector<Object> CheckedLinks::targetsIn(Object object, const CheckedParam& param,
                                            const std::vector<std::string>& names) const
{
  std::vector<Object> targets;
  for (const std::string& name : names)
    if (const CheckedObjects::Hit hit = m_state.objects.resolveInFormula(object, name, *param.definition);
        hit.fits)
      targets.push_back(hit.object);
  return targets;
}

std::vector<Object> CheckedLinks::defaultTargets(Object object, const CheckedParam& param) const
{
  const ParamDefinition& definition = *param.definition;
  std::vector<Object> targets;
  if (param.isExpression || definition.getAllowedValues().count(definition.getDefaultValue()) > 0)
    return targets;
  if (param.isFormula)
    return targetsIn(object, param, FormulaNames::namesIn(definition.getDefaultValue()));
  for (const std::string& item : StringUtilities::splitValue(definition.getDefaultValue()))
    if (const CheckedObjects::Hit hit = m_state.objects.resolve(object, item, definition); hit.fits)
      targets.push_back(hit.object);
  return targets;
}

std::vector<Object> CheckedLinks::targetsOf(Object object, const CheckedParam& param) const
{
  const auto named = m_named.find({object, &param});
  if (named != m_named.end() && !named->second.isDefault)
    return param.isFormula ? targetsIn(object, param, named->second.names) : named->second.targets;
  const CheckedObjects::Object& checked = m_state.objects[object];
  const KSLObject* there =
      named == m_named.end() ? ObjectDB::instance()->getObjectByPath(checked.path) : nullptr;
  const ParamDefinition* definition = there ? there->lookUpParam(param.definition->getName()) : nullptr;
  if (!definition)
    return defaultTargets(object, param);
  std::vector<Object> targets;
  for (const KSLObject* target : there->namedObjects(*definition))
    if (const Object index = target ? m_state.objects.findPath(target->getPath()) : CheckedObjects::none;
        index != CheckedObjects::none)
      targets.push_back(index);
  return targets;
}

void CheckedLinks::addVariable(Object target, const CheckedParam* param, std::vector<Edge>& edges) const
{
  const CheckedObjects::Object& object = m_state.objects[target];
  if (!object.alive || !object.type)
    return;
  const std::vector<std::string_view> kinds =
      param ? sourcesIn(*object.type, *param)
            : std::vector<std::string_view>(object.type->valueSchedulers.begin(),
                                            object.type->valueSchedulers.end());
  for (const std::string_view kind : kinds)
    edges.push_back({{target, kind}, param});
}

// Null for calculations of objects.
const CheckedExpression* CheckedLinks::expressionAt(const Node& node) const
{
  const auto found = m_usesNames ? m_expressions.find(std::string(node.second)) : m_expressions.end();
  return found != m_expressions.end() && found->second.object == node.first && !found->second.value.empty()
             ? &found->second
             : nullptr;
}

std::vector<CheckedLinks::Edge> CheckedLinks::edgesOfExpression(const CheckedExpression& expression) const
{
  std::vector<Edge> edges;
  for (const std::string& used : expression.uses) {
    if (const auto found = m_expressions.find(used); found != m_expressions.end())
      edges.push_back({{found->second.object, found->first}, nullptr});
    else if (const Object object = m_findVariable(used); object != CheckedObjects::none)
      addVariable(object, nullptr, edges);
  }
  return edges;
}

std::vector<CheckedLinks::Edge> CheckedLinks::edgesOf(const Node& node)
{
  if (const CheckedExpression* const expression = expressionAt(node))
    return edgesOfExpression(*expression);
  const CheckedType& type = *m_state.objects[node.first].type;
  std::vector<Edge> edges;
  for (const auto& [from, to] : type.links)
    if (to == node.second)
      edges.push_back({{node.first, from}, nullptr});
  for (const CheckedParam* param : circularOf(type)) {
    if (param->definition->getLocalType() != node.second)
      continue;
    for (const Object target : targetsOf(node.first, *param))
      addVariable(target, param, edges);
    if (const auto named = m_named.find({node.first, param}); named != m_named.end() && !param->isFormula)
      for (const std::string& name : named->second.names)
        if (const auto found = m_expressions.find(name); found != m_expressions.end())
          edges.push_back({{found->second.object, found->first}, param});
  }
  return edges;
}

// ------------------------------------------------------------------------------------------------------------- circles

bool CheckedLinks::isToBeSearched(const Key& key) const
{
  const CheckedObjects::Object& object = m_state.objects[key.first];
  return object.alive
         && (object.text == ofDatabase || m_usesFormulas || m_used.count(key.first) > 0
             || (m_usesNames && object.type && object.type->isVariable));
}

void CheckedLinks::addCircles()
{
  if (m_news.empty() && m_newNames.empty())
    return;
  m_credit += creditOfCommand;
  std::set<Node> done;
  bool isWhole = true;
  for (const Key& key : m_news) {
    if (!isToBeSearched(key))
      continue;
    isWhole = isWhole && search({key.first, key.second->definition->getLocalType()}, done);
    if (!isWhole)
      m_postponed.push_back(key);
  }
  m_news.clear();
  for (const std::string& name : std::exchange(m_newNames, {})) {
    isWhole = isWhole && search(name, done);
    if (!isWhole)
      m_postponedNames.insert(name);
  }
}

void CheckedLinks::endText()
{
  m_credit = static_cast<std::size_t>(-1);
  std::set<Node> done;
  for (const Key& key : m_postponed)
    if (isToBeSearched(key))
      search({key.first, key.second->definition->getLocalType()}, done);
  for (const std::string& name : std::exchange(m_postponedNames, {}))
    search(name, done);
  m_postponed.clear();
  m_told.clear();
  m_credit = creditOfText;
}

bool CheckedLinks::search(const std::string& name, std::set<Node>& done)
{
  const auto found = m_usesNames ? m_expressions.find(name) : m_expressions.end();
  return found == m_expressions.end() || search({found->second.object, found->first}, done);
}

// Depth first; a calculation that is met again on the way down closes a circle. False when the credit did not last.
bool CheckedLinks::search(const Node& start, std::set<Node>& done)
{
  std::vector<Step> steps;
  std::set<Node> above;
  const auto enter = [&](const Node& node) {
    if (!done.insert(node).second)
      return;
    above.insert(node);
    steps.push_back({node, edgesOf(node)});
    --m_credit;
  };
  enter(start);
  while (!steps.empty() && m_credit > 0) {
    Step& step = steps.back();
    if (step.next == step.edges.size()) {
      above.erase(step.node);
      steps.pop_back();
      continue;
    }
    const Node next = step.edges[step.next++].to;
    if (above.count(next) > 0)
      addCircle(steps, next);
    else
      enter(next);
  }
  return steps.empty();
}

// As reports of circles call it.
std::string CheckedLinks::nameOf(const Node& node) const
{
  const CheckedObjects::Object& object = m_state.objects[node.first];
  return expressionAt(node) ? object.path : object.name;
}

// Of this text, the one that a step goes by.
std::optional<SyntaxTree::Index> CheckedLinks::statementOf(const Step& step) const
{
  if (const CheckedExpression* const expression = expressionAt(step.node))
    return expression->text == m_state.text ? std::optional(expression->node) : std::nullopt;
  const CheckedParam* const param = step.taken().param;
  const auto named = param ? m_named.find({step.node.first, param}) : m_named.end();
  if (named == m_named.end() || named->second.text != m_state.text || named->second.isDefault)
    return std::nullopt;
  return named->second.node;
}

// Told at the statement that closed it: the last one of those that the circle leads through. One of expressions alone is
// told by those who check these.
void CheckedLinks::addCircle(const std::vector<Step>& steps, const Node& again)
{
  const Step* closing = nullptr;
  SyntaxTree::Index last = 0;
  bool hasObjects = false;
  for (std::size_t i = steps.size(); i-- > 0;) {
    hasObjects = hasObjects || !expressionAt(steps[i].node);
    if (const auto at = statementOf(steps[i]); at && (!closing || *at > last)) {
      closing = &steps[i];
      last = *at;
    }
    if (steps[i].node == again)
      break;
  }
  if (!closing || !hasObjects || !m_told.insert(last).second)
    return;
  const Node& source = closing->taken().to;
  CheckFinding& finding = m_state.add(
      CheckState::error(
          "SchedulerObject", "addChild",
          source == closing->node
              ? _("Tried to make object %s (%s) reference itself.", nameOf(source), source.second)
              : _("Attempt to create a cyclic dependency between object %s (%s) and object %s (%s).",
                  nameOf(source), source.second, nameOf(closing->node), closing->node.second)),
      last, SyntaxTree::LeafKind::value, expressionAt(source) ? std::string(source.second) : nameOf(source),
      closing->node.first, closing->taken().param);
  if (!closing->taken().param)
    finding.parameter = std::string(closing->node.second);
}

}  // namespace orv
