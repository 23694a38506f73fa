// Which calculations were done, or would be, and why.
#pragma once

#include "platform/ORVExport.h"
#include "rules/SchedulerObject.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace orv {

// Why a scheduler was to be calculated.
struct CalculationReason {
  enum Kind {
    isNew,      // its object is; the only reason then
    parameter,  // `name` was set, or what it refers to is another
    parent,     // the scheduler of the type `scheduler` of the object at the path `name` was to be
    request     // nobody said
  };
  Kind kind = request;
  std::string name = {};
  std::string scheduler = {};

  bool operator==(const CalculationReason& other) const
  {
    return kind == other.kind && name == other.name && scheduler == other.scheduler;
  }
  // "new", "parameter Offset", "parent /CUT:a (Geometry)", "request".
  ORV_API std::string text() const;
};

// Gathers the reasons of each calculation, and hands them on when it ends. Set as the trace of the schedulers while it
// lives.
class ORV_API CalculationWatch : public SchedulerTrace {
 public:
  CalculationWatch();
  ~CalculationWatch() override;
  CalculationWatch(const CalculationWatch&) = delete;
  CalculationWatch& operator=(const CalculationWatch&) = delete;

  void parameterSet(const SchedulerObject& scheduler, const std::string& parameter) noexcept override;
  void marked(const SchedulerObject& scheduler, const SchedulerObject* by) noexcept override;
  void calculated(const SchedulerObject& scheduler, double seconds) noexcept override;

 protected:
  using Reasons = std::vector<CalculationReason>;
  // A calculation has ended, well or not. What this throws is dropped: who runs out of memory says less.
  virtual void ended(const SchedulerObject& scheduler, Reasons reasons, double seconds) = 0;

 private:
  void addReason(const SchedulerObject& scheduler, CalculationReason reason);

  // Of those that are to be calculated. Entries of schedulers that ended before they were may stay: one made
  // later at the same address begins as new.
  std::unordered_map<const SchedulerObject*, Reasons> m_reasons;
  SchedulerTrace* m_former;
};

// Keeps them, in the order in which they were done.
class ORV_API CalculationLog : public CalculationWatch {
 public:
  struct Entry {
    std::string path;
    std::string scheduler;
    Reasons reasons;
    int command = 0;  // as setCommand said
  };

  // Without `running`, calculations are only noted.
  explicit CalculationLog(bool running = true) : m_running(running) {}

  bool mayCalculate(const SchedulerObject&) noexcept override { return m_running; }
  // The number of the command whose calculations come next.
  void setCommand(int command) { m_command = command; }
  const std::vector<Entry>& entries() const { return m_entries; }
  // The newest entry of a scheduler before the one of number `end`; null when there is none.
  const Entry* findLast(const std::string& path, const std::string& scheduler, std::size_t end) const;

 protected:
  void ended(const SchedulerObject& scheduler, Reasons reasons, double seconds) override;

 private:
  bool m_running;
  int m_command = 0;
  std::vector<Entry> m_entries;
};

}  // namespace orv
