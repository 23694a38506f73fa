#include "session/CalculationLog.h"

#include "database/KSLObject.h"
#include "database/ObjectDB.h"

#include <algorithm>
#include <utility>

namespace orv {

namespace {

// Objects initialise their schedulers before the database takes them.
bool isNewObject(const SchedulerObject& scheduler)
{
  const ObjectDB* database = ObjectDB::current();
  return !database || database->getObjectByPath(scheduler.getPath()) != scheduler.getKSLObject();
}

// A trace that runs out of memory says less; it must not fail what it looks at.
template <class Step>
void tryTo(Step step) noexcept
{
  try {
    step();
  } catch (...) {}
}

}  // namespace

std::string CalculationReason::text() const
{
  switch (kind) {
    case isNew:
      return "new";
    case parameter:
      return "parameter " + name;
    case parent:
      return "parent " + name + " (" + scheduler + ")";
    case request:
      break;
  }
  return "request";
}

CalculationWatch::CalculationWatch() : m_former(SchedulerObject::setTrace(this)) {}

CalculationWatch::~CalculationWatch()
{
  SchedulerObject::setTrace(m_former);
}

void CalculationWatch::parameterSet(const SchedulerObject& scheduler, const std::string& parameter) noexcept
{
  tryTo([&] { addReason(scheduler, {CalculationReason::parameter, parameter}); });
}

void CalculationWatch::marked(const SchedulerObject& scheduler, const SchedulerObject* by) noexcept
{
  tryTo([&] {
    if (isNewObject(scheduler))
      m_reasons[&scheduler] = {{CalculationReason::isNew}};
    else if (by)
      addReason(scheduler, {CalculationReason::parent, by->getPath(), by->getType()});
    else if (m_reasons[&scheduler].empty())
      addReason(scheduler, {CalculationReason::request});
  });
}

void CalculationWatch::addReason(const SchedulerObject& scheduler, CalculationReason reason)
{
  Reasons& reasons = m_reasons[&scheduler];
  const bool isKnown = std::find(reasons.begin(), reasons.end(), reason) != reasons.end();
  if (!isKnown && (reasons.empty() || reasons.front().kind != CalculationReason::isNew))
    reasons.push_back(std::move(reason));
}

void CalculationWatch::calculated(const SchedulerObject& scheduler, double seconds) noexcept
{
  tryTo([&] {
    Reasons reasons;
    if (const auto found = m_reasons.find(&scheduler); found != m_reasons.end()) {
      reasons = std::move(found->second);
      m_reasons.erase(found);
    }
    ended(scheduler, std::move(reasons), seconds);
  });
}

void CalculationLog::ended(const SchedulerObject& scheduler, Reasons reasons, double)
{
  m_entries.push_back({scheduler.getPath(), scheduler.getType(), std::move(reasons), m_command});
}

const CalculationLog::Entry* CalculationLog::findLast(const std::string& path, const std::string& scheduler,
                                                      std::size_t end) const
{
  for (std::size_t i = std::min(end, m_entries.size()); i-- > 0;)
    if (m_entries[i].path == path && m_entries[i].scheduler == scheduler)
      return &m_entries[i];
  return nullptr;
}

}  // namespace orv
