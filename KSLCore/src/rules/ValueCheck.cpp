#include "rules/ValueCheck.h"

#include "platform/ORVError.h"
#include "platform/ORVExpressions.h"
#include "platform/ORVUtilities.h"
#include "database/ParamDefinition.h"
#include "database/PreferredUnits.h"
#include "database/QuantityScanner.h"

#include <utility>
#include <vector>

namespace orv {

ValueCheck::ValueCheck(const ParamDefinition& definition)
    : m_rules(definition.getRules()),
      m_kind(definition.getRemoteType().empty() ? kindOf(definition.getType()) : Kind::text)
{}

ValueCheck::Kind ValueCheck::kindOf(const std::string& type)
{
  static constexpr std::pair<std::string_view, Kind> kinds[] = {
      {"Logical", Kind::logical},      {"Real", Kind::number},          {"Quantity", Kind::number},
      {"Real List", Kind::numbers},    {"Real Triplet", Kind::triplet}, {"Integer", Kind::integer},
      {"Integer List", Kind::integers}};
  for (const auto& [name, kind] : kinds)
    if (name == type)
      return kind;
  return Kind::text;
}

std::string ValueCheck::whyRefused(std::string_view value) const
{
  if (value.empty() || m_kind == Kind::text)
    return {};
  if (m_kind == Kind::logical) {
    bool isTruth = true;
    StringUtilities::isTrue(value, isTruth);
    return isTruth ? std::string() : _("It is neither true nor false.");
  }
  if (takesAtOnce(value))
    return {};
  try {
    std::string reason = whyNoNumbers(value);
    if (reason.empty())
      noteUsual(value);
    return reason;
  } catch (const Error& error) {
    const Diagnostic* more = error.getDiagnostic().get();
    const bool isMeant = more && !more->suggestion.empty();
    return isMeant ? _("%s Did you mean '%s'?", error.getMessage(), more->suggestion) : error.getMessage();
  }
}

namespace {

const char* afterBlanks(const char* at, const char* end)
{
  while (at != end && *at == ' ')
    ++at;
  return at;
}

const char* afterDigits(const char* at, const char* end)
{
  while (at != end && *at >= '0' && *at <= '9')
    ++at;
  return at;
}

// Behind a number as nearly all are written, "-12.5", and the blanks around it; null for all others.
const char* afterUsual(const char* at, const char* end)
{
  at = afterBlanks(at, end);
  if (at != end && (*at == '-' || *at == '+'))
    ++at;
  const char* const first = at;
  at = afterDigits(at, end);
  auto digits = at - first;
  if (at != end && *at == '.') {
    const char* const fraction = ++at;
    at = afterDigits(at, end);
    digits += at - fraction;
  }
  return digits == 0 ? nullptr : afterBlanks(at, end);
}

// Behind the units, with their brackets, and the blanks that follow; null when they are not there.
const char* afterUnits(const char* at, const char* end, std::string_view units)
{
  if (units.empty() || !std::string_view(at, static_cast<std::size_t>(end - at)).starts_with(units))
    return nullptr;
  return afterBlanks(at + units.size(), end);
}

// How many numbers, written as nearly all are and with commas between them, a text is; 0 for other texts. Units must be
// those that unitsAt gives for the text from them on, with their brackets.
template <class UnitsAt>
std::size_t countUsual(std::string_view text, UnitsAt unitsAt)
{
  const char* at = text.data();
  const char* const end = at + text.size();
  for (std::size_t count = 1;; ++count) {
    at = afterUsual(at, end);
    if (at && at != end && *at == '[')
      at = afterUnits(at, end, unitsAt(std::string_view(at, static_cast<std::size_t>(end - at))));
    if (!at || at == end)
      return at ? count : 0;
    if (*at++ != ',')
      return 0;
  }
}

}  // namespace

// As many as there must be: that is all that is asked of them.
bool ValueCheck::takesAtOnce(std::string_view value) const
{
  if (m_kind == Kind::text || m_kind == Kind::logical)
    return false;
  const std::size_t count =
      countUsual(value, [this](std::string_view) { return std::string_view(m_usualUnits); });
  const bool isList = m_kind == Kind::numbers || m_kind == Kind::integers;
  return isList ? count > 0 : count == (m_kind == Kind::triplet ? 3U : 1U);
}

// The value will do. Units that a list might be cut in are not kept.
void ValueCheck::noteUsual(std::string_view value) const
{
  std::string_view units;
  const std::size_t count = countUsual(
      value, [&units](std::string_view text) { return units = text.substr(0, text.find(']') + 1); });
  if (count > 0 && units.size() > 2 && units.find_first_of("[](){}\",", 1) == units.size() - 1)
    m_usualUnits = units;
}

std::string ValueCheck::whyNoNumbers(std::string_view value) const
{
  const bool isOne = m_kind == Kind::number || m_kind == Kind::integer;
  const std::vector<std::string> items =
      isOne ? std::vector<std::string>{std::string(value)} : StringUtilities::splitValue(value);
  if (m_kind == Kind::triplet && items.size() != 3)
    return _("A triplet has three numbers, not %d.", items.size());
  for (const std::string& item : items)
    if (std::string reason = whyNoNumber(item); !reason.empty())
      return reason;
  return {};
}

// The units of an expression are known when it names nothing.
std::string ValueCheck::whyNoNumber(const std::string& item) const
{
  if (const std::optional<Quantity> quantity = scanQuantity(item))
    return whyNoUnits(quantity->getUnits());
  ExpressionDef expression(item);
  expression.parse();
  if (!expression.getNames().empty() || !expression.getUnknownFunctions().empty())
    return {};
  return whyNoUnits(expression.evaluate({}).getQuantity().getUnits());
}

// A zero without units may be one of anything.
void ValueCheck::readDefault() const
{
  m_isDefaultRead = true;
  const std::vector<std::string> items = StringUtilities::splitValue(m_rules->defaultValue);
  const std::optional<Quantity> usual = items.empty() ? std::nullopt : scanQuantity(items.front());
  if (!usual || (!usual->hasUnits() && usual->getValue() == 0)
      || PreferredUnits::areThoseOfVariable(m_rules->name)
      || (usual->hasUnits() && !UnitsConverter::isValid(usual->getUnits())))
    return;
  m_units = usual->getUnits();
  m_dimensions = UnitDimensions(m_units);
}

std::string ValueCheck::whyNoUnits(const std::string& units) const
{
  if (units.empty())
    return {};
  if (!m_isDefaultRead)
    readDefault();
  if (units == m_units && !isInteger())
    return {};
  const UnitDimensions dimensions(units);
  if (isInteger())
    return dimensions.isDimensionless() ? std::string() : _("An integer has no units.");
  if (!m_dimensions || *m_dimensions == dimensions)
    return {};
  return _("The units are not those of the default, '%s'.", m_rules->defaultValue);
}

}  // namespace orv
