#include "command/actionChecks.h"

#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"
#include "command/KSLCoreAPI.h"

#include <algorithm>

namespace orv {

void checkAction(const std::vector<std::string>& words, std::initializer_list<std::string_view> names,
                 const char* className, const char* function)
{
  if (words.empty())
    throw internal::badParam(className, function, _("Input parameter %s is empty.", "p_action"));
  if (std::find(names.begin(), names.end(), words.front()) == names.end())
    throw internal::badParam(className, function,
                             _("Action '%s' cannot be handled by %s.", words.front(), className));
}

void checkAtLeast(const std::vector<std::string>& words, const char* action, int count, const char* className)
{
  const int received = static_cast<int>(words.size()) - 1;
  if (received < count)
    throw ksl::invalid(
        className, "invoke",
        _("Action '%s' requires at least %d argument(s). Received %d argument(s).", action, count, received));
}

void checkExactly(const std::vector<std::string>& words, const char* action, int count, const char* className)
{
  const int received = static_cast<int>(words.size()) - 1;
  if (received != count)
    throw ksl::invalid(
        className, "invoke",
        _("Action '%s' requires %d argument(s). Received %d argument(s).", action, count, received));
}

std::pair<std::string, std::string> squeezedArgument(const std::string& argument, const char* action,
                                                     const char* className)
{
  const std::size_t equals = argument.find('=');
  if (equals == std::string::npos)
    throw ksl::invalid(className, "invoke",
                       _("Syntax error: %s parameters should have the format: %s", action, "param=value"));
  const std::string_view text(argument);
  const std::string value = StringUtilities::removeAllWhitespace(text.substr(equals + 1));
  return {StringUtilities::removeAllWhitespace(text.substr(0, equals)),
          std::string(StringUtilities::unquoted(value))};
}

std::string capitalised(std::string text)
{
  if (!text.empty() && text.front() >= 'a' && text.front() <= 'z')
    text.front() = static_cast<char>(text.front() - 'a' + 'A');
  return text;
}

std::string namedPath(const std::string& argument)
{
  const std::string_view text = StringUtilities::unquoted(StringUtilities::trimmed(argument));
  if (text.empty() || text.front() != '/')
    return std::string(text);
  return PathUtils::normalisePathBwdComp(KSLPath(text).getFullPath());
}

void deleteObjects(const std::vector<std::string>& paths, kslUpdateMode mode)
{
  if (paths.empty())
    return;
  KSLBuilder text;
  std::string action;
  for (const std::string& path : paths) {
    if (path.find('"') != std::string::npos)  // its quotes would mix with those of its neighbours
      text.addAction("delete " + path);
    else
      action.append(action.empty() ? "delete " : ",").append(StringUtilities::writtenName(path));
  }
  if (!action.empty())
    text.addAction(action);
  KSLCoreAPI::instance()->processKSL(text.text(), mode);
}

}  // namespace orv
