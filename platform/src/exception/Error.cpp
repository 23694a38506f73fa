#include "platform/ORVException.h"
#include "platform/ORVUtilities.h"

#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

namespace orv {

Error::Error(std::string className, std::string function, std::string message, int type)
    : m_class(std::move(className)),
      m_function(std::move(function)),
      m_message(std::move(message)),
      m_type(type)
{}

void Error::concern(std::string_view object, std::string_view parameter) noexcept
{
  const Diagnostic* known = m_diagnostic.get();
  if (known && !known->object.empty())
    return;
  try {
    Diagnostic more = known ? *known : Diagnostic();
    more.object = object;
    if (more.parameter.empty())
      more.parameter = parameter;
    m_diagnostic = std::make_shared<const Diagnostic>(std::move(more));
  } catch (...) {}  // no memory: the error is worth more than this
}

void Error::explain(std::string note) noexcept
{
  if (m_diagnostic && !m_diagnostic->notes.empty())
    return;
  try {
    Diagnostic more = m_diagnostic ? *m_diagnostic : Diagnostic();
    more.notes.push_back({0, 0, std::move(note)});
    m_diagnostic = std::make_shared<const Diagnostic>(std::move(more));
  } catch (...) {}  // as above
}

Diagnostic oneOf(std::string subject, std::vector<std::string> valid)
{
  Diagnostic result;
  result.suggestion = StringUtilities::closest(subject, valid);
  result.subject = std::move(subject);
  result.valid = std::move(valid);
  return result;
}

// The destructors stand here so that each class's type information is made once, in this library.
Error::~Error() = default;
Interrupt::~Interrupt() = default;
Unwind::~Unwind() = default;

std::string Error::getSystemError()
{
  return getSystemError(errno);
}

std::string Error::getSystemError(int number)
{
  return number == 0 ? "Unknown error" : std::system_category().message(number);
}

namespace data {
error::~error() = default;
invalid::~invalid() = default;
notFound::~notFound() = default;
duplicate::~duplicate() = default;
}  // namespace data

namespace internal {
error::~error() = default;
nullPointer::~nullPointer() = default;
badParam::~badParam() = default;
}  // namespace internal

namespace file {
error::~error() = default;
}  // namespace file

namespace {

constexpr std::uint32_t replacementCharacter = 0xFFFD;

void appendUtf8(std::string& out, std::uint32_t code)
{
  const auto put = [&out](std::uint32_t byte) { out += static_cast<char>(static_cast<unsigned char>(byte)); };
  const auto tail = [&put, code](int shift) { put(0x80U | ((code >> shift) & 0x3FU)); };
  if (code < 0x80U) {
    put(code);
  } else if (code < 0x800U) {
    put(0xC0U | (code >> 6));
    tail(0);
  } else if (code < 0x10000U) {
    put(0xE0U | (code >> 12));
    tail(6);
    tail(0);
  } else {
    put(0xF0U | (code >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
}

bool isHighSurrogate(std::uint32_t code)
{
  return code >= 0xD800U && code < 0xDC00U;
}

bool isLowSurrogate(std::uint32_t code)
{
  return code >= 0xDC00U && code < 0xE000U;
}

// Takes pairs of surrogates too, for platforms whose wide characters have 16 bits.
std::string toUtf8(const std::wstring& text)
{
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    auto code = static_cast<std::uint32_t>(text[i]);
    const auto next = i + 1 < text.size() ? static_cast<std::uint32_t>(text[i + 1]) : 0U;
    if (isHighSurrogate(code) && isLowSurrogate(next)) {
      code = 0x10000U + ((code - 0xD800U) << 10) + (next - 0xDC00U);
      ++i;
    } else if (isHighSurrogate(code) || isLowSurrogate(code) || code > 0x10FFFFU) {
      code = replacementCharacter;
    }
    appendUtf8(out, code);
  }
  return out;
}

}  // namespace

namespace ksl {

error::error(std::string className, std::string function, const std::wstring& message, int type)
    : Error(std::move(className), std::move(function), toUtf8(message), type)
{}

error::~error() = default;
invalid::~invalid() = default;
duplicate::~duplicate() = default;
cyclicRef::~cyclicRef() = default;

}  // namespace ksl

}  // namespace orv
