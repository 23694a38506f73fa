// The registry of actions.
#pragma once

#include "command/ActionExecutor.h"

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace orv {

// Maps action words to the executors that serve them; owns the executors. Words are compared byte by byte.
class ORV_API ActionFactory {
 public:
  ActionFactory();
  ActionFactory(const ActionFactory&) = delete;
  ActionFactory& operator=(const ActionFactory&) = delete;
  virtual ~ActionFactory();

  // Takes ownership when it succeeds; otherwise the executor stays the caller's. Class "ActionFactory",
  // function "registerExecutor", type 4: internal::nullPointer "Input parameter %s is a null pointer." with
  // "p_executor", internal::badParam "Input parameter %s is empty." with "p_action", internal::error
  // "Duplicate data: Action '%s' already exists.".
  void registerExecutor(const std::string& action, ActionExecutor* executor);
  // The same; the pointer keeps its executor when the call fails.
  void registerExecutor(const std::string& action, std::unique_ptr<ActionExecutor>&& executor);

  // Never null; owned by the factory. Class "ActionFactory", function "getExecutor", type 4:
  // internal::badParam "Input parameter %s is empty." with "p_action", internal::error "Action %s is not
  // recognized.".
  ActionExecutor* getExecutor(const std::string& action) const;
  bool hasExecutor(const std::string& action) const;
  std::vector<std::string> getActions() const;  // in order

 private:
  std::unordered_map<std::string, std::unique_ptr<ActionExecutor>> m_executors;
};

}  // namespace orv
