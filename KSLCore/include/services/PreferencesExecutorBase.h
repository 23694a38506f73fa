// "> preferences": what the user likes to see, and in which units.
#pragma once

#include "command/ActionExecutor.h"

#include <string>
#include <vector>

namespace orv {

// "preferences Unit System=English, Length Units=ft, Background=white": one or more name=value arguments, of
// which the last of a name holds. Names are
//
//   Unit System         one of EngineUnitSystemHandler::getUnitSystemNames
//   <quantity> Units    units of that quantity for the system "Custom"; empty for those of SI
//   viewer names        what the application adds
//
// The units become a block of the object that UnitsKSLObject::findPath names, entered with kslUpdateDefault:
// they are undone like any block, and a journal holds the action alone. Viewer names are applied after that,
// one by one, and are not undone.
//
// All arguments are checked before any is applied. What was applied is kept in Preferences, unless a file is
// being processed: replaying somebody's session does not change this user's settings.
//
// Failures are of class "PreferencesExecutorBase", function "invoke", type 4, with the texts of the other
// actions: internal::badParam "Input parameter %s is empty." with "p_action" and "Action '%s' cannot be
// handled by %s."; ksl::invalid "Action '%s' requires at least %d argument(s). Received %d argument(s).",
// "Syntax error: %s parameters should have the format: %s", "Invalid parameter in %s: '%s'."; data::invalid
// "Invalid parameter value: '%s'."; data::notFound "No object type of class '%s' is defined.". What the
// block and the application throw passes on.
class ORV_API PreferencesExecutorBase : public ActionExecutor {
 public:
  ~PreferencesExecutorBase() override;
  void invoke(const std::vector<std::string>& words) final;

 protected:
  // The names that the application adds; they are compared exactly.
  virtual std::vector<std::string> viewerParams() const = 0;
  // Whether a value may be given to one of these. By default every one may.
  virtual bool isViewerValueAllowed(const std::string& name, const std::string& value) const;
  virtual void applyViewerPreference(const std::string& name, const std::string& value) = 0;
};

}  // namespace orv
