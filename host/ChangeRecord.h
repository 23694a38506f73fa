// What commands have set and made recalculate, for those who ask why.
#pragma once

#include "session/CalculationLog.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace orv {
class KSLObject;
}

// Records while it lives; lives no longer than the library is up. Grows by what commands change and calculate.
class ChangeRecord {
 public:
  ChangeRecord();

  // Around each command. What one changed that was taken back is not asked for.
  void beginCommand(const std::string& name);
  void endCommand();

  const orv::CalculationLog& log() const { return m_log; }
  const std::string& nameOf(const orv::CalculationLog::Entry& entry) const
  {
    return m_names.at(static_cast<std::size_t>(entry.command));
  }
  // The command that set a parameter last; empty when none did.
  std::string setBy(const orv::KSLObject& object, const std::string& param) const;

 private:
  orv::CalculationLog m_log;
  std::vector<std::string> m_names;
  std::map<std::pair<std::string, std::string>, std::size_t> m_setters;  // numbers of names
};
