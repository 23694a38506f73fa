#include "platform/ORVApplicationSupport.h"

#include <memory>

namespace orv {

namespace {
std::unique_ptr<Preferences> thePreferences;
}

Preferences* Preferences::instance()
{
  if (!thePreferences)
    thePreferences = std::make_unique<Preferences>();
  return thePreferences.get();
}

void Preferences::destroyInstance()
{
  thePreferences.reset();
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
