#include "platform/ORVApplicationSupport.h"
#include "platform/internal/ContextLocal.h"

#include <utility>

namespace orv {

namespace {
constinit ContextLocal<Preferences*> thePreferences(ContextEnd::settings, &Preferences::destroyInstance);
}

Preferences* Preferences::instance()
{
  Preferences*& preferences = *thePreferences;
  if (!preferences)
    preferences = new Preferences;
  return preferences;
}

void Preferences::destroyInstance()
{
  delete std::exchange(*thePreferences, nullptr);
}

std::string Preferences::getValue(const std::string& name, const std::string& fallback) const
{
  const auto found = m_values.find(name);
  return found == m_values.end() ? fallback : found->second;
}

void Preferences::setValue(const std::string& name, const std::string& value)
{
  m_values[name] = value;
}

bool Preferences::hasValue(const std::string& name) const
{
  return m_values.count(name) != 0;
}

}  // namespace orv
