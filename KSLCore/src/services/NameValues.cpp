#include "services/NameValues.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "database/KSLObject.h"
#include "database/NamesBeside.h"
#include "rules/GenericKSLObject.h"
#include "services/VariableNames.h"

#include <algorithm>

namespace orv {

namespace {

constexpr const char* nameValuesClass = "VariableNames";

}  // namespace

std::optional<ExpressionValue> NameValues::valueOf(const KSLObject& from, const std::string& parameter,
                                                   const std::string& name, const ExpressionDef& expression)
{
  Node* node = find(from, parameter, name, expression);
  if (!node)
    return std::nullopt;
  bringUpToDate(*node);
  return result(*node);
}

ExpressionValue NameValues::valueOf(ExpressionsKSLObject& expressions, const std::string& name)
{
  Node& node = nodeOf(expressions, name);
  bringUpToDate(node);
  return result(node);
}

// Null when nothing has the name.
NameValues::Node* NameValues::find(const KSLObject& from, const std::string& parameter,
                                   const std::string& name, const ExpressionDef& expression)
{
  if (VariableNames::isLocal(from, parameter, name))
    return &nodeOf(from, name);
  if (ExpressionsKSLObject* expressions = VariableNames::expressionsFor(from))
    if (expressions->hasExpression(name))
      return &nodeOf(*expressions, name);
  const ExpressionNames::Variable variable = VariableNames::findObject(from, name);
  if (!variable.several.empty())
    throw diagnosed(
        data::notFound(nameValuesClass, "valueOf", _("More than one object with name '%s' exists.", name)),
        severalObjects(name, variable.several));
  if (!variable.object)
    return nullptr;
  if (!variable.isVariable)
    throw data::invalid(
        nameValuesClass, "valueOf",
        _("Expression '%s' tries to use object '%s' as a variable.", expression.getText(), name));
  return &nodeOf(*variable.object, VariableNames::valueParameter);
}

NameValues::Node& NameValues::nodeOf(const KSLObject& object, const std::string& parameter)
{
  Node& node = m_nodes[{&object, parameter}];
  if (node.object)
    return node;
  node.object = &object;
  node.parameter = parameter;
  node.expressions = const_cast<ExpressionsKSLObject*>(dynamic_cast<const ExpressionsKSLObject*>(&object));
  node.outside = !node.expressions;
  return node;
}

// --------------------------------------------------------------------------------------------------------- the walk

void NameValues::bringUpToDate(Node& start)
{
  std::vector<Node*> open;
  if (begin(start))
    open.push_back(&start);
  while (!open.empty()) {
    Node& node = *open.back();
    Node* used = nextUsed(node);
    if (used) {
      use(node, *used, open);
      continue;
    }
    if (node.state != Node::done)
      compute(node);
    open.pop_back();
  }
}

// True when it has to be computed.
bool NameValues::begin(Node& node)
{
  const ExpressionCache::Entry* entry =
      node.expressions ? node.expressions->m_cache->findDefined(node.parameter) : nullptr;
  if (node.state == Node::done || (entry && entry->valid)) {
    if (node.expressions)
      ++node.expressions->m_cache->counts().hits;
    if (node.state != Node::done) {
      node.value = entry->value;
      node.error = entry->error;
      node.state = Node::done;
    }
    return false;
  }
  node.state = Node::open;
  try {
    if (entry)
      node.expression = entry->expression;
    else
      read(node);
  } catch (...) {
    fail(node);
  }
  return true;
}

// A value that is out of date must not pass for one.
void NameValues::requireComputed(const KSLObject& object, const ParamDefinition& value)
{
  const auto* computing = dynamic_cast<const GenericKSLObject*>(&object);
  const auto isPending = [](const SchedulerObject& scheduler) { return scheduler.isPending(); };
  const bool isOld =
      computing
      && std::any_of(computing->getSchedulers().begin(), computing->getSchedulers().end(), isPending);
  if (isOld || value.getValue().empty())
    throw diagnosed(
        data::invalid(nameValuesClass, "valueOf",
                      isOld ? _("Variable '%s' is out of date.", object.getPath())
                            : _("Variable '%s' has no value: nothing is computed for it.", object.getPath())),
        {.object = object.getPath(), .parameter = value.getName()});
}

void NameValues::read(Node& node)
{
  const ParamDefinition* param = node.object->lookUpParam(node.parameter);
  if (VariableNames::isComputed(*param))
    requireComputed(*node.object, *param);
  if (param->getValue().empty())
    param->getQuantityValue();  // throws, as for any empty value
  node.expression = ExpressionDef(param->getValue());
  node.expression.parse(node.parameter);
}

// What the node's text names next; null when there is nothing more, or what there is cannot be found.
NameValues::Node* NameValues::nextUsed(Node& node)
{
  if (node.state == Node::done || node.next == node.expression.getNames().size())
    return nullptr;
  const std::string& name = node.expression.getNames()[node.next++];
  try {
    if (Node* used = find(*node.object, node.parameter, name, node.expression))
      return used;
    throw data::notFound(node.expressions ? "ExpressionsKSLObject" : "ExpressionEvaluator",
                         node.expressions ? "evaluate" : "evalSingleValue",
                         _("Expression '%s' depends on a variable '%s' which does not exist.",
                           node.expression.getText(), name));
  } catch (...) {
    fail(node);
    return nullptr;
  }
}

void NameValues::use(Node& user, Node& used, std::vector<Node*>& open)
{
  user.uses.push_back(&used);
  if (used.state != Node::open) {
    if (begin(used))
      open.push_back(&used);
    return;
  }
  try {
    throw ksl::cyclicRef(
        nameValuesClass, "valueOf",
        _("Tried to make object %s (%s) reference itself.", used.object->getPath(), used.parameter));
  } catch (...) {
    fail(user);
  }
}

// ---------------------------------------------------------------------------------------------------------- values

// In a handler.
void NameValues::fail(Node& node)
{
  try {
    throw;
  } catch (const Interrupt&) {
    throw;
  } catch (const Error&) {
    node.error = std::current_exception();
  }
  node.outside = true;  // what failed on the way may be another thing next time
  node.state = Node::done;
}

void NameValues::compute(Node& node)
{
  for (const Node* used : node.uses)
    node.outside = node.outside || used->outside;
  try {
    node.value = computed(node);
    node.state = Node::done;
  } catch (...) {
    const bool outside = node.outside;
    fail(node);
    node.outside = outside;
  }
  if (node.expressions)
    keep(node);
}

ExpressionValue NameValues::computed(const Node& node)
{
  std::vector<const ExpressionValue*> values;
  values.reserve(node.uses.size());
  for (const Node* used : node.uses)
    values.push_back(&result(*used));
  return node.expression.evaluate(values, node.parameter);
}

void NameValues::keep(Node& node)
{
  ExpressionCache& cache = *node.expressions->m_cache;
  ++cache.counts().misses;
  ExpressionCache::Entry* entry = cache.findDefined(node.parameter);
  if (!entry || node.outside)
    return;
  entry->value = node.value;
  entry->error = node.error;
  entry->valid = true;
}

const ExpressionValue& NameValues::result(const Node& node)
{
  if (node.error)
    std::rethrow_exception(node.error);
  return node.value;
}

}  // namespace orv
