#include "rules/ParamReader.h"

#include "platform/ORVError.h"
#include "RulesKey.h"

#include <algorithm>
#include <string_view>

namespace orv {

namespace {

bool contains(const std::vector<std::string>& names, const std::string& name)
{
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

// A key with one text, and where the text goes.
struct KSLRules::ParamReader::TextKey {
  std::string_view key;
  Text ParamReader::*text;
  bool isSchedulerType = false;
  bool isName = true;  // names lose the quotes round them, values keep theirs
};

std::unique_ptr<ParamDefinition> KSLRules::ParamReader::read(const KSLAPI::ObjectInfo& entry,
                                                             const ParamDefinition* parent)
{
  m_rules = refcnt_ptr<ParamDefinition::Rules>(new ParamDefinition::Rules);
  m_rules->name = entry.getName();
  for (const KSLAPI::ObjectInfo& info : m_api.getObjectInfo(entry.getPath()))
    if (info.getKind() == "Param")
      readingKey(info, [&] { readKey(info); });

  // Before anything is inherited, on purpose: a variant with values of its own starts with the first of them
  // and not with the parent's default, which it may not even allow.
  if (!m_default && !m_rules->allowedInOrder.empty())
    m_default = m_rules->allowedInOrder.front();
  // Also before, so a variant that adds a remote type repeats the local type that it would inherit.
  checkLinkTypes(entry.getName());

  if (parent)
    inherit(*parent);
  storeTexts();
  if (!parent && m_rules->type.empty())
    m_rules->type = "string";
  if (!parent && m_rules->category.empty())
    m_rules->category = "Other";
  return std::make_unique<ParamDefinition>(m_rules);
}

void KSLRules::ParamReader::readKey(const KSLAPI::ObjectInfo& param)
{
  if (readTextKey(param))
    return;
  if (param.getName() == "Allowed String List") {
    m_rules->setAllowedValues(m_api.getStringList(param.getPath()));
    return;
  }
  if (param.getName() == "Remote Optional") {
    bool recognised = true;
    m_remoteOptional = StringUtilities::isTrue(param.getValue(), recognised);
    return;
  }
  readExtraKeys(param);
  if (m_extra.warnOfMisspeltKeys)  // any other key is for people
    warnOfMisspeltKey(param, {"Parameter Type", "Local Type", "Remote Type", "Default", "Parameter Category",
                              "Remote Path", "Remote Optional", "Allowed String List"});
}

bool KSLRules::ParamReader::readTextKey(const KSLAPI::ObjectInfo& param)
{
  static constexpr TextKey keys[] = {
      {.key = "Parameter Type", .text = &ParamReader::m_type},
      {.key = "Local Type", .text = &ParamReader::m_localType, .isSchedulerType = true},
      {.key = "Remote Type", .text = &ParamReader::m_remoteType, .isSchedulerType = true},
      {.key = "Default", .text = &ParamReader::m_default, .isName = false},
      {.key = "Parameter Category", .text = &ParamReader::m_category},
      {.key = "Remote Path", .text = &ParamReader::m_remotePath},
  };
  for (const TextKey& key : keys) {
    if (param.getName() != key.key)
      continue;
    std::string text(key.isName ? StringUtilities::unquoted(param.getValue()) : param.getValue());
    if (key.isSchedulerType)
      checkSchedulerType(text);
    this->*key.text = std::move(text);
    return true;
  }
  return false;
}

void KSLRules::ParamReader::readExtraKeys(const KSLAPI::ObjectInfo& param)
{
  if (contains(m_extra.extraStringRules, param.getName()))
    m_rules->extraStrings[param.getName()] = param.getValue();
  if (contains(m_extra.extraListRules, param.getName()))
    m_rules->extraLists[param.getName()] = m_api.getStringList(param.getPath());
}

void KSLRules::ParamReader::checkSchedulerType(const std::string& type) const
{
  if (!type.empty() && !m_schedulerTypes.contains(type))
    throw diagnosed(ksl::invalid("KSLRules", "parseParam", _("Scheduler type '%s' is not recognized.", type)),
                    oneOf(type, {m_schedulerTypes.begin(), m_schedulerTypes.end()}));
}

void KSLRules::ParamReader::checkLinkTypes(const std::string& paramName) const
{
  if (m_localType.value_or("").empty() && !m_remoteType.value_or("").empty())
    throw ksl::invalid(
        "KSLRules", "parseParam",
        _("The local type is empty and the remote type is not for parameter '%s'.", paramName));
}

void KSLRules::ParamReader::inherit(const ParamDefinition& parent)
{
  const ParamDefinition::Rules& from = *parent.getRules();
  const auto fill = [](Text& text, const std::string& inherited) {
    if (!text)
      text = inherited;
  };
  fill(m_type, from.type);
  fill(m_localType, from.localType);
  fill(m_remoteType, from.remoteType);
  fill(m_default, from.defaultValue);
  fill(m_category, from.category);
  fill(m_remotePath, from.remotePath);
  if (!m_remoteOptional)
    m_remoteOptional = from.remoteOptional;
  if (m_rules->allowedInOrder.empty())
    m_rules->setAllowedValues(from.allowedInOrder);
  inheritExtraRules(parent);
}

void KSLRules::ParamReader::inheritExtraRules(const ParamDefinition& parent)
{
  for (const std::string& name : m_extra.extraStringRules)
    if (parent.hasExtraRule(name, ParamDefinition::textRule))
      m_rules->extraStrings.try_emplace(name, parent.getExtraRulesString(name));
  for (const std::string& name : m_extra.extraListRules)
    if (parent.hasExtraRule(name, ParamDefinition::listRule))
      m_rules->extraLists.try_emplace(name, parent.getExtraRulesStrList(name));
}

void KSLRules::ParamReader::storeTexts()
{
  m_rules->type = m_type.value_or("");
  m_rules->localType = m_localType.value_or("");
  m_rules->remoteType = m_remoteType.value_or("");
  m_rules->defaultValue = m_default.value_or("");
  m_rules->category = m_category.value_or("");
  m_rules->remotePath = m_remotePath.value_or("");
  m_rules->remoteOptional = m_remoteOptional.value_or(m_rules->type == "Formula");
}

}  // namespace orv
