#include "actions/NotifyExecutor.h"

#include "platform/ORVApplicationSupport.h"
#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "command/actionChecks.h"

#include <map>

namespace orv {

namespace {

constexpr const char* notifyExecutorClass = "NotifyExecutor";

std::map<std::string, std::string> readArguments(const std::vector<std::string>& words)
{
  std::map<std::string, std::string> arguments{{"op", ""}, {"filename", ""}, {"type", ""}};
  for (std::size_t i = 1; i < words.size(); ++i) {
    if (words[i].find('=') == std::string::npos)
      throw ksl::invalid(
          notifyExecutorClass, "invoke",
          _("Syntax error: %s parameters should have the format: %s", "notify", "param=value"));
    const auto [name, value] = StringUtilities::splitNameValue(words[i]);
    const auto argument = arguments.find(name);
    if (argument == arguments.end())
      throw diagnosed(
          ksl::invalid(notifyExecutorClass, "invoke", _("Invalid parameter in %s: '%s'.", "notify", name)),
          oneOf(name, {"filename", "op", "type"}));
    argument->second = StringUtilities::unquoted(value);
    if (argument->second.empty())
      throw data::invalid(notifyExecutorClass, "invoke", _("Empty '%s' parameter.", name));
  }
  return arguments;
}

}  // namespace

NotifyExecutor::~NotifyExecutor() = default;

void NotifyExecutor::invoke(const std::vector<std::string>& words)
{
  checkAction(words, {"notify"}, notifyExecutorClass);
  const std::map<std::string, std::string> arguments = readArguments(words);
  const auto given = [&arguments](const char* name) { return !arguments.at(name).empty(); };
  if (words.size() != 4 || !given("op") || !given("filename") || !given("type"))
    throw ksl::invalid(notifyExecutorClass, "invoke", _("Did not specify correct number of parameters"));
  if (m_files && arguments.at("op") == "filechange")
    m_files->registerExternalFileChange(arguments.at("filename"), arguments.at("type"));
}

}  // namespace orv
