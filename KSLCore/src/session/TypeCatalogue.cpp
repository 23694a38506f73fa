#include "session/TypeCatalogue.h"

#include "platform/ORVError.h"
#include "platform/ORVKSLAPI.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectFactory.h"
#include "command/KSLInterface.h"

#include <algorithm>
#include <optional>

namespace orv {

namespace {

const KSLAPI& rulesStore()
{
  return *KSLInterface::instance()->getKSLAPI();
}

std::string rulesPathOf(const KSLObject& prototype)
{
  return (prototype.isSingleton() ? "/RULES/SINGLETON:" : "/RULES/OBJECT:") + prototype.getType();
}

std::string textAt(const std::string& path, const std::string& key)
{
  const std::string* value = rulesStore().findParam(path, key);
  return value ? *value : std::string();
}

bool isIn(const std::vector<std::string>& list, std::string_view item)
{
  return std::find(list.begin(), list.end(), item) != list.end();
}

void appendNew(std::vector<std::string>& list, const std::vector<std::string>& items)
{
  for (const std::string& item : items)
    if (!isIn(list, item))
      list.push_back(item);
}

// Makes the description of one type from its prototype and the text of its rules.
class TypeReader {
 public:
  explicit TypeReader(const KSLObject& prototype)
      : m_prototype(prototype),
        m_rules(prototype.getObjectRules()),
        m_path(rulesPathOf(prototype))
  {}

  TypeInfo read()
  {
    m_type.name = m_prototype.getType();
    m_type.singleton = m_prototype.isSingleton();
    m_type.description = textAt(m_path, "Description");
    m_type.categories = list("Category");
    m_type.schedulers = list("Scheduler");
    m_type.allowedParents = list("Allowed Parent List");
    m_type.children = TypeCatalogue::childrenOf(m_type.name);
    m_type.contextRule = m_rules ? m_rules->getContextRuleName() : std::string();
    if (!m_type.contextRule.empty())
      m_type.contexts = list("Allowed Option List");
    for (const std::string& name : namesInOrder())
      m_type.params.push_back(readParam(name));
    return std::move(m_type);
  }

 private:
  std::vector<std::string> list(const std::string& key) const
  {
    return rulesStore().getStringList(m_path + "/" + key);
  }

  // As the rules list them, so that what belongs together stands together; what only the object's class brings along
  // comes behind.
  std::vector<std::string> namesInOrder() const
  {
    std::vector<std::string> names = list("Essential Parameter List");
    const auto appendFrom = [&](const std::string& path) {
      for (const char* key :
           {"Essential Parameter List", "Optional Parameter List", "Default Parameter List"})
        appendNew(names, rulesStore().getStringList(path + "/" + key));
    };
    for (const std::string& context : m_type.contexts)
      appendFrom(m_path + "/CONTEXT:" + context);
    appendFrom(m_path);
    appendNew(names, m_prototype.getParamNames(externalParams));
    appendNew(names, list("Internal Parameter List"));
    appendNew(names, m_prototype.getParamNames(internalParams));
    std::erase_if(names, [this](const std::string& name) { return !m_prototype.hasParam(name); });
    return names;
  }

  ParamInfo readParam(const std::string& name) const
  {
    const ParamDefinition& param = *m_prototype.lookUpParam(name);
    const ParamDefinition::Rules& rules = *param.getRules();
    ParamInfo info;
    info.name = name;
    info.type = rules.type;
    info.defaultValue = rules.defaultValue;
    appendNew(info.allowedValues, rules.allowedInOrder);
    info.units = unitsInValue(rules.defaultValue);
    info.category = rules.category;
    info.description = textAt(m_path + "/PARAMETER:" + name, "Description");
    if (info.description.empty())
      info.description = textAt("/RULES/PARAMETER:" + name, "Description");
    info.localType = rules.localType;
    info.remoteType = rules.remoteType;
    info.remotePath = rules.remotePath;
    info.internal = param.isInternal();
    readNeed(info);
    return info;
  }

  void readNeed(ParamInfo& info) const
  {
    if (!m_rules || info.internal)
      return;
    for (const std::string& context : m_type.contexts) {
      const ObjectRules::Context place = m_rules->findContext(context);
      if (m_rules->isParamEssential(info.name, place))
        info.essentialIn.push_back(context);
      else if (m_rules->isParamOptional(info.name, place))
        info.optionalIn.push_back(context);
    }
    const std::size_t all = m_type.contexts.size();
    info.essential = all > 0 ? info.essentialIn.size() == all : m_rules->isParamEssential(info.name);
    info.optional = all > 0 ? info.optionalIn.size() == all : m_rules->isParamOptional(info.name);
    if (info.essential)
      info.essentialIn.clear();
    if (info.optional)
      info.optionalIn.clear();
  }

  const KSLObject& m_prototype;
  const ObjectRules* m_rules;
  const std::string m_path;
  TypeInfo m_type;
};

}  // namespace

const ParamInfo* TypeInfo::findParam(std::string_view param) const
{
  const auto found =
      std::find_if(params.begin(), params.end(), [&](const ParamInfo& info) { return info.name == param; });
  return found == params.end() ? nullptr : &*found;
}

std::vector<std::string> TypeCatalogue::types()
{
  return ObjectFactory::instance()->getObjectTypes();
}

TypeInfo TypeCatalogue::describe(std::string_view type)
{
  const KSLObject* prototype = ObjectFactory::instance()->findPrototype(type);
  if (!prototype)
    throw data::notFound("TypeCatalogue", "describe", _("Could not find object: %s", type));
  return TypeReader(*prototype).read();
}

std::string TypeCatalogue::keyOf(std::string_view type, std::string_view key)
{
  const KSLObject* prototype = ObjectFactory::instance()->findPrototype(type);
  return prototype ? textAt(rulesPathOf(*prototype), std::string(key)) : std::string();
}

std::vector<std::string> TypeCatalogue::listOf(std::string_view type, std::string_view key)
{
  const KSLObject* prototype = ObjectFactory::instance()->findPrototype(type);
  return prototype ? rulesStore().getStringList(rulesPathOf(*prototype) + "/" + std::string(key))
                   : std::vector<std::string>();
}

std::vector<std::string> TypeCatalogue::childrenOf(std::string_view type)
{
  std::vector<std::string> children;
  for (const std::string& each : types()) {
    const std::vector<std::string> parents = listOf(each, "Allowed Parent List");
    if (type.empty() ? parents.empty() : isIn(parents, type))
      children.push_back(each);
  }
  for (const std::string& each : listOf(type, "Optional Child List"))
    if (!isIn(children, each))
      children.push_back(each);
  return children;
}

std::string unitsInValue(std::string_view value)
{
  for (const std::string& item : StringUtilities::splitValue(value)) {
    const std::size_t open = item.find('[');
    const std::size_t close = item.find(']', open == std::string::npos ? 0 : open);
    if (open == std::string::npos || close == std::string::npos)
      continue;
    std::string units(StringUtilities::trimmed(std::string_view(item).substr(open + 1, close - open - 1)));
    if (!units.empty())
      return units;
  }
  return {};
}

}  // namespace orv
