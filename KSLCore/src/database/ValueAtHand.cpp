#include "database/ValueAtHand.h"

#include "platform/internal/ContextLocal.h"

#include <utility>

namespace orv {

namespace {

constinit ContextLocal<const SharedText*> theValue;

}  // namespace

ValueAtHand::ValueAtHand(const SharedText& text) : m_outer(std::exchange(*theValue, &text)) {}

ValueAtHand::~ValueAtHand()
{
  *theValue = m_outer;
}

SharedText ValueAtHand::share(const std::string& value)
{
  const SharedText* const held = *theValue;
  return held && &held->str() == &value ? *held : SharedText(std::string_view(value));
}

}  // namespace orv
