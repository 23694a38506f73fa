#include "Trace.h"

#include "platform/ORVError.h"
#include "database/KSLObject.h"
#include "database/ObjectDB.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLUpdateInfo.h"
#include "CommandWatch.h"
#include "Host.h"

#include <algorithm>
#include <iostream>

using orv::KSLCoreAPI;

NotificationTrace::NotificationTrace()
{
  KSLCoreAPI::instance()->attach(
      this, {KSLCoreAPI::parseBegin, KSLCoreAPI::parseEnd, KSLCoreAPI::updateBegin, KSLCoreAPI::updateEnd,
             KSLCoreAPI::recoveryBegin, KSLCoreAPI::recoveryEnd, KSLCoreAPI::redoRecoveryBegin,
             KSLCoreAPI::redoRecoveryEnd, KSLCoreAPI::outermostProcessed});
}

NotificationTrace::~NotificationTrace()
{
  KSLCoreAPI::instance()->detach(this);
}

void NotificationTrace::update(orv::ObserverSubject*, int type)
{
  CommandWatch::eraseLine();
  std::cerr << "notify " << type << '\n';
}

// ---------------------------------------------------------------------------------------------- recalculation

namespace {

std::string nameOf(const orv::SchedulerObject& scheduler)
{
  return scheduler.getPath() + " (" + scheduler.getType() + ")";
}

const std::string newReason = "new";

// Objects initialise their schedulers before the database takes them.
bool isNew(const orv::SchedulerObject& scheduler)
{
  const orv::ObjectDB* database = orv::ObjectDB::current();
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

GraphTrace::GraphTrace(bool printing) : m_printing(printing), m_former(orv::SchedulerObject::setTrace(this))
{}

GraphTrace::~GraphTrace()
{
  orv::SchedulerObject::setTrace(m_former);
}

void GraphTrace::parameterSet(const orv::SchedulerObject& scheduler, const std::string& parameter) noexcept
{
  if (m_printing)
    tryTo([&] { addReason(scheduler, "parameter " + parameter); });
}

void GraphTrace::marked(const orv::SchedulerObject& scheduler, const orv::SchedulerObject* by) noexcept
{
  if (!m_printing)
    return;
  tryTo([&] {
    if (isNew(scheduler))
      m_reasons[&scheduler] = {newReason};
    else if (by)
      addReason(scheduler, "parent " + nameOf(*by));
    else if (m_reasons[&scheduler].empty())
      addReason(scheduler, "request");
  });
}

void GraphTrace::addReason(const orv::SchedulerObject& scheduler, std::string reason)
{
  std::vector<std::string>& reasons = m_reasons[&scheduler];
  const bool isKnown = std::find(reasons.begin(), reasons.end(), reason) != reasons.end();
  if (!isKnown && (reasons.empty() || reasons.front() != newReason))
    reasons.push_back(std::move(reason));
}

void GraphTrace::calculated(const orv::SchedulerObject& scheduler, double seconds) noexcept
{
  ++m_calculations;
  if (!m_printing)
    return;
  tryTo([&] {
    CommandWatch::eraseLine();
    std::cerr << "calculated " << nameOf(scheduler) << ": "
              << orv::StringUtilities::vectorToString(m_reasons[&scheduler], ", ") << "; "
              << millisecondsText(seconds) << '\n';
    m_reasons.erase(&scheduler);
  });
}

// ---------------------------------------------------------------------------------------------------- changes

std::string millisecondsText(double seconds)
{
  const double milliseconds = seconds * 1000;
  return orv::_(milliseconds < 10 ? "%.3f ms" : "%.0f ms", milliseconds);
}

void printChanges(const orv::KSLUpdateInfo& changes)
{
  const auto [first, end] = changes.getUpdates();
  for (auto item = first; item != end; ++item) {
    for (const auto& [path, parameters] : item->objects) {
      if (item->type == orv::KSLUpdateInfo::objectDeleteUpdate)
        std::cerr << "deleted " << path << '\n';
      for (const auto& [name, status] : parameters) {
        if (item->type == orv::KSLUpdateInfo::paramDeleteUpdate)
          std::cerr << "removed " << path << ' ' << name << '\n';
        else
          std::cerr << "value " << path << ' ' << name << " = " << status.value << '\n';
      }
    }
  }
}

std::size_t countChanges(const orv::KSLUpdateInfo& changes)
{
  std::size_t count = 0;
  const auto [first, end] = changes.getUpdates();
  for (auto item = first; item != end; ++item) {
    for (const auto& [path, parameters] : item->objects)
      count += std::max<std::size_t>(parameters.size(), 1);
  }
  return count;
}

std::string summaryText(const orv::KSLUpdateInfo& changes, std::size_t calculations, double seconds)
{
  return orv::_("%d changed, %d recalculated, %s\n", countChanges(changes), calculations,
                millisecondsText(seconds));
}

void printFiles(Host& host)
{
  for (const std::string& file : host.files().takeUsed())
    std::cerr << "read or written: " << file << '\n';
  for (const auto& [file, type] : host.files().takeChanged())
    std::cerr << "changed by others: " << file << '\n';
  if (host.hasUnsavedWork())
    std::cerr << "unsaved work\n";
}
