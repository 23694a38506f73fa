#include "services/VariableNames.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "database/EvaluatingObject.h"
#include "database/KSLObject.h"
#include "database/ReferenceResolver.h"
#include "rules/GenericKSLObject.h"
#include "services/ExpressionEvaluatorKSLObject.h"
#include "services/ExpressionsKSLObject.h"

#include <set>
#include <utility>
#include <vector>

namespace orv {

namespace {

constexpr const char* className = "VariableNames";
constexpr const char* valueParameter = "Value";

// The parameters that are being read, innermost first.
class Reading {
 public:
  Reading(const KSLObject& object, const std::string& parameter)
      : m_object(object),
        m_parameter(parameter),
        m_outer(s_innermost),
        m_depth(m_outer ? m_outer->m_depth + 1 : 1)
  {
    for (const Reading* outer = m_outer; outer; outer = outer->m_outer) {
      if (&outer->m_object == &object && outer->m_parameter == parameter)
        throw ksl::cyclicRef(
            className, "valueOf",
            _("Tried to make object %s (%s) reference itself.", object.getPath(), parameter));
    }
    if (m_depth > maxDepth)
      throw data::invalid(className, "valueOf",
                          _("Parameter '%s' of object '%s' is read through more than %d others.", parameter,
                            object.getPath(), maxDepth));
    s_innermost = this;
  }
  ~Reading() { s_innermost = m_outer; }
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;

 private:
  static constexpr int maxDepth = 200;
  static const Reading* s_innermost;

  const KSLObject& m_object;
  const std::string& m_parameter;
  const Reading* m_outer;
  int m_depth;
};

const Reading* Reading::s_innermost = nullptr;

ExpressionValue read(const KSLObject& object, const std::string& parameter)
{
  const Reading reading(object, parameter);
  const EvaluatingObject scope(&object);
  const ParamDefinition* param = object.lookUpParam(parameter);
  if (param->getValue().empty())
    return ExpressionValue(param->getQuantityValue());  // throws, as for any empty value
  return ExpressionEvaluator::evaluate(param->getValue(), parameter);
}

bool isVariable(const KSLObject& object)
{
  return object.isA("variable") && object.hasParam(valueParameter);
}

}  // namespace

VariableNames::VariableNames()
{
  ExpressionNames::install(this);
}

VariableNames::~VariableNames()
{
  if (ExpressionNames::installed() == this)
    ExpressionNames::install(nullptr);
}

// ------------------------------------------------------------------------------------------------- what is used

namespace {

// Goes through the texts of the object's own parameters that stand for names, each once.
class Collector {
 public:
  explicit Collector(const KSLObject& object) : m_object(object) {}

  ExpressionNames::Uses collect(const std::string& parameter, const std::string& text)
  {
    m_waiting.push_back({parameter, text});
    while (!m_waiting.empty()) {
      const Text next = std::move(m_waiting.back());
      m_waiting.pop_back();
      for (const std::string& item : ParamDefinition::splitValue(next.text))
        collectFrom(ExpressionDef(item), next.parameter);
    }
    return std::move(m_uses);
  }

 private:
  struct Text {
    std::string parameter;
    std::string text;
  };

  void collectFrom(ExpressionDef expression, const std::string& parameter)
  {
    try {
      expression.parse();
    } catch (const data::invalid&) {
      return;  // who reads it is told
    }
    for (const std::string& name : expression.getUnknownFunctions()) {
      if (m_functions.insert(name).second)
        m_uses.functions.push_back(name);
    }
    for (const std::string& name : expression.getNames())
      take(parameter, name);
  }

  void take(const std::string& parameter, const std::string& name)
  {
    const bool local = VariableNames::isLocal(m_object, parameter, name);
    if (!(local ? m_locals : m_variables).insert(name).second)
      return;
    (local ? m_uses.locals : m_uses.variables).push_back(name);
    if (local)
      m_waiting.push_back({name, m_object.lookUpParam(name)->getValue()});
  }

  const KSLObject& m_object;
  ExpressionNames::Uses m_uses;
  std::set<std::string> m_variables;
  std::set<std::string> m_functions;
  std::set<std::string> m_locals;
  std::vector<Text> m_waiting;
};

}  // namespace

ExpressionNames::Uses VariableNames::namesIn(const KSLObject& object, const ParamDefinition& param,
                                             const std::string& text) const
{
  return Collector(object).collect(param.getName(), text);
}

// ------------------------------------------------------------------------------------------------- what it names

bool VariableNames::isLocal(const KSLObject& object, const std::string& parameter, const std::string& name)
{
  return name != parameter && object.hasParam(name) && !dynamic_cast<const ExpressionsKSLObject*>(&object)
         && !dynamic_cast<const ExpressionEvaluatorKSLObject*>(&object);
}

ExpressionNames::Variable VariableNames::findVariable(const KSLObject& from, const std::string& name) const
{
  ExpressionsKSLObject* expressions = ExpressionsKSLObject::current();
  if (expressions && expressions->hasExpression(name))
    return {expressions, true, name};
  return findObject(from, name);
}

ExpressionNames::Variable VariableNames::findObject(const KSLObject& from, const std::string& name)
{
  const ParamDefinition anywhere;
  KSLObject* object = ReferenceResolver(from, anywhere).find(name).object;
  if (!object || !isVariable(*object))
    return {object, false};
  const std::string scheduler = object->lookUpParam(valueParameter)->getLocalType();
  const auto* computing = dynamic_cast<const GenericKSLObject*>(object);
  return {object, true, scheduler, computing && computing->findSchedulerObject(scheduler)};
}

KSLObject* VariableNames::findLocation(const KSLObject&, const std::string&) const
{
  return nullptr;
}

KSLObject* VariableNames::findFunction(const KSLObject&, const std::string&) const
{
  return nullptr;
}

void VariableNames::variableMade() const
{
  ExpressionsKSLObject::linkToVariables();
  ExpressionEvaluatorKSLObject::linkPreviews();
}

// -------------------------------------------------------------------------------------------------------- values

ExpressionValue VariableNames::localValue(const KSLObject& object, const std::string& name)
{
  return read(object, name);
}

std::optional<ExpressionValue> VariableNames::objectValue(const KSLObject& from, const std::string& name,
                                                          const ExpressionDef& expression)
{
  const Variable variable = findObject(from, name);
  if (!variable.object)
    return std::nullopt;
  if (!variable.isVariable)
    throw data::invalid(
        className, "valueOf",
        _("Expression '%s' tries to use object '%s' as a variable.", expression.getText(), name));
  return read(*variable.object, valueParameter);
}

}  // namespace orv
