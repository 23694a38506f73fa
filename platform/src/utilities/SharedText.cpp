#include "platform/ORVUtilities.h"
#include "platform/internal/SmallBlocks.h"

#include <cstddef>
#include <new>

namespace orv {

SharedText::SharedText(std::string_view text) : m_rep(text.empty() ? nullptr : make(text)) {}

SharedText::SharedText(std::string&& text) : m_rep(text.empty() ? nullptr : make(std::move(text))) {}

SharedText::SharedText(const char* text) : SharedText(std::string_view(text ? text : "")) {}

SharedText::SharedText(std::string_view text, std::uint32_t hash) : SharedText(text)
{
  if (m_rep)
    m_rep->hash = hash;
}

SharedText::Rep* SharedText::make(std::string_view text)
{
  return make(std::string(text));
}

SharedText::Rep* SharedText::make(std::string&& text)
{
  return new (SmallBlocks<sizeof(Rep)>::take()) Rep{1, 0, std::move(text)};
}

void SharedText::destroy(Rep* rep) noexcept
{
  rep->~Rep();
  SmallBlocks<sizeof(Rep)>::give(rep);
}

const std::string& SharedText::emptyText() noexcept
{
  // Never destroyed: static objects of a host may still use it after main. Takes no memory, which may be lacking.
  alignas(std::string) static std::byte room[sizeof(std::string)];
  static const std::string& empty = *new (room) std::string;
  return empty;
}

}  // namespace orv
