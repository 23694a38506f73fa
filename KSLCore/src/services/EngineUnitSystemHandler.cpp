#include "services/EngineUnitSystemHandler.h"

#include "platform/ORVError.h"
#include "platform/internal/ContextLocal.h"
#include "services/UnitSystems.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace orv {

namespace {

constexpr std::size_t maxAnswers = 1024;

constinit ContextLocal<EngineUnitSystemHandler*> theEngineUnitSystemHandler(
    ContextEnd::unitSystem, &EngineUnitSystemHandler::destroyInstance);

// Parsed at first use, in the order of the quantities: a program that never shows a unit does not wait for
// the database.
const std::vector<UnitDimensions>& quantityDimensions()
{
  static const std::vector<UnitDimensions> dimensions = [] {
    std::vector<UnitDimensions> result;
    for (const UnitQuantity& quantity : unitQuantities())
      result.emplace_back(quantity.si);
    return result;
  }();
  return dimensions;
}

std::size_t indexOf(const UnitQuantity* quantity)
{
  return static_cast<std::size_t>(quantity - unitQuantities().data());
}

std::string_view unitsIn(const EngineUnitSystemHandler::Settings& settings, const UnitQuantity& quantity)
{
  if (settings.system == "CGS")
    return quantity.cgs;
  if (settings.system == "English")
    return quantity.english;
  if (settings.system == "Custom") {
    const auto custom = settings.customUnits.find(std::string(quantity.name));
    if (custom != settings.customUnits.end() && !custom->second.empty())
      return custom->second;
  }
  return quantity.si;
}

bool isWord(std::string_view units)
{
  return std::all_of(units.begin(), units.end(),
                     [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; });
}

// ------------------------------------------------------------------------------------------- dimensions as texts

// The place in UnitDimensions, count for any other letter.
std::size_t placeOf(char letter)
{
  switch (letter) {
    case 'M':
      return 0;
    case 'L':
      return 1;
    case 'T':
      return 3;
    case 'K':
      return 4;
    default:
      return UnitDimensions::count;
  }
}

// Takes "L", "L^-2", "L-2" or "L2" from the front; false when it is none.
bool takeFactor(std::string_view& text, UnitDimensions::Exponents& exponents)
{
  const std::size_t place = placeOf(text.front());
  if (place == UnitDimensions::count)
    return false;
  text.remove_prefix(1);
  int exponent = 1;
  if (!text.empty() && !StringUtilities::isSpace(text.front())) {
    if (text.front() == '^')
      text.remove_prefix(1);
    const auto read = std::from_chars(text.data(), text.data() + text.size(), exponent);
    if (read.ec != std::errc())
      return false;
    text.remove_prefix(static_cast<std::size_t>(read.ptr - text.data()));
    if (!text.empty() && !StringUtilities::isSpace(text.front()))
      return false;
  }
  exponents[place] += exponent;
  return true;
}

std::optional<UnitDimensions> parseLetters(std::string_view text)
{
  UnitDimensions::Exponents exponents{};
  text = StringUtilities::trimmed(text);
  if (text.empty())
    return std::nullopt;
  while (!text.empty()) {
    if (!takeFactor(text, exponents))
      return std::nullopt;
    text = StringUtilities::trimmed(text);
  }
  return UnitDimensions(exponents);
}

}  // namespace

// ---------------------------------------------------------------------------------------------- beginning and end

EngineUnitSystemHandler::EngineUnitSystemHandler()
{
  put({}, nullptr);
}

EngineUnitSystemHandler::~EngineUnitSystemHandler() = default;

EngineUnitSystemHandler* EngineUnitSystemHandler::instance()
{
  EngineUnitSystemHandler*& instance = *theEngineUnitSystemHandler;
  if (!instance) {
    instance = new EngineUnitSystemHandler;
    setCurrent(instance);
  }
  return instance;
}

void EngineUnitSystemHandler::destroyInstance()
{
  EngineUnitSystemHandler*& instance = *theEngineUnitSystemHandler;
  if (instance && current() == instance)
    setCurrent(nullptr);
  delete std::exchange(instance, nullptr);
}

EngineUnitSystemHandler* EngineUnitSystemHandler::existing() noexcept
{
  return *theEngineUnitSystemHandler;
}

// ------------------------------------------------------------------------------------------------ what there is

const std::vector<std::string>& EngineUnitSystemHandler::getUnitSystemNames()
{
  static const std::vector<std::string> names = {"SI", "CGS", "English", "Custom"};
  return names;
}

std::vector<std::string> EngineUnitSystemHandler::getQuantityNames()
{
  std::vector<std::string> names;
  for (const UnitQuantity& quantity : unitQuantities())
    names.emplace_back(quantity.name);
  return names;
}

