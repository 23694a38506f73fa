#include "actions/GetRulesInfoExecutor.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "database/ObjectFactory.h"
#include "command/KSLCoreAPI.h"
#include "command/actionChecks.h"

#include <iostream>

namespace orv {

namespace {

constexpr const char* ruler = "********************************\n";

ksl::invalid refusedQuestion(std::string message)
{
  return {"GetRulesInfoExecutor", "invoke", std::move(message)};
}

struct RulesQuestion {
  std::string type = "object";
  std::string name;
};

RulesQuestion readQuestion(const std::vector<std::string>& words)
{
  RulesQuestion arguments;
  for (auto word = words.begin() + 1; word != words.end(); ++word) {
    if (word->find('=') == std::string::npos)
      throw refusedQuestion(_("Syntax error: getrulesinfo [type=object*|parameter] name=objectname"));
    auto [key, value] = StringUtilities::splitNameValue(*word);
    key = StringUtilities::toLower(key);
    if (key == "name")
      arguments.name = std::move(value);
    else if (key == "type")
      arguments.type = StringUtilities::toLower(value);
    else
      throw diagnosed(refusedQuestion(_("Invalid parameter in %s: '%s'.", "getrulesinfo", key)),
                      oneOf(key, {"name", "type"}));
  }
  if (arguments.name.empty())
    throw refusedQuestion(_("Syntax error: getrulesinfo name must be specified."));
  return arguments;
}

// What all types share; a parameter that only a type of its own knows is described by one of its objects.
std::string usage(const std::string& name, const std::string& user)
{
  const ObjectFactory* factory = ObjectFactory::instance();
  const auto shared = factory->hasParam(name) ? factory->createParam(name) : nullptr;
  const ParamDefinition& param =
      shared ? *shared : *KSLCoreAPI::instance()->getObjectByPath(user)->lookUpParam(name);
  return "Usage of '" + name + "', default=" + param.getDefaultValue()
         + ", local type=" + param.getLocalType() + ", remote type=" + param.getRemoteType() + "\n";
}

std::string parameterText(const std::string& name)
{
  std::vector<std::pair<std::string, std::string>> users;
  KSLCoreAPI::instance()->getObjectsWithParameter(name, users);
  if (users.empty())
    return "Parameter '" + name + "' not found.\n";
  std::string text = ruler + usage(name, users.front().first);
  for (const auto& [path, value] : users)
    text.append(path).append(", value=").append(value) += '\n';
  return text;
}

void appendParameters(std::string& text, const char* title, const KSLObject& object, ParamFilter filter)
{
  text += title;
  object.forEachParam([&](const ParamDefinition& param) {
    if (!(filter & (param.isInternal() ? internalParams : externalParams)))
      return;
    text.append("  ").append(param.getName()).append(" = ").append(param.getValue());
    text.append(", default=").append(param.getDefaultValue()) += '\n';
  });
}

std::string objectText(const std::string& name)
{
  const std::string path = PathUtils::normalisePathBwdComp(namedPath(name));
  const KSLObject* object = KSLCoreAPI::instance()->getObjectByPath(path);
  if (!object)
    throw refusedQuestion(_("getrulesinfo: object %s does not exist.", name));
  std::string text = ruler;
  text.append("Current state of ").append(object->getPath()).append("\nChildren:\n");
  object->forEachChild(
      [&text](const KSLObject* child) { text.append("  ").append(child->getName()) += '\n'; });
  appendParameters(text, "External Parameters:\n", *object, externalParams);
  appendParameters(text, "Internal Parameters:\n", *object, internalParams);
  return text;
}

}  // namespace

GetRulesInfoExecutor::~GetRulesInfoExecutor() = default;

void GetRulesInfoExecutor::invoke(const std::vector<std::string>& words)
{
  checkAction(words, {"getrulesinfo"}, "GetRulesInfoExecutor");
  const RulesQuestion arguments = readQuestion(words);
  if (arguments.type == "parameter")
    std::cout << parameterText(std::string(StringUtilities::unquoted(arguments.name)));
  else if (arguments.type == "object")
    std::cout << objectText(arguments.name);
  else
    throw refusedQuestion(_("Syntax error: getrulesinfo type can be object or parameter."));
}

}  // namespace orv
