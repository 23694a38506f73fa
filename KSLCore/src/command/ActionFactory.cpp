#include "command/ActionFactory.h"

#include "platform/ORVError.h"

#include <algorithm>

namespace orv {

ActionFactory::ActionFactory() = default;
ActionFactory::~ActionFactory() = default;

void ActionFactory::registerExecutor(const std::string& action, ActionExecutor* executor)
{
  std::unique_ptr<ActionExecutor> owner(executor);
  try {
    registerExecutor(action, std::move(owner));
  } catch (...) {
    (void)owner.release();  // still the caller's
    throw;
  }
}

void ActionFactory::registerExecutor(const std::string& action, std::unique_ptr<ActionExecutor>&& executor)
{
  if (!executor)
    throw internal::nullPointer("ActionFactory", "registerExecutor",
                                _("Input parameter %s is a null pointer.", "p_executor"));
  if (action.empty())
    throw internal::badParam("ActionFactory", "registerExecutor",
                             _("Input parameter %s is empty.", "p_action"));
  if (!m_executors.try_emplace(action, std::move(executor)).second)
    throw internal::error("ActionFactory", "registerExecutor",
                          _("Duplicate data: Action '%s' already exists.", action));
}

ActionExecutor* ActionFactory::getExecutor(const std::string& action) const
{
  if (action.empty())
    throw internal::badParam("ActionFactory", "getExecutor", _("Input parameter %s is empty.", "p_action"));
  const auto found = m_executors.find(action);
  if (found == m_executors.end())
    throw diagnosed(
        internal::error("ActionFactory", "getExecutor", _("Action %s is not recognized.", action)),
        oneOf(action, getActions()));
  return found->second.get();
}

bool ActionFactory::hasExecutor(const std::string& action) const
{
  return m_executors.find(action) != m_executors.end();
}

std::vector<std::string> ActionFactory::getActions() const
{
  std::vector<std::string> actions;
  for (const auto& entry : m_executors)
    actions.push_back(entry.first);
  std::sort(actions.begin(), actions.end());
  return actions;
}

}  // namespace orv
