#include "UnitsDatabase.h"

#include "platform/ORVError.h"

#include <cmath>
#include <locale.h>
#include <udunits2.h>

namespace orv {

namespace {

constexpr std::size_t maxCachedTexts = 4096;

struct UnitFree {
  void operator()(ut_unit* unit) const { ut_free(unit); }
};
using UnitPtr = std::unique_ptr<ut_unit, UnitFree>;

// While it lives, the package is silent and reads numbers with a decimal point. Host and process keep their
// settings.
class PackageCall {
 public:
  PackageCall()
      : m_handler(ut_set_error_message_handler(ut_ignore)),
        m_locale(newlocale(LC_ALL_MASK, "C", nullptr)),
        m_before(m_locale ? uselocale(m_locale) : nullptr)
  {}
  ~PackageCall()
  {
    if (m_locale) {
      uselocale(m_before);
      freelocale(m_locale);
    }
    ut_set_error_message_handler(m_handler);
  }
  PackageCall(const PackageCall&) = delete;
  PackageCall& operator=(const PackageCall&) = delete;

 private:
  ut_error_message_handler m_handler;
  locale_t m_locale;
  locale_t m_before;
};

// In the order of UnitDimensions.
constexpr std::array<const char*, UnitDimensions::count> baseUnitNames = {
    "kilogram", "meter", "radian", "second", "kelvin", "ampere", "mole", "candela"};

using BaseUnits = std::array<UnitPtr, UnitDimensions::count>;

// What a visit of a unit collects.
struct Collector {
  const BaseUnits& baseUnits;
  UnitDimensions::Exponents exponents{};
  double scale = 1;
  double offset = 0;

  ut_status add(const ut_unit* basic, int power)
  {
    for (std::size_t i = 0; i < baseUnits.size(); ++i) {
      if (ut_compare(baseUnits[i].get(), basic) == 0) {
        exponents[i] += power;
        return UT_SUCCESS;
      }
    }
    return UT_VISIT_ERROR;
  }
};

ut_status visitUnit(const ut_unit* unit, Collector& collector);

ut_status visitBasic(const ut_unit* unit, void* collector)
{
  return static_cast<Collector*>(collector)->add(unit, 1);
}

ut_status visitProduct(const ut_unit*, int count, const ut_unit* const* basics, const int* powers,
                       void* collector)
{
  for (int i = 0; i < count; ++i) {
    if (ut_status status = static_cast<Collector*>(collector)->add(basics[i], powers[i]);
        status != UT_SUCCESS)
      return status;
  }
  return UT_SUCCESS;
}

// What lies under a scale is a product or a basic unit: the package merges scales of scales.
ut_status visitScale(const ut_unit*, double scale, const ut_unit* underlying, double offset, void* collector)
{
  auto& out = *static_cast<Collector*>(collector);
  out.scale = scale;
  out.offset = offset;
  return visitUnit(underlying, out);
}

ut_status refuseDate(const ut_unit*, const ut_unit*, double, void*)
{
  return UT_VISIT_ERROR;
}

ut_status refuseLogarithm(const ut_unit*, double, const ut_unit*, void*)
{
  return UT_VISIT_ERROR;
}

ut_status visitUnit(const ut_unit* unit, Collector& collector)
{
  static const ut_visitor visitor = {visitBasic, visitProduct, visitScale, refuseDate, refuseLogarithm};
  return ut_accept_visitor(unit, &visitor, &collector);
}

bool isUsableScale(double scale)
{
  return std::isfinite(scale) && scale != 0;
}

}  // namespace

struct UnitsDatabase::System {
  struct Free {
    void operator()(ut_system* system) const { ut_free_system(system); }
  };
  std::unique_ptr<ut_system, Free> units;
  BaseUnits baseUnits;  // of `units`, so freed before it
};

UnitsDatabase::UnitsDatabase() : m_system(std::make_unique<System>())
{
  PackageCall call;
  m_system->units.reset(ut_read_xml(nullptr));
  bool complete = m_system->units != nullptr;
  for (std::size_t i = 0; complete && i < baseUnitNames.size(); ++i) {
    m_system->baseUnits[i].reset(ut_get_unit_by_name(m_system->units.get(), baseUnitNames[i]));
    complete = m_system->baseUnits[i] != nullptr;
  }
  if (complete)
    return;
  ut_status status = UT_SUCCESS;
  const char* path = ut_get_path_xml(nullptr, &status);
  throw internal::error(
      "UnitsConverter", "loadDatabase",
      _("The database of units '%s' is missing or cannot be read; it comes with the package "
        "udunits2, and UDUNITS2_XML_PATH, when set, must name it.",
        path),
      errorType::internal);
}

UnitsDatabase::~UnitsDatabase() = default;

UnitsDatabase& UnitsDatabase::instance()
{
  // Never destroyed: static objects of a host may still use it after main.
  static UnitsDatabase& database = *new UnitsDatabase;
  return database;
}

std::optional<ParsedUnits> UnitsDatabase::parse(std::string_view units)
{
  if (auto found = m_parsed.find(units); found != m_parsed.end())
    return found->second;
  std::optional<ParsedUnits> parsed = parseNew(units);
  if (!parsed)
    return parsed;
  if (m_parsed.size() >= maxCachedTexts)
    m_parsed.clear();
  m_parsed.emplace(units, *parsed);
  return parsed;
}

std::optional<ParsedUnits> UnitsDatabase::parseNew(std::string_view units) const
{
  std::optional<std::string> text = translateUnits(units);
  if (!text)
    return std::nullopt;
  PackageCall call;
  UnitPtr unit(ut_parse(m_system->units.get(), text->c_str(), UT_UTF8));
  if (!unit)
    return std::nullopt;
  Collector collector{m_system->baseUnits};
  if (visitUnit(unit.get(), collector) != UT_SUCCESS || !isUsableScale(collector.scale))
    return std::nullopt;
  return ParsedUnits{UnitDimensions(collector.exponents), collector.scale, collector.offset};
}

}  // namespace orv
