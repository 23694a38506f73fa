#include "Trace.h"

#include "platform/ORVError.h"
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

void GraphTrace::ended(const orv::SchedulerObject& scheduler, Reasons reasons, double seconds)
{
  ++m_calculations;
  if (!m_printing)
    return;
  std::string text;
  for (const orv::CalculationReason& reason : reasons)
    text += (text.empty() ? "" : ", ") + reason.text();
  CommandWatch::eraseLine();
  std::cerr << "calculated " << scheduler.getPath() << " (" << scheduler.getType() << "): " << text << "; "
            << millisecondsText(seconds) << '\n';
}

void ResultsTrace::recalled(std::string_view what, bool found) noexcept
{
  CommandWatch::eraseLine();
  std::cerr << (found ? "found " : "made ") << what << '\n';
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
