// Reads one PARAMETER of the RULES.
#pragma once

#include "platform/ORVKSLAPI.h"
#include "database/ParamDefinition.h"
#include "rules/AdditionalRules.h"
#include "rules/KSLRules.h"

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace orv {

// One reader reads one definition.
class KSLRules::ParamReader {
 public:
  ParamReader(const KSLAPI& api, const std::set<std::string>& schedulerTypes, const AdditionalRules& extra)
      : m_api(api),
        m_schedulerTypes(schedulerTypes),
        m_extra(extra)
  {}

  // The parent is null for a global parameter.
  std::unique_ptr<ParamDefinition> read(const KSLAPI::ObjectInfo& entry, const ParamDefinition* parent);

 private:
  using Text =
      std::optional<std::string>;  // empty when the key is absent, which is not the same as empty text
  struct TextKey;

  void readKey(const KSLAPI::ObjectInfo& param);
  bool readTextKey(const KSLAPI::ObjectInfo& param);
  void readExtraKeys(const KSLAPI::ObjectInfo& param);
  void checkSchedulerType(const std::string& type) const;
  void checkLinkTypes(const std::string& paramName) const;
  void inherit(const ParamDefinition& parent);
  void inheritExtraRules(const ParamDefinition& parent);
  void storeTexts();

  const KSLAPI& m_api;
  const std::set<std::string>& m_schedulerTypes;
  const AdditionalRules& m_extra;

  Text m_type;
  Text m_localType;
  Text m_remoteType;
  Text m_default;
  Text m_category;
  Text m_remotePath;
  std::optional<bool> m_remoteOptional;
  refcnt_ptr<ParamDefinition::Rules> m_rules;
};

}  // namespace orv
