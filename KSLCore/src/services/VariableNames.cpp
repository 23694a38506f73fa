#include "services/VariableNames.h"

#include "platform/ORVException.h"
#include "database/EvaluatingObject.h"
#include "database/ObjectDB.h"
#include "database/ReferenceResolver.h"
#include "services/ExpressionEvaluatorKSLObject.h"
#include "services/ExpressionsKSLObject.h"
#include "services/NameValues.h"

#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace orv {

namespace {

bool isVariable(const KSLObject& object)
{
  return object.isA("variable") && object.hasParam(VariableNames::valueParameter);
}

}  // namespace

// Gives names their values while parameters are read.
class VariableNames::Resolver : public ExpressionResolver {
 public:
  std::optional<ExpressionValue> valueOf(const std::string& name, const ExpressionDef& expression,
                                         const std::string& parameterName) override
  {
    const KSLObject* reader = EvaluatingObject::current();
    if (reader)
      return NameValues().valueOf(*reader, parameterName, name, expression);
    const ExpressionsKSLObject* expressions = ExpressionsKSLObject::current();
    const KSLObject* from = expressions ? expressions : ObjectDB::instance()->getRoot();
    return NameValues().valueOf(*from, {}, name, expression);
  }
};

VariableNames::VariableNames() : m_resolver(std::make_unique<Resolver>())
{
  ExpressionNames::install(this);
  ExpressionResolver::install(m_resolver.get());
}

VariableNames::~VariableNames()
{
  if (ExpressionNames::installed() == this)
    ExpressionNames::install(nullptr);
  if (ExpressionResolver::installed() == m_resolver.get())
    ExpressionResolver::install(nullptr);
}

// ------------------------------------------------------------------------------------------------- what is used

namespace {

// Goes through the texts of the object's own parameters that stand for names, each once.
class UsedNames {
 public:
  explicit UsedNames(const KSLObject& object) : m_object(object) {}

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
  return UsedNames(object).collect(param.getName(), text);
}

// ------------------------------------------------------------------------------------------------- what it names

bool VariableNames::isComputed(const ParamDefinition& param)
{
  return param.isInternal() && param.getLocalType().empty();
}

bool VariableNames::isLocal(const KSLObject& object, const std::string& parameter, const std::string& name)
{
  const ParamDefinition* param = name == parameter ? nullptr : object.lookUpParam(name);
  return param && !isComputed(*param) && !dynamic_cast<const ExpressionsKSLObject*>(&object)
         && !dynamic_cast<const ExpressionEvaluatorKSLObject*>(&object);
}

ExpressionsKSLObject* VariableNames::expressionsFor(const KSLObject& from)
{
  const auto* own = dynamic_cast<const ExpressionsKSLObject*>(&from);
  return own ? const_cast<ExpressionsKSLObject*>(own) : ExpressionsKSLObject::current();
}

ExpressionNames::Variable VariableNames::findVariable(const KSLObject& from, const std::string& name,
                                                      std::vector<NameQuestion>& asked) const
{
  asked.push_back({nullptr, name});
  ExpressionsKSLObject* expressions = expressionsFor(from);
  if (expressions && expressions->hasExpression(name))
    return {expressions, true, name};
  return findObject(from, name, &asked);
}

ExpressionNames::Variable VariableNames::findObject(const KSLObject& from, const std::string& name,
                                                    std::vector<NameQuestion>* asked)
{
  ReferenceResolver::Hit hit = ReferenceResolver(from, isVariable, asked).find(name);
  if (!hit.fits)
    return {.object = hit.object, .isVariable = false, .several = std::move(hit.candidates)};
  const ParamDefinition& value = *hit.object->lookUpParam(valueParameter);
  if (isComputed(value))
    return {.object = hit.object, .isVariable = true, .isComputed = true};
  const std::string& scheduler = value.getLocalType();
  return {hit.object, true, scheduler, hit.object->hasScheduler(scheduler)};
}

KSLObject* VariableNames::findLocation(const KSLObject&, const std::string&) const
{
  return nullptr;
}

KSLObject* VariableNames::findFunction(const KSLObject&, const std::string&) const
{
  return nullptr;
}

}  // namespace orv