std::string EngineUnitSystemHandler::whyNoUnitsOf(const std::string& quantity, const std::string& units)
{
  const UnitQuantity* known = findUnitQuantity(quantity);
  if (!known)
    return _("There is no quantity '%s'.", quantity);
  if (units.empty())
    return {};
  if (std::string reason = UnitsConverter::whyInvalid(units); !reason.empty())
    return reason;
  if (UnitDimensions(units) != quantityDimensions()[indexOf(known)])
    return _("'%s' are no units of the quantity '%s'.", units, quantity);
  return {};
}

UnitDimensions EngineUnitSystemHandler::parseDimensions(const std::string& text)
{
  const std::optional<UnitDimensions> letters = parseLetters(text);
  return letters ? *letters : UnitDimensions(text);
}

// ------------------------------------------------------------------------------------------------------- answers

std::string EngineUnitSystemHandler::getPreferredUnitsForQuantity(const std::string& quantity) const
{
  const UnitQuantity* known = findUnitQuantity(quantity);
  return known ? m_units[indexOf(known)] : std::string();
}

std::string EngineUnitSystemHandler::getPreferredUnitsForVariable(const std::string& variable) const
{
  const auto found = m_settings.variables.find(variable);
  return found == m_settings.variables.end() ? std::string()
                                             : unitsOf(UnitDimensions(found->second), variable);
}

std::string EngineUnitSystemHandler::getPreferredUnitsFromUnits(const std::string& units,
                                                                const std::string& quantity) const
{
  if (!quantity.empty())
    return UnitsConverter::isValid(units) ? unitsOf(UnitDimensions(units), quantity) : units;
  const auto known = m_answers.find(units);
  if (known != m_answers.end())
    return known->second;
  if (!UnitsConverter::isValid(units))
    return units;
  if (m_answers.size() >= maxAnswers)
    m_answers.clear();
  return m_answers.emplace(units, unitsOf(UnitDimensions(units), {})).first->second;
}

// Angles count as numbers when units are compared, so that a rotation is found by its exact dimensions first,
// and a percentage is never an angle.
std::string EngineUnitSystemHandler::unitsOf(const UnitDimensions& dimensions, std::string_view hint) const
{
  const std::vector<UnitDimensions>& known = quantityDimensions();
  const UnitQuantity* hinted = findUnitQuantity(hint);
  if (hinted && known[indexOf(hinted)] == dimensions)
    return m_units[indexOf(hinted)];
  const auto unitsAt = [&](auto found) { return m_units[static_cast<std::size_t>(found - known.begin())]; };
  const auto exact = std::find_if(known.begin(), known.end(), [&](const UnitDimensions& each) {
    return each.exponents() == dimensions.exponents();
  });
  if (exact != known.end())
    return unitsAt(exact);
  if (dimensions.isDimensionless())
    return {};
  const auto alike = std::find(known.begin(), known.end(), dimensions);
  return alike != known.end() ? unitsAt(alike) : productOf(dimensions);
}

std::string EngineUnitSystemHandler::productOf(const UnitDimensions& dimensions) const
{
  std::string product;
  for (std::size_t place = 0; place < UnitDimensions::count; ++place) {
    UnitDimensions::Exponents exponent{};
    exponent[place] = dimensions.exponents()[place];
    // Of one place: "m^2", whose exponent is then set behind the units of this system.
    const std::string factor = UnitDimensions(exponent).toUnits();
    if (factor.empty())
      continue;
    const std::string& units = m_units[indexOf(findUnitQuantity(baseQuantity(place)))];
    product.append(product.empty() ? "" : " ");
    product.append(isWord(units) ? units : "(" + units + ")");
    if (const std::size_t power = factor.find('^'); power != std::string::npos)
      product.append(factor, power);
  }
  return product;
}

// ------------------------------------------------------------------------------------------------------- settings

void EngineUnitSystemHandler::put(Settings settings, const KSLObject* source)
{
  std::vector<std::string> units;
  units.reserve(unitQuantities().size());
  for (const UnitQuantity& quantity : unitQuantities())
    units.emplace_back(unitsIn(settings, quantity));
  m_units.swap(units);
  m_settings = std::move(settings);
  m_source = source;
  m_answers.clear();
}

void EngineUnitSystemHandler::load(Settings settings, const KSLObject* source)
{
  if (settings == m_settings) {
    m_source = source;
    return;
  }
  put(std::move(settings), source);
  notify(systemChanged);
}

void EngineUnitSystemHandler::release(const KSLObject* source)
{
  if (!source || source != m_source)
    return;
  m_source = nullptr;  // first: it ends, whatever fails below
  load({}, nullptr);
}

}  // namespace orv
