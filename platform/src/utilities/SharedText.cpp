#include "platform/ORVUtilities.h"

namespace orv {

SharedText::SharedText(std::string_view text) : m_rep(text.empty() ? nullptr : new Rep{1, std::string(text)})
{}

SharedText::SharedText(std::string&& text) : m_rep(text.empty() ? nullptr : new Rep{1, std::move(text)}) {}

SharedText::SharedText(const char* text) : SharedText(std::string_view(text ? text : "")) {}

const std::string& SharedText::emptyText() noexcept
{
  // Never destroyed: static objects of a host may still use it after main.
  static const std::string& empty = *new std::string;
  return empty;
}

}  // namespace orv
