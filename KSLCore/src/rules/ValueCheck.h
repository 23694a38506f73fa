// Whether texts can be values of a parameter, as far as its type says.
#pragma once

#include "platform/ORVUnits.h"
#include "platform/ORVUtilities.h"
#include "database/ParamDefinition.h"

#include <optional>
#include <string>
#include <string_view>

namespace orv {

// Of parameters that are truth values or numbers. A number is a number, or an expression, whose units have the dimension of
// those of the default, unless it is that of a variable; a triplet has three. Other texts, keywords, references and names in
// expressions are not looked at.
class ValueCheck {
 public:
  explicit ValueCheck(const ParamDefinition& definition);

  // Nothing is ever refused.
  bool takesText() const { return m_kind == Kind::text; }
  // Numbers as nearly all are written, whose units were judged already. False says nothing.
  bool takesAtOnce(std::string_view value) const;
  // In words for people; empty when the value will do.
  std::string whyRefused(std::string_view value) const;

 private:
  enum class Kind { text, logical, number, integer, numbers, integers, triplet };

  static Kind kindOf(const std::string& type);
  bool isInteger() const { return m_kind == Kind::integer || m_kind == Kind::integers; }
  void readDefault() const;
  std::string whyNoNumbers(std::string_view value) const;
  std::string whyNoNumber(const std::string& item) const;
  std::string whyNoUnits(const std::string& units) const;

  void noteUsual(std::string_view value) const;

  refcnt_ptr<const ParamDefinition::Rules> m_rules;
  Kind m_kind;
  // Of the default, looked at when a value has units.
  mutable bool m_isDefaultRead = false;
  mutable std::string m_units;
  mutable std::optional<UnitDimensions> m_dimensions;  // none when any will do
  mutable std::string m_usualUnits;                    // with brackets, that a value had which would do
};

}  // namespace orv
