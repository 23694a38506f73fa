#include "UnitsDatabase.h"

#include "platform/ORVError.h"
#include "platform/internal/ContextLocal.h"
#include "platform/internal/SharedLocks.h"
#include "ExactUnits.h"
#include "UnitNames.h"

#include <atomic>
#include <cmath>
#include <locale.h>
#include <map>
#include <udunits2.h>
#include <utility>
#include <vector>

namespace orv {

namespace {

constexpr std::size_t maxCachedTexts = 4096;

struct UnitFree {
  void operator()(ut_unit* unit) const { ut_free(unit); }
};
using UnitPtr = std::unique_ptr<ut_unit, UnitFree>;

// While it lives, the package is silent and reads numbers with a decimal point. Host and process keep their
// settings. One at a time: the handler is the process's.
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

struct UnitsDatabase::System : UnitDictionary {
  struct Free {
    void operator()(ut_system* system) const { ut_free_system(system); }
  };
  std::unique_ptr<ut_system, Free> units;
  BaseUnits baseUnits;            // of `units`, so freed before it, as the next
  std::vector<UnitPtr> replaced;  // what exactUnits() are in the database; null for one that it lacks

  UnitPtr find(const std::string& word) const
  {
    UnitPtr unit(ut_get_unit_by_name(units.get(), word.c_str()));
    return unit ? std::move(unit) : UnitPtr(ut_get_unit_by_symbol(units.get(), word.c_str()));
  }
  bool knows(const std::string& word) const override { return find(word) != nullptr; }
  std::string_view exactly(const std::string& word) const override
  {
    const UnitPtr unit = find(word);
    for (std::size_t i = 0; unit && i < replaced.size(); ++i) {
      if (replaced[i] && ut_compare(unit.get(), replaced[i].get()) == 0)
        return exactUnits()[i].value;
    }
    return {};
  }
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
  if (complete) {
    for (const ExactUnit& unit : exactUnits())
      m_system->replaced.push_back(m_system->find(unit.name));
    return;
  }
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
  static constinit std::atomic<UnitsDatabase*> database = nullptr;
  if (UnitsDatabase* made = database.load(std::memory_order_acquire))
    return *made;
  const std::lock_guard lock(SharedLocks::units());
  UnitsDatabase* made = database.load(std::memory_order_relaxed);
  if (!made)
    database.store(made = new UnitsDatabase, std::memory_order_release);
  return *made;
}

UnitsDatabase::Dictionary::Dictionary(const UnitsDatabase& database)
    : m_lock(SharedLocks::units()),
      m_dictionary(*database.m_system)
{}

namespace {

// What the context has asked for; emptied when it is full. Threads that have what they need here never wait.
using ParsedTexts = std::map<std::string, ParsedUnits, std::less<>>;
constinit ContextLocal<ParsedTexts*> theParsedTexts(ContextEnd::memory,
                                                    [] { delete std::exchange(*theParsedTexts, nullptr); });

}  // namespace

std::optional<ParsedUnits> UnitsDatabase::parse(std::string_view units) const
{
  ParsedTexts*& texts = *theParsedTexts;
  if (!texts)
    texts = new ParsedTexts;
  if (auto found = texts->find(units); found != texts->end())
    return found->second;
  const std::optional<ParsedUnits> parsed = parseNew(units);
  if (!parsed)
    return parsed;
  if (texts->size() >= maxCachedTexts)
    texts->clear();
  texts->emplace(units, *parsed);
  return parsed;
}

std::optional<ParsedUnits> UnitsDatabase::parseNew(std::string_view units) const
{
  const std::lock_guard lock(SharedLocks::units());
  PackageCall call;
  std::optional<std::string> text = translateUnits(units, *m_system);
  if (!text)
    return std::nullopt;
  UnitPtr unit(ut_parse(m_system->units.get(), text->c_str(), UT_UTF8));
  if (!unit)
    return std::nullopt;
  Collector collector{m_system->baseUnits};
  if (visitUnit(unit.get(), collector) != UT_SUCCESS || !isUsableScale(collector.scale))
    return std::nullopt;
  return ParsedUnits{UnitDimensions(collector.exponents), collector.scale, collector.offset};
}

}  // namespace orv
