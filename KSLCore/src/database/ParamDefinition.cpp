#include "database/ParamDefinition.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/internal/SmallBlocks.h"
#include "database/QuantityScanner.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace orv {

namespace {

constexpr const char* paramDefinitionClass = "ParamDefinition";

refcnt_ptr<const ParamDefinition::Rules> makeRules(std::string name, std::string localType,
                                                   std::string remoteType, std::string type,
                                                   std::string defaultValue, std::string category)
{
  auto rules = std::make_unique<ParamDefinition::Rules>();
  rules->name = std::move(name);
  rules->type = std::move(type);
  rules->defaultValue = std::move(defaultValue);
  rules->localType = std::move(localType);
  rules->remoteType = std::move(remoteType);
  rules->category = std::move(category);
  return refcnt_ptr<const ParamDefinition::Rules>(rules.release());
}

refcnt_ptr<const ParamDefinition::Rules> checkedRules(refcnt_ptr<const ParamDefinition::Rules> rules)
{
  if (!rules)
    throw internal::nullPointer(paramDefinitionClass, "ParamDefinition",
                                _("Input parameter %s is a null pointer.", "p_rules"));
  return rules;
}

// Percent, say. An angle is none: it is shown in units of angles.
bool isPureNumber(const std::string& units)
{
  return UnitsConverter::isValid(units) && UnitDimensions(units).exponents() == UnitDimensions::Exponents{};
}

bool fitsFloat(double value)
{
  return std::fabs(value) <= std::numeric_limits<float>::max();
}

bool fitsInt(double value)
{
  return value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max();
}

}  // namespace

ParamDefinition::NotifyChange::~NotifyChange() = default;

void ParamDefinition::Rules::setAllowedValues(std::vector<std::string> asWritten)
{
  allowedValues = std::set<std::string>(asWritten.begin(), asWritten.end());
  allowedInOrder = std::move(asWritten);
}

// ------------------------------------------------------------------------------------------------ construction

ParamDefinition::ParamDefinition() : m_rules(new Rules) {}

ParamDefinition::ParamDefinition(std::string name, std::string localType, std::string remoteType,
                                 std::string type, std::string defaultValue, std::string category)
    : m_value(std::string_view(defaultValue)),
      m_rules(makeRules(std::move(name), std::move(localType), std::move(remoteType), std::move(type),
                        std::move(defaultValue), std::move(category)))
{}

ParamDefinition::ParamDefinition(refcnt_ptr<const Rules> rules) : m_rules(checkedRules(std::move(rules)))
{
  m_value = SharedText(std::string_view(m_rules->defaultValue));
}

ParamDefinition::ParamDefinition(const ParamDefinition& other)
    : m_value(other.m_value),
      m_rules(other.m_rules),
      m_internal(other.m_internal)
{}

void* ParamDefinition::operator new(std::size_t)
{
  static_assert(sizeof(ParamDefinition) == 32);
  return SmallBlocks<sizeof(ParamDefinition)>::take();
}

void ParamDefinition::operator delete(void* memory) noexcept
{
  if (memory)
    SmallBlocks<sizeof(ParamDefinition)>::give(memory);
}

std::unique_ptr<ParamDefinition> ParamDefinition::clone() const
{
  return std::make_unique<ParamDefinition>(*this);
}

// ------------------------------------------------------------------------------------------------- extra rules

bool ParamDefinition::hasExtraRule(std::string_view name, ExtraRuleType kind) const
{
  return kind == textRule ? m_rules->extraStrings.contains(name) : m_rules->extraLists.contains(name);
}

const std::string& ParamDefinition::getExtraRulesString(std::string_view name) const
{
  static const std::string none;
  const auto found = m_rules->extraStrings.find(name);
  return found == m_rules->extraStrings.end() ? none : found->second;
}

const std::vector<std::string>& ParamDefinition::getExtraRulesStrList(std::string_view name) const
{
  static const std::vector<std::string> none;
  const auto found = m_rules->extraLists.find(name);
  return found == m_rules->extraLists.end() ? none : found->second;
}

// ------------------------------------------------------------------------------------------------------- value

std::string ParamDefinition::getValue(bool convert, const std::string& units, bool difference) const
{
  if (!convert && units.empty())
    return getValue();
  std::vector<std::string> elements = splitValue();
  if (elements.empty())
    return getValue();
  if (elements.size() == 1)
    return convertedElement(getValue(), units, difference);
  for (std::string& element : elements)
    element = convertedElement(element, units, difference);
  return StringUtilities::vectorToString(elements, ',');
}

