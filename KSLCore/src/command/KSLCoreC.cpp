#include "command/KSLCoreC.h"

#include "platform/ORVError.h"
#include "database/KSLObject.h"
#include "command/KSLCoreAPI.h"
#include "command/caughtError.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

using namespace orv;

namespace {

constexpr const char* kslCoreCClass = "KSLCoreC";

// The function's word with what it was asked; every failure inside names it.
struct Call {
  const char* function;

  std::string text(const char* argument, const char* name) const
  {
    if (!argument)
      throw internal::nullPointer(kslCoreCClass, function, _("Input parameter %s is a null pointer.", name));
    if (!*argument)
      throw data::invalid(kslCoreCClass, function, _("Input parameter %s is empty.", name));
    return argument;
  }

  // Null when there is none.
  const KSLObject* findObject(const char* object) const
  {
    const std::string name = text(object, "object");
    const KSLCoreAPI* api = KSLCoreAPI::instance();
    return name.front() == '/' ? api->getObjectByPath(name) : api->getTopObjectByName(name);
  }

  const KSLObject& getObject(const char* object) const
  {
    const KSLObject* found = findObject(object);
    if (!found)
      throw data::notFound(kslCoreCClass, function, _("Object '%s' does not exist.", object));
    return *found;
  }
};

// Nothing but the runtime's own unwinding passes into C; not even a report that fails for lack of memory.
void reportCaught(const char* function)
{
  try {
    ErrorProgressReporter::instance()->reportError(caughtError(function));
  } catch (...) {
    passUnwinding();
  }
}

template <class Work>
auto guarded(const char* function, Work work) -> decltype(work(Call{function}))
{
  try {
    return work(Call{function});
  } catch (...) {
    reportCaught(function);
    return {};
  }
}

char* copyOf(const std::string& text)
{
  char* const copy = static_cast<char*>(std::malloc(text.size() + 1));
  if (!copy)
    throw std::bad_alloc();
  std::memcpy(copy, text.c_str(), text.size() + 1);
  return copy;
}

std::string pathLines(const std::vector<KSLObject*>& objects)
{
  std::string lines;
  for (const KSLObject* object : objects)
    lines.append(object->getPath()) += '\n';
  return lines;
}

void appendLine(std::string& lines, std::string_view key, std::string_view text)
{
  const std::size_t start = lines.append(key).append(" = ").size();
  lines.append(text);
  std::replace_if(
      lines.begin() + static_cast<std::ptrdiff_t>(start), lines.end(),
      [](char c) { return c == '\n' || c == '\r'; }, ' ');
  lines += '\n';
}

std::string describe(const ParamDefinition& param)
{
  const auto truth = [](bool value) { return value ? "True" : "False"; };
  std::string lines;
  appendLine(lines, "Name", param.getName());
  appendLine(lines, "Value", param.getValue());
  appendLine(lines, "Default", param.getDefaultValue());
  appendLine(lines, "Set", truth(param.hasBeenSet()));
  appendLine(lines, "Internal", truth(param.isInternal()));
  appendLine(lines, "Parameter Type", param.getType());
  appendLine(lines, "Parameter Category", param.getCategory());
  appendLine(lines, "Local Type", param.getLocalType());
  appendLine(lines, "Remote Type", param.getRemoteType());
  appendLine(lines, "Remote Path", param.getRemotePath());
  appendLine(lines, "Allowed String List",
             StringUtilities::vectorToString(param.getRules()->allowedInOrder, ", "));
  return lines;
}

int knownLevel(int level)
{
  switch (level) {
    case KSL_SYSTEM_FAILURE:
    case KSL_WARNING:
    case KSL_INTERNAL_ERROR:
      return level;
    default:
      return KSL_ERROR;
  }
}

}  // namespace

char* getParamValue(const char* object, const char* parameter)
{
  return guarded("getParamValue", [&](const Call& call) {
    const std::string name = call.text(parameter, "parameter");
    return copyOf(call.getObject(object).getValue(name));
  });
}

char* getObjectType(const char* object)
{
  return guarded("getObjectType", [&](const Call& call) { return copyOf(call.getObject(object).getType()); });
}

char* getObjectChildren(const char* object)
{
  return guarded("getObjectChildren", [&](const Call& call) {
    return copyOf(pathLines(call.getObject(object).getChildObjects()));
  });
}

char* getObjectChildrenByCategory(const char* object, const char* category)
{
  return guarded("getObjectChildrenByCategory", [&](const Call& call) {
    const std::string name = call.text(category, "category");
    return copyOf(pathLines(call.getObject(object).getChildObjectsByCategory(name)));
  });
}

int isObjectCategory(const char* object, const char* category)
{
  return guarded("isObjectCategory", [&](const Call& call) {
    const std::string name = call.text(category, "category");
    return call.getObject(object).isA(name) ? 1 : 0;
  });
}

char* getObjectParameters(const char* object)
{
  return guarded("getObjectParameters", [&](const Call& call) {
    std::string lines;
    call.getObject(object).forEachParam(
        [&lines](const ParamDefinition& param) { appendLine(lines, param.getName(), param.getValue()); });
    return copyOf(lines);
  });
}

char* getObjectParameterInfo(const char* object, const char* parameter)
{
  return guarded("getObjectParameterInfo", [&](const Call& call) {
    const std::string name = call.text(parameter, "parameter");
    const KSLObject& owner = call.getObject(object);
    const ParamDefinition* param = owner.lookUpParam(name);
    return copyOf(describe(param ? *param : *owner.getParam(name)));  // which throws
  });
}

int objectExists(const char* object)
{
  return guarded("objectExists", [&](const Call& call) { return call.findObject(object) ? 1 : 0; });
}

void reportError(const char* text, int level)
{
  guarded("reportError", [&](const Call& call) {
    ErrorProgressReporter::instance()->reportError(
        ErrorMsg(kslCoreCClass, call.function, call.text(text, "text"), knownLevel(level)));
    return true;
  });
}

void freeKSLText(char* text)
{
  std::free(text);
}
