#include "CheckedActions.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "command/actionChecks.h"

#include <algorithm>
#include <map>
#include <set>

namespace orv {

namespace {

struct Grammar {
  const char* className;
  const char* function;
  std::vector<std::string> words;     // arguments that are one word
  std::vector<std::string> names;     // of arguments "name=value"
  std::vector<std::string> modes;     // values of "mode"
  std::vector<std::string> required;  // of the names
  const char* wordMessage;            // of an argument without "=" that is none of the words
};

const std::map<std::string, Grammar>& grammars()
{
  static const char* const format = "Syntax error: %s parameters should have the format: param=value";
  static const char* const option = "Option '%s' in action 'debug' is not recognized.";
  static const std::map<std::string, Grammar> table{
      {"savestate",
       {"WriteStateExecutor",
        "invoke",
        {},
        {"filename", "mode", "object"},
        {"none", "overwrite"},
        {},
        format}},
      {"readstate",
       {"ReadStateExecutor",
        "invoke",
        {},
        {"filename", "mode", "load"},
        {"overwrite", "append"},
        {},
        format}},
      {"session",
       {"WriteSessionExecutor",
        "invoke",
        {"start", "stop", "stopsilently"},
        {"filename", "mode"},
        {"none", "overwrite", "append"},
        {},
        format}},
      {"readsession", {"ReadSessionExecutor", "processParams", {}, {"filename"}, {}, {}, format}},
      {"notify", {"NotifyExecutor", "invoke", {}, {"op", "filename", "type"}, {}, {}, format}},
      {"getrulesinfo", {"GetRulesInfoExecutor", "invoke", {}, {"type", "name"}, {}, {}, nullptr}},
      {"debug", {"DebugExecutor", "invoke", {"verbose_on", "verbose_off"}, {}, {}, {}, option}},
      {"copy", {"KSLCopyImpl", "parseParams", {}, {"from", "to"}, {}, {"from", "to"}, nullptr}},
      {"rename", {"KSLCopyImpl", "parseParams", {}, {"from", "to"}, {}, {"from", "to"}, nullptr}}};
  return table;
}

std::string longForm(const std::string& action)
{
  static const std::map<std::string, std::string> forms{
      {"rs", "readsession"}, {"db", "debug"}, {"fu", "forceupdate"}, {"s", "getstate"}};
  const auto found = forms.find(action);
  return found == forms.end() ? action : found->second;
}

// Throws as the executor does.
void checkCount(const std::vector<std::string>& words, const std::string& action)
{
  if (action == "delete")
    checkAtLeast(words, "delete", 1, "DeleteExecutor");
  else if (action == "forceupdate")
    checkAtLeast(words, "forceupdate", 1, "ForceUpdateExecutor");
  else if (action == "getstate")
    checkExactly(words, "getstate", 1, "GetStateExecutor");
  else if (action == "debug")
    checkExactly(words, "debug", 1, "ReadSessionExecutor");  // as the executor says
}

bool has(const std::vector<std::string>& list, const std::string& word)
{
  return std::find(list.begin(), list.end(), word) != list.end();
}

std::optional<ActionFault> faultOfArgument(const std::string& action, const Grammar& grammar,
                                           const std::string& argument)
{
  const bool isPair = argument.find('=') != std::string::npos;
  const auto [name, value] = StringUtilities::splitNameValue(argument);
  if (!isPair) {
    if (argument.empty() || has(grammar.words, argument) || !grammar.wordMessage)
      return std::nullopt;
    const bool isDebug = action == "debug";
    return ActionFault{grammar.className, grammar.function,
                       _(grammar.wordMessage, isDebug ? argument : action), argument,
                       grammar.words.empty() ? grammar.names : grammar.words};
  }
  const std::string key = StringUtilities::toLower(name);
  if (grammar.required.empty() ? !has(grammar.names, key) && !grammar.names.empty()
                               : !has(grammar.names, name))
    return ActionFault{grammar.className, grammar.function,
                       grammar.required.empty()
                           ? _("Invalid parameter in %s: '%s'.", action, name)
                           : _("Action '%s' is provided with a bad parameter '%s'.", action, argument),
                       name, grammar.names};
  if (key == "mode" && !has(grammar.modes, StringUtilities::toLower(value)))
    return ActionFault{grammar.className, grammar.function, _("Invalid parameter value: '%s'.", value), value,
                       grammar.modes};
  return std::nullopt;
}

// As its executor reads them.
std::optional<ActionFault> faultOfRulesInfo(const Grammar& grammar, const std::vector<std::string>& words)
{
  const auto fault = [&grammar](std::string message, std::string subject, std::vector<std::string> valid) {
    return ActionFault{grammar.className, grammar.function, std::move(message), std::move(subject),
                       std::move(valid)};
  };
  for (std::size_t i = 1; i < words.size(); ++i)
    if (words[i].find('=') == std::string::npos)
      return fault(_("Syntax error: getrulesinfo [type=object*|parameter] name=objectname"), words[i],
                   grammar.names);
  const RulesInfoRequest request = rulesInfoRequest(words);
  if (request.name.empty())
    return fault(_("Syntax error: getrulesinfo name must be specified."), words.front(), {});
  if (request.type != "object" && request.type != "parameter")
    return fault(_("Syntax error: getrulesinfo type can be object or parameter."), request.type,
                 {"object", "parameter"});
  return std::nullopt;
}

}  // namespace

RulesInfoRequest rulesInfoRequest(const std::vector<std::string>& words)
{
  RulesInfoRequest request{"object", {}};
  for (std::size_t i = 1; i < words.size(); ++i) {
    auto [key, value] = StringUtilities::splitNameValue(words[i]);
    key = StringUtilities::toLower(key);
    if (key == "name")
      request.name = std::move(value);
    else if (key == "type")
      request.type = StringUtilities::toLower(value);
  }
  return request;
}

std::optional<ActionFault> faultOf(const std::vector<std::string>& words)
{
  const std::string action = longForm(words.front());
  try {
    checkCount(words, action);
  } catch (const Error& error) {
    return ActionFault{error.getClassName(), error.getFunction(), error.getMessage(), words.front(), {}};
  }
  const auto found = grammars().find(action);
  if (found == grammars().end())
    return std::nullopt;
  const Grammar& grammar = found->second;
  for (std::size_t i = 1; i < words.size(); ++i)
    if (std::optional<ActionFault> fault = faultOfArgument(action, grammar, words[i]))
      return fault;
  if (action == "getrulesinfo")
    return faultOfRulesInfo(grammar, words);
  for (const std::string& name : grammar.required)
    if (argumentOf(words, name).empty())
      return ActionFault{grammar.className,
                         grammar.function,
                         _("Action '%s' needs a 'from' parameter and a 'to' parameter.", action),
                         words.front(),
                         {}};
  if (action == "session" && !has(words, "start") && !has(words, "stop") && !has(words, "stopsilently"))
    return ActionFault{grammar.className, grammar.function, _("Must specify START or STOP session."), action,
                       grammar.words};
  return std::nullopt;
}

std::string argumentOf(const std::vector<std::string>& words, std::string_view name)
{
  for (std::size_t i = 1; i < words.size(); ++i)
    if (auto [key, value] = StringUtilities::splitNameValue(words[i]); key == name)
      return value;
  return {};
}

bool isUnforeseen(const std::string& action)
{
  static const std::set<std::string> foreseen{
      "update",       "forceupdate", "fu", "delete", "copy",    "rename",    "getstate",   "s",
      "getrulesinfo", "debug",       "db", "notify", "session", "savestate", "preferences"};
  return foreseen.count(action) == 0;
}

}  // namespace orv