std::string ParamDefinition::convertedElement(const std::string& text, const std::string& units,
                                              bool difference) const
{
  const std::optional<Quantity> quantity = scanQuantity(text);
  if (!quantity)
    return text;
  if (!std::isfinite(quantity->getValue()))
    throwOutOfRange("getValue", text);
  if (!quantity->hasUnits())
    return StringUtilities::toString(quantity->getValue());
  const std::string target =
      units.empty() ? UnitSystemHandler::current()->getPreferredUnitsFromUnits(quantity->getUnits(), {})
                    : units;
  double value = quantity->getValue();
  if (!target.empty() || isPureNumber(quantity->getUnits()))
    UnitsConverter::convertUnits(quantity->getUnits(), target, quantity->getValue(), value, difference);
  return StringUtilities::toString(value);
}

void ParamDefinition::requireAllowed(const std::string& text) const
{
  if (!isAllowedValue(text))
    throw refusal(text);
}

// Of a list the first item that is not allowed is meant.
data::invalid ParamDefinition::refusal(const std::string& text) const
{
  const std::vector<std::string> items = typeIs("String List") ? splitValue(text) : std::vector{text};
  const auto wrong = std::find_if(items.begin(), items.end(), [&](const std::string& item) {
    return !m_rules->allowedValues.contains(item);
  });
  Diagnostic more = oneOf(wrong == items.end() ? text : *wrong, m_rules->allowedInOrder);
  more.parameter = getName();
  return diagnosed(data::invalid(paramDefinitionClass, "setValue",
                                 _("Parameter '%s' cannot have value '%s'.", getName(), text)),
                   std::move(more));
}

std::string ParamDefinition::setValue(std::string text)
{
  std::string before = getValue();
  setShared(SharedText(std::move(text)));
  return before;
}

void ParamDefinition::setShared(SharedText text)
{
  requireAllowed(text.str());
  setAllowed(std::move(text));
}

void ParamDefinition::setAllowed(SharedText text)
{
  const bool wasSet = std::exchange(m_hasBeenSet, true);
  const bool wasChanged = std::exchange(m_changed, true);
  std::swap(m_value, text);
  try {
    notify();
  } catch (...) {
    std::swap(m_value, text);
    m_hasBeenSet = wasSet;
    m_changed = wasChanged;
    throw;
  }
}

void ParamDefinition::unset()
{
  const bool wasSet = std::exchange(m_hasBeenSet, false);
  try {
    notify();
  } catch (...) {
    m_hasBeenSet = wasSet;
    throw;
  }
}

void ParamDefinition::restore(State state) noexcept
{
  if (state == getState())
    return;
  std::swap(m_value, state.value);
  m_hasBeenSet = state.hasBeenSet;
  m_changed = state.changed;
  try {
    notify();
  } catch (...) {}
}

void ParamDefinition::notify()
{
  if (m_notifyChange)
    m_notifyChange->paramChanged(this);
}

void ParamDefinition::setNotifyChange(NotifyChange* observer)
{
  if (m_notifyChange && observer)
    throw internal::error(paramDefinitionClass, "setNotifyChange",
                          _("Attempt to register NotifyChange when one is already registered."));
  m_notifyChange = observer;
}

bool ParamDefinition::isAllowedValue(const std::string& text) const
{
  const std::set<std::string>& allowed = m_rules->allowedValues;
  if (allowed.empty())
    return true;
  if (!typeIs("String List"))
    return allowed.contains(text);
  const std::vector<std::string> elements = splitValue(text);
  return std::all_of(elements.begin(), elements.end(),
                     [&](const std::string& element) { return allowed.contains(element); });
}

std::vector<std::string> ParamDefinition::splitValue(std::string_view text)
{
  return StringUtilities::splitValue(text);
}

std::pair<std::string, std::string> ParamDefinition::splitNameValue(std::string_view text)
{
  return StringUtilities::splitNameValue(text);
}

std::map<std::string, std::string> ParamDefinition::createNameValueMap(const std::vector<std::string>& texts)
{
  std::map<std::string, std::string> result;
  for (const std::string& text : texts)
    result.insert(splitNameValue(text));
  return result;
}

// ------------------------------------------------------------------------------------------------- typed reads

void ParamDefinition::throwOutOfRange(const char* function, const std::string& text) const
{
  throw diagnosed(data::invalid(paramDefinitionClass, function,
                                _("Value '%s' of parameter '%s' is out of range.", text, getName())),
                  {.parameter = getName(), .subject = text});
}

int ParamDefinition::readInt(const std::string& text) const
{
  if (text.empty())
    throw data::invalid(paramDefinitionClass, "getIntValueInternal",
                        _("No value for parameter %s.", getName()));
  if (const std::optional<int> number = scanInt(text))
    return *number;
  std::optional<Quantity> quantity = scanQuantity(text);
  if (!quantity || quantity->hasUnits())  // the evaluator knows whether units count as a number
    quantity = ExpressionEvaluator::evalSingleValue(text, getName());
  if (quantity->hasUnits())
    throw diagnosed(data::invalid(paramDefinitionClass, "getIntValue",
                                  _("Integer parameter value %s must be Dimensionless.", text)),
                    {.parameter = getName(), .subject = text});
  const double truncated = std::trunc(quantity->getValue());
  if (!fitsInt(truncated))
    throwOutOfRange("getIntValue", text);
  return static_cast<int>(truncated);
}

