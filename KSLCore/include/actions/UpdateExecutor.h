// "> update": applies the changes of the text store to the objects.
#pragma once

#include "command/ActionExecutor.h"

namespace orv {

class Executive;

// "update" applies what was read since the last update and lets the changed objects recompute; "update
// noaction" only sets parameters of objects that exist. Nothing to apply is no failure. internal::error,
// class "UpdateExecutor", function "invoke", "Pointer to Executive not set."; what KSLAPI::validateKSLData
// and Executive::update throw.
class ORV_API UpdateExecutor : public ActionExecutor {
 public:
  explicit UpdateExecutor(Executive* executive) : m_executive(executive) {}
  ~UpdateExecutor() override;
  void invoke(const std::vector<std::string>& words) override;

 private:
  Executive* m_executive;  // not owned
};

}  // namespace orv
