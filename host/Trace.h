// Shows what goes on in the library, on standard error.
#pragma once

#include "platform/ORVResultMemory.h"
#include "platform/ORVUtilities.h"
#include "session/CalculationLog.h"

#include <cstddef>
#include <string>
#include <utility>

namespace orv {
class KSLUpdateInfo;
}

class Host;

// Writes "notify N" for each notification of KSLCoreAPI. Attached while it lives.
class NotificationTrace : public orv::Observer {
 public:
  NotificationTrace();
  ~NotificationTrace() override;
  NotificationTrace(const NotificationTrace&) = delete;
  NotificationTrace& operator=(const NotificationTrace&) = delete;
  void update(orv::ObserverSubject* subject, int type) override;
};

// Counts calculations and, when it prints, writes "calculated PATH (TYPE): REASONS; N ms" for each. Reasons are
// "new" alone for a new object, else "parameter NAME" for each that was set, "parent PATH (TYPE)" when the
// scheduler was marked by that one, and "request" when it was marked without either. Set while it lives.
class GraphTrace : public orv::CalculationWatch {
 public:
  explicit GraphTrace(bool printing) : m_printing(printing) {}

  // Those since the last call.
  std::size_t takeCalculations() { return std::exchange(m_calculations, 0); }

 protected:
  void ended(const orv::SchedulerObject& scheduler, Reasons reasons, double seconds) override;

 private:
  bool m_printing;
  std::size_t m_calculations = 0;
};

// Writes "made FUNCTION SUBJECT" for each result that a calculation library made, and "found FUNCTION SUBJECT" for each
// that it had made before. Set while it lives.
class ResultsTrace : public orv::ResultTrace {
 public:
  ResultsTrace() : m_former(orv::ResultMemory::instance().setTrace(this)) {}
  ~ResultsTrace() override { orv::ResultMemory::instance().setTrace(m_former); }
  ResultsTrace(const ResultsTrace&) = delete;
  ResultsTrace& operator=(const ResultsTrace&) = delete;
  void recalled(std::string_view what, bool found) noexcept override;

 private:
  orv::ResultTrace* m_former;
};

// What the last command did: "value PATH NAME = TEXT", "deleted PATH", "removed PATH NAME", in the order in
// which it happened; what happened in a row is in path and name order. A new object tells all its parameters.
void printChanges(const orv::KSLUpdateInfo& changes);
// The number of lines that printChanges writes, and one for each new object without parameters.
std::size_t countChanges(const orv::KSLUpdateInfo& changes);
// "N changed, N recalculated, N ms", and a line end: what a command did, and how long it took.
std::string summaryText(const orv::KSLUpdateInfo& changes, std::size_t calculations, double seconds);

// The files that were read or written since the last call ("read or written: FILE"), those that others changed
// meanwhile ("changed by others: FILE"), and "unsaved work" when there is some.
void printFiles(Host& host);

std::string millisecondsText(double seconds);
