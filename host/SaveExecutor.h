// "> savestate" of this program.
#pragma once

#include "actions/WriteStateExecutor.h"

#include <string>
#include <vector>

// Saves, but for a replay that nobody asked to write files: a state that is newer than the session must not be replaced
// by an old one in silence.
class SaveExecutor : public orv::WriteStateExecutor {
 public:
  using WriteStateExecutor::WriteStateExecutor;

  void invoke(const std::vector<std::string>& p_action) override;
  void passOver(bool on) { m_passedOver = on; }

 private:
  bool m_passedOver = false;
};
