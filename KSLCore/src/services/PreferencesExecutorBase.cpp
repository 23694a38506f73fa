#include "services/PreferencesExecutorBase.h"

#include "platform/ORVApplicationSupport.h"
#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "database/ObjectDB.h"
#include "command/KSLCoreAPI.h"
#include "command/actionChecks.h"
#include "services/EngineUnitSystemHandler.h"
#include "services/UnitsKSLObject.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace orv {

namespace {

constexpr const char* preferencesExecutorBaseClass = "PreferencesExecutorBase";
constexpr const char* actionName = "preferences";
constexpr const char* systemName = "Unit System";
constexpr std::string_view unitsSuffix = " Units";

using NameValue = std::pair<std::string, std::string>;

bool holds(const std::vector<std::string>& names, const std::string& name)
{
  return std::find(names.begin(), names.end(), name) != names.end();
}

// The quantity of "<quantity> Units"; empty for other names.
std::string quantityOf(const std::string& name)
{
  return name.ends_with(unitsSuffix) ? name.substr(0, name.size() - unitsSuffix.size()) : std::string();
}

bool isUnitsName(const std::string& name)
{
  return name == systemName || holds(EngineUnitSystemHandler::getQuantityNames(), quantityOf(name));
}

bool isUnitsValueAllowed(const std::string& name, const std::string& value)
{
  return name == systemName ? holds(EngineUnitSystemHandler::getUnitSystemNames(), value)
                            : EngineUnitSystemHandler::whyNoUnitsOf(quantityOf(name), value).empty();
}

std::vector<std::string> preferenceNames(std::vector<std::string> viewerNames)
{
  viewerNames.emplace_back(systemName);
  for (const std::string& quantity : EngineUnitSystemHandler::getQuantityNames())
    viewerNames.push_back(quantity + std::string(unitsSuffix));
  return viewerNames;
}

NameValue parseArgument(const std::string& word)
{
  if (word.find('=') == std::string::npos)
    throw ksl::invalid(
        preferencesExecutorBaseClass, "invoke",
        _("Syntax error: %s parameters should have the format: %s", actionName, "param=value"));
  return StringUtilities::splitNameValue(word);
}

std::string unitsPath()
{
  std::string path = UnitsKSLObject::findPath();
  if (path.empty())
    throw data::notFound(preferencesExecutorBaseClass, "invoke",
                         _("No object type of class '%s' is defined.", "UnitsKSLObject"));
  return path;
}

std::string unitsBlock(const std::string& path, const std::vector<NameValue>& preferences)
{
  const auto [head, end] = KSLPath(path).makeKSLPathAndEnd();
  std::string text = head;
  for (const auto& [name, value] : preferences)
    text.append(name == systemName ? name : quantityOf(name)).append(" = ").append(value).append("\n");
  return text + end;
}

bool isProcessingFile()
{
  const KSLObject* processing = ObjectDB::instance()->getObjectByPath("/FILE PROCESSING");
  const ParamDefinition* mode = processing ? processing->lookUpParam("Processing Mode") : nullptr;
  return mode && !mode->getValue().empty() && mode->getValue() != "None";
}

void keep(const std::vector<NameValue>& preferences)
{
  for (const auto& [name, value] : preferences)
    Preferences::instance()->setValue(name, value);
}

}  // namespace

PreferencesExecutorBase::~PreferencesExecutorBase() = default;

bool PreferencesExecutorBase::isViewerValueAllowed(const std::string&, const std::string&) const
{
  return true;
}

void PreferencesExecutorBase::invoke(const std::vector<std::string>& words)
{
  checkAction(words, {actionName}, preferencesExecutorBaseClass);
  checkAtLeast(words, actionName, 1, preferencesExecutorBaseClass);
  const std::vector<std::string> viewerNames = viewerParams();
  std::vector<NameValue> units;
  std::vector<NameValue> viewer;
  for (std::size_t i = 1; i < words.size(); ++i) {
    NameValue preference = parseArgument(words[i]);
    const auto& [name, value] = preference;
    const bool isUnits = isUnitsName(name);
    if (!isUnits && !holds(viewerNames, name))
      throw diagnosed(ksl::invalid(preferencesExecutorBaseClass, "invoke",
                                   _("Invalid parameter in %s: '%s'.", actionName, name)),
                      oneOf(name, preferenceNames(viewerNames)));
    if (!(isUnits ? isUnitsValueAllowed(name, value) : isViewerValueAllowed(name, value)))
      throw data::invalid(preferencesExecutorBaseClass, "invoke", _("Invalid parameter value: '%s'.", value));
    (isUnits ? units : viewer).push_back(std::move(preference));
  }

  if (!units.empty())
    KSLCoreAPI::instance()->processKSL(unitsBlock(unitsPath(), units), kslUpdateDefault);
  for (const auto& [name, value] : viewer)
    applyViewerPreference(name, value);
  if (isProcessingFile())
    return;
  keep(units);
  keep(viewer);
}

}  // namespace orv