int ParamDefinition::getIntValue() const
{
  return readInt(getValue());
}

std::vector<int> ParamDefinition::getIntArray() const
{
  std::vector<int> result;
  for (const std::string& element : splitValue())
    result.push_back(readInt(element));
  return result;
}

Quantity ParamDefinition::readQuantity(const std::string& text) const
{
  if (text.empty())
    throw data::invalid(paramDefinitionClass, "getQuantityValueInternal",
                        _("Value for parameter '%s' is empty.", getName()));
  const std::optional<Quantity> quantity = scanQuantity(text);
  if (!quantity)
    return ExpressionEvaluator::evalSingleValue(text, getName());
  if (!std::isfinite(quantity->getValue()))
    throwOutOfRange("getQuantityValueInternal", text);
  return *quantity;
}

Quantity ParamDefinition::getQuantityValue() const
{
  return readQuantity(getValue());
}

float ParamDefinition::readFloat(const std::string& text, const std::string& units) const
{
  const double value = readQuantity(text).convertTo(units);
  if (!fitsFloat(value))
    throwOutOfRange("getFloatValue", text);
  return static_cast<float>(value);
}

float ParamDefinition::getFloatValue(const std::string& units) const
{
  return readFloat(getValue(), units);
}

std::vector<float> ParamDefinition::getFloatArray(const std::string& units) const
{
  const std::vector<std::string> elements = splitValue();
  if (elements.empty())
    return {readFloat({}, units)};  // throws, as for any empty value
  std::vector<float> result;
  result.reserve(elements.size());
  for (const std::string& element : elements)
    result.push_back(readFloat(element, units));
  return result;
}

std::vector<double> ParamDefinition::getRealArray(const std::string& units) const
{
  const std::vector<std::string> elements = splitValue();
  if (elements.empty())
    return {readQuantity({}).convertTo(units)};  // throws, as for any empty value
  std::vector<double> result;
  result.reserve(elements.size());
  for (const std::string& element : elements)
    result.push_back(readQuantity(element).convertTo(units));
  return result;
}

TripletBase<double> ParamDefinition::getPointValue(const std::string& units) const
{
  const std::vector<double> values = getRealArray(units);
  requireTriplet(values.size());
  return {values[0], values[1], values[2]};
}

TripletBase<float> ParamDefinition::getTripletValue(const std::string& units) const
{
  const std::vector<float> values = getFloatArray(units);
  requireTriplet(values.size());
  return {values[0], values[1], values[2]};
}

void ParamDefinition::requireTriplet(std::size_t count) const
{
  if (count != 3)
    throw data::invalid(paramDefinitionClass, "getTripletValue",
                        _("Parameter %s must have exactly three values.", getName()));
}

bool ParamDefinition::getBoolValue(const std::string& text) const
{
  bool recognised = true;
  const bool value = StringUtilities::isTrue(text, recognised);
  if (!recognised)
    throw diagnosed(
        data::invalid(paramDefinitionClass, "getBoolValue",
                      _("Parameter '%s' (of type boolean) cannot have value '%s'.", getName(), text)),
        {.parameter = getName(), .subject = text, .valid = {"True", "False"}});
  return value;
}

std::vector<ExpressionDef> ParamDefinition::getExpressionArray() const
{
  std::vector<ExpressionDef> result;
  for (std::string& element : splitValue())
    result.emplace_back(std::move(element));
  return result;
}

bool ParamDefinition::isPureNumeric() const
{
  const std::vector<std::string> elements = splitValue();
  return std::all_of(elements.begin(), elements.end(),
                     [](const std::string& element) { return scanQuantity(element).has_value(); });
}

// ------------------------------------------------------------------------------------------------------ names

bool ParamDefinition::mayName() const
{
  if (getValue().empty())
    return false;
  return !getRemoteType().empty() || typeIs("Expression")
         || (isExpression() && ExpressionDef::mayUseNames(getValue()));
}

bool ParamDefinition::isNumberType(std::string_view type) noexcept
{
  static constexpr std::string_view numbers[] = {"Real",    "Real Triplet", "Real List",
                                                 "Integer", "Integer List", "Quantity"};
  const char first = type.empty() ? '\0' : type.front();
  if (first != 'R' && first != 'I' && first != 'Q')
    return false;  // of most
  return std::find(std::begin(numbers), std::end(numbers), type) != std::end(numbers);
}

bool ParamDefinition::isExpression() const
{
  return typeIs("Expression") || (!isInternal() && getRemoteType().empty() && isNumberType(getType()));
}

}  // namespace orv
