#include "actions/RelocationScope.h"

#include "command/Executive.h"
#include "command/KSLInterface.h"

#include <utility>

namespace orv {

namespace {

const Relocation* set(const Relocation* relocation)
{
  Executive* executive = KSLInterface::instance()->getExecutive();
  return executive ? executive->setRelocation(relocation) : nullptr;
}

}  // namespace

RelocationScope::RelocationScope(Relocation relocation)
    : m_relocation(std::move(relocation)),
      m_outer(set(&m_relocation))
{}

RelocationScope::~RelocationScope()
{
  set(m_outer);
}

}  // namespace orv
