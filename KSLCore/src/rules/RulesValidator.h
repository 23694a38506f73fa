// Checks what commands set against the RULES before anything is changed, beyond what the text store can.
#pragma once

#include "platform/ORVKSLAPI.h"
#include "platform/internal/ValueJudges.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

class KSLObject;

class RulesValidator final : public KSLValidator, public ValueJudges {
 public:
  // The store that holds the RULES; outlives this.
  explicit RulesValidator(const KSLAPI& store) : m_store(store) {}

  // As ValueCheck says. References, keywords and names in expressions are for those who link them.
  std::string whyRefused(std::string_view type, const std::string& param,
                         const std::string& value) const override;
  // Warns, as the store's validation, of a parent that an "Allowed Parent List" does not have.
  void checkObject(const std::string& path) const override;
  std::vector<std::string> typeNames() const override;
  bool judgesValues(std::string_view type, const std::string& param) const override;
  std::unique_ptr<Judge> judgeOf(std::string_view type, const std::string& param) const override;
  bool mayStandIn(std::string_view type, std::string_view parentType) const override;

 private:
  // Empty for any.
  std::vector<std::string> parentsOf(const KSLObject& prototype, std::string_view type) const;

  const KSLAPI& m_store;
};

}  // namespace orv
