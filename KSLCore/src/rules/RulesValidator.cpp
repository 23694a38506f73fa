#include "rules/RulesValidator.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "database/ObjectFactory.h"
#include "rules/ValueCheck.h"

#include <algorithm>

namespace orv {

namespace {

std::string typeOf(std::string_view path)
{
  return KSLPath(path.substr(PathUtils::parentPath(path).size())).getLastType();
}

}  // namespace

namespace {

class ParamJudge final : public ValueJudges::Judge {
 public:
  explicit ParamJudge(const ParamDefinition& param) : m_rules(param.getRules()), m_check(param) {}

  bool takes(const std::string& value) override { return m_check.takesAtOnce(value); }
  std::string whyRefused(const std::string& value) override
  {
    return value.empty() || m_rules->allowedValues.contains(value) ? std::string()
                                                                   : m_check.whyRefused(value);
  }

 private:
  const refcnt_ptr<const ParamDefinition::Rules> m_rules;
  const ValueCheck m_check;
};

}  // namespace

std::unique_ptr<ValueJudges::Judge> RulesValidator::judgeOf(std::string_view type,
                                                            const std::string& param) const
{
  const KSLObject* prototype = ObjectFactory::instance()->findPrototype(type);
  const ParamDefinition* definition = prototype ? prototype->lookUpParam(param) : nullptr;
  if (!definition || ValueCheck(*definition).takesText())
    return nullptr;
  return std::make_unique<ParamJudge>(*definition);
}

std::string RulesValidator::whyRefused(std::string_view type, const std::string& param,
                                       const std::string& value) const
{
  const std::unique_ptr<Judge> judge = judgeOf(type, param);
  return judge ? judge->whyRefused(value) : std::string();
}

void RulesValidator::checkObject(const std::string& path) const
{
  const std::string type = typeOf(path);
  const KSLObject* prototype = ObjectFactory::instance()->findPrototype(type);
  if (!prototype)
    return;
  const std::vector<std::string> parents = parentsOf(*prototype, type);
  const std::string_view above = PathUtils::parentPath(path);
  const std::string parent = above.empty() ? std::string() : typeOf(above);
  if (parents.empty() || std::find(parents.begin(), parents.end(), parent) != parents.end())
    return;
  ErrorMsg warning("KSLAPI", "validateKSLData",
                   _("Object '%s' does not stand in an object of type %s.", path,
                     StringUtilities::vectorToString(parents, " or ")),
                   errorType::warning);
  warning.setDiagnostic(std::make_shared<const Diagnostic>(Diagnostic{.object = path}));
  ErrorProgressReporter::instance()->reportError(warning);
}

bool RulesValidator::judgesValues(std::string_view type, const std::string& param) const
{
  return judgeOf(type, param) != nullptr;
}

bool RulesValidator::mayStandIn(std::string_view type, std::string_view parentType) const
{
  const KSLObject* prototype = ObjectFactory::instance()->findPrototype(type);
  if (!prototype)
    return true;
  const std::vector<std::string> parents = parentsOf(*prototype, type);
  return parents.empty() || std::find(parents.begin(), parents.end(), parentType) != parents.end();
}

std::vector<std::string> RulesValidator::parentsOf(const KSLObject& prototype, std::string_view type) const
{
  const char* const kind = prototype.isSingleton() ? "SINGLETON" : "OBJECT";
  return m_store.getStringList(_("/RULES/%s:%s/Allowed Parent List", kind, type));
}

std::vector<std::string> RulesValidator::typeNames() const
{
  return ObjectFactory::instance()->getObjectTypes();
}

}  // namespace orv
